// The settings file: an XML document of ten texts in a fixed order.
//
//   <?xml version="1.0" encoding="UTF-8"?>
//   <PlayerSettings>
//       <FilePath>/films</FilePath>
//       ...
//   </PlayerSettings>
//
// Reading takes nothing on trust: a file that is not of this form gives nothing. Writing leaves either the
// whole new file or the old one, whenever the process or the machine ends in between.
#pragma once

#include <QString>
#include <QStringList>

// The keys of the settings, in the order of the file.
const QStringList& ConfigKeys();

// The settings' texts in the order of the keys, from the file at `strPath`. One whose place holds another
// element is a null string; an empty element is an empty one. No strings at all when the file cannot be used:
// missing, unreadable, no plain file, larger or more intricate than any that is written, not well-formed,
// another root, or more or fewer than ten children. Takes no longer than a few milliseconds, whatever the
// file.
QStringList ReadConfigFile(const QString& strPath);

// Writes the texts, one a key in their order. False when the file could not be written: the old one then
// stands.
bool WriteConfigFile(const QString& strPath, const QStringList& lstValues);

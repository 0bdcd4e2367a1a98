// Writes the Windows icon format, which also Linux desktops and Qt read.
#pragma once

#include <QImage>
#include <QList>
#include <QString>

// The images in the given order, each square and at most 256 pixels wide, as PNG data inside the icon file:
// readers that take the first image take the first of the list. False when the file cannot be written.
bool WriteIconFile(const QString& strPath, const QList<QImage>& lstImages);

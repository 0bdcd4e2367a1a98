// What the file information dialog asks of the main window about the current file.
#pragma once

#include <QString>

// Each writes its answer to the output and returns true, or leaves it untouched and returns false when its
// source is missing or the output is null.
class CFileFacts {
  public:
    virtual ~CFileFacts() = default;

    // False while no file is current.
    virtual bool GetFilePath(QString* pPath) = 0;
    // Parts of a path; false for an empty one.
    virtual bool GetFileNameFormPath(QString strPath, QString* pName) = 0;
    virtual bool GetDirFromPath(QString strPath, QString* pDir) = 0;           // with its trailing slash
    virtual bool GetFileTypeFromFileName(QString strName, QString* pType) = 0; // the last three characters
    // As they are shown.
    virtual bool GetResolution(QString* pResolution) = 0;
    virtual bool GetFrameRate(QString* pFrameRate) = 0;
    virtual bool GetFileTime(QString* pTime) = 0;
    virtual bool GetFileSize(QString* pSize) = 0;
};

#include "engine/CaptureFile.h"

#include <cstdio>

std::string CaptureFileName(const char* pDir, const std::tm& when, int nCounter, const char* pSuffix) {
    char aTail[96];
    std::snprintf(aTail, sizeof(aTail), "/picture-%04d%02d%02d%02d%02d%02d%02d.%s", when.tm_year + 1900,
                  when.tm_mon + 1, when.tm_mday, when.tm_hour, when.tm_min, when.tm_sec, nCounter, pSuffix);
    return std::string(pDir) + aTail;
}

bool WriteCaptureFile(const std::string& strName, const unsigned char* pData, std::size_t nSize) {
    std::FILE* pFile = std::fopen(strName.c_str(), "w+");
    if (pFile == nullptr) return false;
    const bool bWritten = std::fwrite(pData, 1, nSize, pFile) == nSize;
    // Closing flushes what fwrite kept back, so a full disk may show only now.
    const bool bClosed = std::fclose(pFile) == 0;
    if (bWritten && bClosed) return true;
    std::remove(strName.c_str());
    return false;
}

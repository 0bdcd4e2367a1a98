#include "engine/CaptureFile.h"

#include <cstdio>
#include <unistd.h>

std::string CaptureFileName(const char* pDir, const std::tm& when, int nCounter, const char* pSuffix) {
    char aTail[96];
    std::snprintf(aTail, sizeof(aTail), "/picture-%04d%02d%02d%02d%02d%02d%02d.%s", when.tm_year + 1900,
                  when.tm_mon + 1, when.tm_mday, when.tm_hour, when.tm_min, when.tm_sec, nCounter, pSuffix);
    return std::string(pDir) + aTail;
}

bool WriteCaptureFile(const std::string& strName, const unsigned char* pData, std::size_t nSize) {
    // The picture has its name only when it is whole, whatever ends the program meanwhile.
    const std::string strPart = strName + "." + std::to_string(getpid()) + ".part";
    std::FILE* pFile = std::fopen(strPart.c_str(), "w+");
    if (pFile == nullptr) return false;
    const bool bWritten = std::fwrite(pData, 1, nSize, pFile) == nSize;
    // Closing flushes what fwrite kept back, so a full disk may show only now.
    const bool bClosed = std::fclose(pFile) == 0;
    if (bWritten && bClosed && std::rename(strPart.c_str(), strName.c_str()) == 0) return true;
    std::remove(strPart.c_str());
    return false;
}

// The files of captured pictures: their names and their writing.
#pragma once

#include <cstddef>
#include <ctime>
#include <string>

// "DIR/picture-YYYYMMDDhhmmssNN.SUFFIX" for the local time `when`; the counter NN has two digits, more from
// 100 on.
std::string CaptureFileName(const char* pDir, const std::tm& when, int nCounter, const char* pSuffix);

// Writes `nSize` bytes to the file `strName`, replacing what it held. False when that fails: then no file is
// left under that name, so that nobody meets half a picture.
bool WriteCaptureFile(const std::string& strName, const unsigned char* pData, std::size_t nSize);

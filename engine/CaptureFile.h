// The files of captured pictures: their names and their writing.
#pragma once

#include <cstddef>
#include <ctime>
#include <string>

// "DIR/picture-YYYYMMDDhhmmssNN.SUFFIX" for the local time `when`; the counter NN has two digits, more from
// 100 on.
std::string CaptureFileName(const char* pDir, const std::tm& when, int nCounter, const char* pSuffix);

// Writes `nSize` bytes to the file `strName`, replacing what it held; they have that name only when they are
// all there, so that nobody meets half a picture. False when that fails: then what had the name before is as
// it was.
bool WriteCaptureFile(const std::string& strName, const unsigned char* pData, std::size_t nSize);

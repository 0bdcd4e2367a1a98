#include "engine/BrekCtrl.h"

#include "dravo/include/Dravo.h"
#include "engine/PlayCallbacks.h"

static_assert(sizeof(tagBrekRect) == sizeof(DravoRect));

CBrekCtrl::~CBrekCtrl() {
    Free();
}

bool CBrekCtrl::CheckFile(char* pPath) {
    if (pPath == nullptr) return false;
    if (m_nPort < 0 && Dravo_GetPort(&m_nPort) == 0) return false;
    if (Dravo_OpenFile(m_nPort, pPath) == 0) return false;
    Dravo_CloseFile(m_nPort);
    return true;
}

void CBrekCtrl::Free() {
    if (m_nPort > 0 && Dravo_FreePort(m_nPort) != 0) m_nPort = -1;
}

bool CBrekCtrl::Init() {
    if (m_nPort >= 0) return true;
    return Dravo_GetPort(&m_nPort) != 0;
}

bool CBrekCtrl::Open(char* pPath) {
    return Dravo_OpenFile(m_nPort, pPath) != 0;
}

bool CBrekCtrl::Close() {
    return Dravo_CloseFile(m_nPort) != 0;
}

bool CBrekCtrl::Play(unsigned int nWindowId) {
    if (Dravo_Play(m_nPort, nWindowId) == 0) return false;
    return Dravo_RefreshPlay(m_nPort) != 0;
}

bool CBrekCtrl::BackPlay() {
    return true;
}

bool CBrekCtrl::Pause(bool bPause) {
    return Dravo_Pause(m_nPort, bPause ? 1 : 0) != 0;
}

bool CBrekCtrl::Stop() {
    if (Dravo_Stop(m_nPort) == 0) return false;
    return CBrekCtrl::Sound(false, 0);
}

bool CBrekCtrl::Fast() {
    return Dravo_Fast(m_nPort) != 0;
}

bool CBrekCtrl::Slow() {
    return Dravo_Slow(m_nPort) != 0;
}

bool CBrekCtrl::GotoStart() {
    return Dravo_SetCurrentFrameNum(m_nPort, 0) != 0;
}

bool CBrekCtrl::GotoEnd(unsigned long nFrames) {
    // The count itself is no frame, and the last frames of a damaged file may be refused: the first number
    // that the library accepts on the way down is the last frame.
    for (unsigned long nFrame = nFrames; nFrame >= 1; --nFrame) {
        if (Dravo_SetCurrentFrameNum(m_nPort, nFrame) != 0) return true;
    }
    return false;
}

bool CBrekCtrl::StepForward() {
    // A step goes to the very next frame, so none may be left out on the way.
    if (Dravo_ThrowBFrameNum(m_nPort, 0) == 0) return false;
    return Dravo_OneByOne(m_nPort) != 0;
}

bool CBrekCtrl::StepBackward() {
    return Dravo_OneByOneBack(m_nPort) != 0;
}

bool CBrekCtrl::CapPic() {
    return true;
}

bool CBrekCtrl::Sound(bool bOn, int nVolume) {
    if (!bOn) return Dravo_StopSound() != 0;
    if (Dravo_PlaySound(m_nPort) == 0) return false;
    return Dravo_SetVolume(m_nPort, static_cast<unsigned short>(nVolume)) != 0;
}

bool CBrekCtrl::ResizeDisplaySize(long /*nLeft*/, long /*nTop*/, long /*nRight*/, long /*nBottom*/) {
    return true;
}

unsigned long CBrekCtrl::GetCurrentPlayTime() {
    return Dravo_GetPlayedTime(m_nPort);
}

unsigned long CBrekCtrl::GetCurrentFrame() {
    return Dravo_GetCurrentFrameNum(m_nPort);
}

unsigned long CBrekCtrl::GetFileTime() {
    return Dravo_GetFileTime(m_nPort);
}

unsigned long CBrekCtrl::GetFileFrame() {
    return Dravo_GetFileTotalFrames(m_nPort);
}

unsigned long CBrekCtrl::GetCurrentFrameRate() {
    return Dravo_GetCurrentFrameRate(m_nPort);
}

float CBrekCtrl::GetCurrentPosPrecent() {
    return Dravo_GetPlayPos(m_nPort);
}

bool CBrekCtrl::SetFramePos(float fPos) {
    return Dravo_SetPlayPos(m_nPort, fPos) != 0;
}

bool CBrekCtrl::SetTimePos(unsigned long nSeconds) {
    return Dravo_SetPlayedTimeEx(m_nPort, nSeconds * 1000) != 0;
}

bool CBrekCtrl::GetPic(unsigned char* /*pBuffer*/, unsigned long /*nSize*/) {
    return true;
}

void CBrekCtrl::SetDisplay(unsigned int /*nWindowId*/) {}

bool CBrekCtrl::Deflash(bool bOn) {
    return Dravo_SetDeflash(m_nPort, bOn ? 1 : 0) != 0;
}

bool CBrekCtrl::Quality(bool bHigh) {
    return Dravo_SetPicQuality(m_nPort, bHigh ? 1 : 0) != 0;
}

bool CBrekCtrl::SetDisplayType(int nType) {
    return Dravo_SetDisplayType(m_nPort, nType) != 0;
}

bool CBrekCtrl::SelectTimer(int nType) {
    return Dravo_SetTimerType(m_nPort, nType, 0) != 0;
}

bool CBrekCtrl::ThrowB(int nNumber) {
    return Dravo_ThrowBFrameNum(m_nPort, static_cast<unsigned long>(nNumber)) != 0;
}

bool CBrekCtrl::GetBMP(unsigned char* pBuffer, unsigned long nSize, unsigned long* pWritten) {
    return Dravo_GetBMP(m_nPort, pBuffer, nSize, pWritten) != 0;
}

bool CBrekCtrl::GetJPEG(unsigned char* pBuffer, unsigned long nSize, unsigned long* pWritten) {
    return Dravo_GetJPEG(m_nPort, pBuffer, nSize, pWritten) != 0;
}

bool CBrekCtrl::SetDisplayRegion(unsigned long nRegion, tagBrekRect rect, unsigned int nWindowId,
                                 int nEnable) {
    const DravoRect shown{rect.left, rect.top, rect.right, rect.bottom};
    return Dravo_SetDisplayRegion(m_nPort, nRegion, &shown, nWindowId, nEnable) != 0;
}

bool CBrekCtrl::RefreshPlay() {
    return Dravo_RefreshPlay(m_nPort) != 0;
}

bool CBrekCtrl::RefreshPlayEx(unsigned long nRegion) {
    return Dravo_RefreshPlayEx(m_nPort, nRegion) != 0;
}

bool CBrekCtrl::GetPictureSize(long* pWidth, long* pHeight) {
    return Dravo_GetPictureSize(m_nPort, pWidth, pHeight) != 0;
}

void CBrekCtrl::SetDeinterlaceType(unsigned long /*nType*/) {}

bool CBrekCtrl::SetEncChangeMsg(std::intptr_t nUser) {
    return Dravo_SetEncTypeChangeCallBack(m_nPort, funEncChange, nUser) != 0;
}

bool CBrekCtrl::SetFileEndCallBack(void* pUser) {
    return Dravo_SetFileEndCallback(m_nPort, FileEndCallback, pUser) != 0;
}

bool CBrekCtrl::SetFileRefCallBack(std::uintptr_t nUser) {
    return Dravo_SetFileRefCallBack(m_nPort, FileRefDone, nUser) != 0;
}

void CBrekCtrl::SetWatermarkCallBack(unsigned long /*nUser*/) {}

bool CBrekCtrl::SetDisplayCallBack() {
    return Dravo_SetDisplayCallBack(m_nPort, DisplayCBFun) != 0;
}

bool CBrekCtrl::SetColor(int nBrightness, int nContrast, int nSaturation, int nHue) {
    return Dravo_SetColor(m_nPort, 0, nBrightness, nContrast, nSaturation, nHue) != 0;
}

bool CBrekCtrl::CheckKeyFramePos(unsigned long nValue, unsigned long nType, FRAME_POS* pPos) {
    return Dravo_GetKeyFramePos(m_nPort, nValue, nType, pPos) != 0;
}

bool CBrekCtrl::CheckNextKeyFramePos(unsigned long nValue, unsigned long nType, FRAME_POS* pPos) {
    return Dravo_GetNextKeyFramePos(m_nPort, nValue, nType, pPos) != 0;
}

void CBrekCtrl::RegisterDrawFun(unsigned long /*nUser*/) {}

#include "engine/PlayCtrl.h"

#include <utility>

void CPlayCtrlProxy::SetCtrl(std::unique_ptr<CPlayCtrl> pCtrl) {
    m_pCtrl = std::move(pCtrl);
}

bool CPlayCtrlProxy::Init() {
    return m_pCtrl && m_pCtrl->Init();
}

bool CPlayCtrlProxy::Open(char* pPath) {
    return m_pCtrl && m_pCtrl->Open(pPath);
}

bool CPlayCtrlProxy::Close() {
    return m_pCtrl && m_pCtrl->Close();
}

bool CPlayCtrlProxy::Play(unsigned int nWindowId) {
    return m_pCtrl && m_pCtrl->Play(nWindowId);
}

bool CPlayCtrlProxy::BackPlay() {
    return m_pCtrl && m_pCtrl->BackPlay();
}

bool CPlayCtrlProxy::Pause(bool bPause) {
    return m_pCtrl && m_pCtrl->Pause(bPause);
}

bool CPlayCtrlProxy::Stop() {
    return m_pCtrl && m_pCtrl->Stop();
}

bool CPlayCtrlProxy::Fast() {
    return m_pCtrl && m_pCtrl->Fast();
}

bool CPlayCtrlProxy::Slow() {
    return m_pCtrl && m_pCtrl->Slow();
}

bool CPlayCtrlProxy::GotoStart() {
    return m_pCtrl && m_pCtrl->GotoStart();
}

bool CPlayCtrlProxy::GotoEnd(unsigned long nFrames) {
    return m_pCtrl && m_pCtrl->GotoEnd(nFrames);
}

bool CPlayCtrlProxy::StepForward() {
    return m_pCtrl && m_pCtrl->StepForward();
}

bool CPlayCtrlProxy::StepBackward() {
    return m_pCtrl && m_pCtrl->StepBackward();
}

bool CPlayCtrlProxy::CapPic() {
    return m_pCtrl && m_pCtrl->CapPic();
}

bool CPlayCtrlProxy::Sound(bool bOn, int nVolume) {
    return m_pCtrl && m_pCtrl->Sound(bOn, nVolume);
}

bool CPlayCtrlProxy::ResizeDisplaySize(long nLeft, long nTop, long nRight, long nBottom) {
    return m_pCtrl && m_pCtrl->ResizeDisplaySize(nLeft, nTop, nRight, nBottom);
}

unsigned long CPlayCtrlProxy::GetCurrentPlayTime() {
    return m_pCtrl ? m_pCtrl->GetCurrentPlayTime() : 0;
}

unsigned long CPlayCtrlProxy::GetCurrentFrame() {
    return m_pCtrl ? m_pCtrl->GetCurrentFrame() : 0;
}

unsigned long CPlayCtrlProxy::GetFileTime() {
    return m_pCtrl ? m_pCtrl->GetFileTime() : 0;
}

unsigned long CPlayCtrlProxy::GetFileFrame() {
    return m_pCtrl ? m_pCtrl->GetFileFrame() : 0;
}

unsigned long CPlayCtrlProxy::GetCurrentFrameRate() {
    return m_pCtrl ? m_pCtrl->GetCurrentFrameRate() : 0;
}

float CPlayCtrlProxy::GetCurrentPosPrecent() {
    return m_pCtrl ? m_pCtrl->GetCurrentPosPrecent() : 0.0F;
}

bool CPlayCtrlProxy::SetFramePos(float fPos) {
    return m_pCtrl && m_pCtrl->SetFramePos(fPos);
}

bool CPlayCtrlProxy::SetTimePos(unsigned long nSeconds) {
    return m_pCtrl && m_pCtrl->SetTimePos(nSeconds);
}

bool CPlayCtrlProxy::GetPic(unsigned char* pBuffer, unsigned long nSize) {
    return m_pCtrl && m_pCtrl->GetPic(pBuffer, nSize);
}

void CPlayCtrlProxy::SetDisplay(unsigned int nWindowId) {
    if (m_pCtrl) m_pCtrl->SetDisplay(nWindowId);
}

bool CPlayCtrlProxy::Deflash(bool bOn) {
    return m_pCtrl && m_pCtrl->Deflash(bOn);
}

bool CPlayCtrlProxy::Quality(bool bHigh) {
    return m_pCtrl && m_pCtrl->Quality(bHigh);
}

bool CPlayCtrlProxy::SetDisplayType(int nType) {
    return m_pCtrl && m_pCtrl->SetDisplayType(nType);
}

bool CPlayCtrlProxy::SelectTimer(int nType) {
    return m_pCtrl && m_pCtrl->SelectTimer(nType);
}

bool CPlayCtrlProxy::ThrowB(int nNumber) {
    return m_pCtrl && m_pCtrl->ThrowB(nNumber);
}

bool CPlayCtrlProxy::GetBMP(unsigned char* pBuffer, unsigned long nSize, unsigned long* pWritten) {
    return m_pCtrl && m_pCtrl->GetBMP(pBuffer, nSize, pWritten);
}

bool CPlayCtrlProxy::GetJPEG(unsigned char* pBuffer, unsigned long nSize, unsigned long* pWritten) {
    return m_pCtrl && m_pCtrl->GetJPEG(pBuffer, nSize, pWritten);
}

bool CPlayCtrlProxy::SetDisplayRegion(unsigned long nRegion, tagBrekRect rect, unsigned int nWindowId,
                                      int nEnable) {
    return m_pCtrl && m_pCtrl->SetDisplayRegion(nRegion, rect, nWindowId, nEnable);
}

bool CPlayCtrlProxy::RefreshPlay() {
    return m_pCtrl && m_pCtrl->RefreshPlay();
}

bool CPlayCtrlProxy::RefreshPlayEx(unsigned long nRegion) {
    return m_pCtrl && m_pCtrl->RefreshPlayEx(nRegion);
}

bool CPlayCtrlProxy::GetPictureSize(long* pWidth, long* pHeight) {
    return m_pCtrl && m_pCtrl->GetPictureSize(pWidth, pHeight);
}

void CPlayCtrlProxy::SetDeinterlaceType(unsigned long nType) {
    if (m_pCtrl) m_pCtrl->SetDeinterlaceType(nType);
}

bool CPlayCtrlProxy::SetEncChangeMsg(std::intptr_t nUser) {
    return m_pCtrl && m_pCtrl->SetEncChangeMsg(nUser);
}

bool CPlayCtrlProxy::SetFileEndCallBack(void* pUser) {
    return m_pCtrl && m_pCtrl->SetFileEndCallBack(pUser);
}

bool CPlayCtrlProxy::SetFileRefCallBack(std::uintptr_t nUser) {
    return m_pCtrl && m_pCtrl->SetFileRefCallBack(nUser);
}

void CPlayCtrlProxy::SetWatermarkCallBack(unsigned long nUser) {
    if (m_pCtrl) m_pCtrl->SetWatermarkCallBack(nUser);
}

bool CPlayCtrlProxy::SetDisplayCallBack() {
    return m_pCtrl && m_pCtrl->SetDisplayCallBack();
}

bool CPlayCtrlProxy::SetColor(int nBrightness, int nContrast, int nSaturation, int nHue) {
    return m_pCtrl && m_pCtrl->SetColor(nBrightness, nContrast, nSaturation, nHue);
}

bool CPlayCtrlProxy::CheckKeyFramePos(unsigned long nValue, unsigned long nType, FRAME_POS* pPos) {
    return m_pCtrl && m_pCtrl->CheckKeyFramePos(nValue, nType, pPos);
}

bool CPlayCtrlProxy::CheckNextKeyFramePos(unsigned long nValue, unsigned long nType, FRAME_POS* pPos) {
    return m_pCtrl && m_pCtrl->CheckNextKeyFramePos(nValue, nType, pPos);
}

void CPlayCtrlProxy::RegisterDrawFun(unsigned long nUser) {
    if (m_pCtrl) m_pCtrl->RegisterDrawFun(nUser);
}

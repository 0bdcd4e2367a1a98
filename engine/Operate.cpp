#include "engine/Operate.h"

#include "engine/BrekCtrl.h"
#include "engine/PlayCtrl.h"
#include "engine/PlayEvents.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <new>
#include <utility>

COperate::COperate()
    : m_pEngine(std::make_shared<CPlayCtrlProxy>()), m_captureWriter([] {
          if (g_pApp != nullptr) g_pApp->CaptureFailed();
      }) {}

COperate::~COperate() = default;

void COperate::SetEngine(std::shared_ptr<CPlayCtrlProxy> pEngine) {
    {
        const std::lock_guard lock(m_captureMutex);
        m_pEngine.swap(pEngine);
    }
    // The old engine goes here, outside the lock: giving a port back waits for its callbacks.
}

bool COperate::Init(char* pPath) {
    if (!m_pEngine) {
        try {
            SetEngine(std::make_shared<CPlayCtrlProxy>());
        } catch (const std::bad_alloc&) {
            return false;
        }
    }
    if (!JudgeMediaType(pPath)) return false;
    SelectCtrlProxy();
    m_pEngine->Init();
    return true;
}

bool COperate::JudgeMediaType(char* pPath) {
    if (pPath == nullptr) return false;
    if (!m_pCheckCtrl) m_pCheckCtrl.reset(new (std::nothrow) CBrekCtrl);
    if (!m_pCheckCtrl) return false;
    const bool bKnown = m_pCheckCtrl->CheckFile(pPath);
    m_nMediaType = bKnown ? 1 : 2;
    return bKnown;
}

bool COperate::SelectCtrlProxy() {
    if (!m_pEngine) return false;
    if (m_nMediaType != 1) {
        m_pEngine->SetCtrl(nullptr);
        return false;
    }
    std::unique_ptr<CPlayCtrl> pCtrl(new (std::nothrow) CBrekCtrl);
    const bool bMade = pCtrl != nullptr;
    m_pEngine->SetCtrl(std::move(pCtrl));
    return bMade;
}

bool COperate::Open(char* pPath) {
    const auto haste = Haste();
    if (!m_pEngine) return false;
    m_pEngine->Open(pPath);
    m_bLengthExact = false;
    m_nFileTime = m_pEngine->GetFileTime();
    m_nFileFrame = m_pEngine->GetFileFrame();
    m_pEngine->Play(m_nPlayHwnd);
    if (m_bBackPlay) {
        End();
        BackPlay();
    }
    m_pEngine->Sound(m_bSound, static_cast<int>(m_nVolume));
    SetOptions(true);
    Speed();
    GetImageSize();
    m_nState = kPlaying;
    return true;
}

bool COperate::OpenFile(char* pPath) {
    return m_pEngine && m_pEngine->Open(pPath);
}

bool COperate::Close() {
    const auto haste = Haste();
    Stop();
    if (!m_pEngine) return false;
    // After this no callback of the file runs, so nothing uses the engine any more.
    m_pEngine->Close();
    SetEngine(nullptr);
    m_nState = kNoFile;
    return true;
}

bool COperate::GetPort() {
    return m_pEngine && m_pEngine->Init();
}

bool COperate::Play() {
    const auto haste = Haste();
    if (!m_pEngine) return false;
    switch (m_nState.load()) {
    case kNoFile:
        return false;
    case kPaused:
        m_pEngine->Pause(false);
        if (!m_bBackPlay) {
            m_pEngine->Play(m_nPlayHwnd);
        } else if (!BackPlay()) {
            return false;
        }
        break;
    case kStopped:
        PlayFromStop();
        break;
    default:
        if (m_bBackPlay) {
            BackPlay();
        } else {
            m_pEngine->Play(m_nPlayHwnd);
        }
        break;
    }
    m_nState = kPlaying;
    return true;
}

void COperate::PlayFromStop() {
    m_pEngine->Play(m_nPlayHwnd);
    if (m_bBackPlay && End()) BackPlay();
    m_pEngine->Sound(m_bSound, static_cast<int>(m_nVolume));
    for (int n = 0; n < m_nSpeed; ++n)
        Fast();
    for (int n = 0; n > m_nSpeed; --n)
        Slow();
}

bool COperate::Pause() {
    if (!m_pEngine || m_nState != kPlaying) return false;
    m_pEngine->Pause(true);
    m_nState = kPaused;
    return true;
}

bool COperate::Stop() {
    const auto haste = Haste();
    if (!m_pEngine || m_nState == kNoFile || m_nState == kStopped) return false;
    m_pEngine->Stop();
    m_nState = kStopped;
    return true;
}

bool COperate::Forward() {
    const auto haste = Haste();
    if (!m_pEngine || m_nState == kNoFile || m_nState == kStopped) return false;
    if (!m_pEngine->StepForward()) return false;
    m_nState = kPaused;
    return true;
}

bool COperate::Back() {
    const auto haste = Haste();
    if (!m_pEngine || m_nState == kNoFile || m_nState == kStopped) return false;
    if (!m_pEngine->StepBackward()) return false;
    m_nState = kPaused;
    return true;
}

bool COperate::Fast() {
    if (!m_pEngine || !m_pEngine->Fast()) return false;
    m_nState = kPlaying;
    return true;
}

bool COperate::Slow() {
    if (!m_pEngine || !m_pEngine->Slow()) return false;
    m_nState = kPlaying;
    return true;
}

bool COperate::Speed() {
    if (!m_pEngine) return false;
    for (int n = 0; n < m_nSpeed; ++n) {
        if (!Fast()) return false;
    }
    for (int n = 0; n > m_nSpeed; --n) {
        if (!Slow()) return false;
    }
    return true;
}

bool COperate::Start() {
    return m_pEngine && m_pEngine->GotoStart();
}

bool COperate::End() {
    return m_pEngine && m_pEngine->GotoEnd(GetFileFrame());
}

bool COperate::BackPlay() {
    return m_pEngine && m_pEngine->BackPlay();
}

bool COperate::RefreshPlay() {
    if (!m_pEngine || m_nState == kNoFile || m_nState == kStopped) return false;
    return m_pEngine->RefreshPlay();
}

bool COperate::RefreshPlayEx(unsigned long nRegion) {
    const auto haste = Haste();
    return m_pEngine && m_pEngine->RefreshPlayEx(nRegion);
}

bool COperate::Sound(bool bOn, int nVolume) {
    return m_pEngine && m_pEngine->Sound(bOn, nVolume);
}

bool COperate::SetCurrentState(int nState) {
    m_nState = nState;
    return true;
}

bool COperate::SetFramePos(float fPos) {
    return m_pEngine && m_pEngine->SetFramePos(fPos);
}

bool COperate::SetTimePos(unsigned long nSeconds) {
    return m_pEngine && m_pEngine->SetTimePos(nSeconds);
}

bool COperate::CheckKeyFramePos(unsigned long nValue, unsigned long nType, FRAME_POS* pPos) {
    return m_pEngine && m_pEngine->CheckKeyFramePos(nValue, nType, pPos);
}

bool COperate::CheckNextKeyFramePos(unsigned long nValue, unsigned long nType, FRAME_POS* pPos) {
    return m_pEngine && m_pEngine->CheckNextKeyFramePos(nValue, nType, pPos);
}

unsigned long COperate::GetCurrentPlayTime() {
    m_nCurrentPlayTime = m_pEngine ? m_pEngine->GetCurrentPlayTime() : 0;
    return m_nCurrentPlayTime;
}

unsigned long COperate::GetCurrentFrame() {
    m_nCurrentFrame = m_pEngine ? m_pEngine->GetCurrentFrame() : 0;
    return m_nCurrentFrame;
}

unsigned long COperate::GetCurrentFrameRate() {
    return m_pEngine ? m_pEngine->GetCurrentFrameRate() : 0;
}

float COperate::GetCurrentPosPrecent() {
    return m_pEngine ? m_pEngine->GetCurrentPosPrecent() : 0.0F;
}

unsigned long COperate::GetFileTime() {
    TakeOverLength();
    return m_nFileTime;
}

unsigned long COperate::GetFileFrame() {
    TakeOverLength();
    return m_nFileFrame;
}

void COperate::TakeOverLength() {
    if (m_bLengthExact || !m_bFileRefDone || !m_pEngine) return;
    m_nFileTime = m_pEngine->GetFileTime();
    m_nFileFrame = m_pEngine->GetFileFrame();
    m_bLengthExact = true;
}

long COperate::GetImageWidth() const {
    const std::lock_guard lock(m_captureMutex);
    return m_nPicWidth;
}

long COperate::GetImageHeight() const {
    const std::lock_guard lock(m_captureMutex);
    return m_nPicHeight;
}

bool COperate::GetImageSize() {
    if (!m_pEngine) return false;
    long nWidth = GetImageWidth();
    long nHeight = GetImageHeight();
    const bool bRead = m_pEngine->GetPictureSize(&nWidth, &nHeight);
    const std::lock_guard lock(m_captureMutex);
    m_nPicWidth = nWidth;
    m_nPicHeight = nHeight;
    return bRead;
}

bool COperate::SetOptions(bool bThrowB) {
    if (!m_pEngine) return false;
    m_pEngine->SetDeinterlaceType(static_cast<unsigned long>(m_nDeinterlace));
    m_pEngine->SelectTimer(m_nTimer);
    m_pEngine->Deflash(m_bDeflash);
    m_pEngine->SetDisplayType(m_nDisplayType);
    m_pEngine->Quality(m_bHighQuality);
    if (bThrowB) ThrowB();
    return true;
}

bool COperate::ThrowB() {
    return m_pEngine && m_pEngine->ThrowB(m_nThrowB);
}

bool COperate::SetDisplayRegion(tagBrekRect rect) {
    if (m_nState != kPaused) return false;
    return InitRangeShow(0, rect, m_nPlayHwnd);
}

bool COperate::InitRangeShow(unsigned long nRegion, tagBrekRect rect, unsigned int nHwnd) {
    const auto haste = Haste();
    if (!m_pEngine) return false;
    const bool bSet = m_pEngine->SetDisplayRegion(nRegion, rect, nHwnd, 1);
    const bool bDrawn = m_pEngine->RefreshPlayEx(nRegion);
    return bSet && bDrawn;
}

bool COperate::SetRegion(unsigned long nRegion, tagBrekRect rect, unsigned int nHwnd, int nEnable) {
    const auto haste = Haste();
    return m_pEngine && m_pEngine->SetDisplayRegion(nRegion, rect, nHwnd, nEnable);
}

bool COperate::SetColor(int nBrightness, int nContrast, int nSaturation, int nHue) {
    return m_pEngine && m_pEngine->SetColor(nBrightness, nContrast, nSaturation, nHue);
}

bool COperate::SetEncChangeMsg(std::intptr_t nUser) {
    return m_pEngine && m_pEngine->SetEncChangeMsg(nUser);
}

bool COperate::SetFileEndCallBack(void* pUser) {
    return m_pEngine && m_pEngine->SetFileEndCallBack(pUser);
}

bool COperate::SetFileRefCallBack(std::uintptr_t nUser) {
    if (!m_pEngine) return false;
    m_bFileRefDone = false;
    m_bLengthExact = false;
    return m_pEngine->SetFileRefCallBack(nUser);
}

bool COperate::SetWatermarkCallBack(unsigned long nUser) {
    if (!m_pEngine) return false;
    std::fill(std::begin(m_aWatermark), std::end(m_aWatermark), static_cast<unsigned char>(0));
    m_pEngine->SetWatermarkCallBack(nUser);
    return true;
}

bool COperate::SetDisplayCallBack() {
    return m_pEngine && m_pEngine->SetDisplayCallBack();
}

bool COperate::RegisterDrawFun(unsigned long nUser) {
    if (!m_pEngine) return false;
    m_pEngine->RegisterDrawFun(nUser);
    return true;
}

bool COperate::CheckWatermark(WATERMARK_INFO* pInfo) {
    if (pInfo == nullptr) return false;
    std::memcpy(m_aWatermark, pInfo, sizeof(*pInfo));
    return true;
}

bool COperate::SetFileRefStatus(bool bDone) {
    m_bFileRefDone = bDone;
    return true;
}

bool COperate::SetPlayHwnd(unsigned int nHwnd) {
    m_nPlayHwnd = nHwnd;
    if (m_pEngine) m_pEngine->SetDisplay(nHwnd);
    return true;
}

bool COperate::SetRangePlayHwnd(unsigned int nHwnd) {
    m_nRangeHwnd = nHwnd;
    return true;
}

bool COperate::SetSpeedValue(int nSpeed) {
    m_nSpeed = nSpeed;
    return true;
}

bool COperate::SetHighQualityValue(bool bHigh) {
    m_bHighQuality = bHigh;
    return true;
}

bool COperate::SetDeflashValue(bool bDeflash) {
    m_bDeflash = bDeflash;
    return true;
}

bool COperate::SetDeinterlaceValue(int nType) {
    m_nDeinterlace = nType;
    return true;
}

bool COperate::SetThrowBNumValue(int nNumber) {
    m_nThrowB = nNumber;
    return true;
}

bool COperate::SetPlayerTimerValue(int nType) {
    m_nTimer = nType;
    return true;
}

bool COperate::SetDisplayTypeValue(int nType) {
    m_nDisplayType = nType;
    return true;
}

bool COperate::SetSoundValue(bool bOn) {
    m_bSound = bOn;
    return true;
}

bool COperate::SetVolumeValue(unsigned long nVolume) {
    m_nVolume = nVolume;
    return true;
}

bool COperate::SetBackPlayValue(bool bBackPlay) {
    m_bBackPlay = bBackPlay;
    return true;
}

bool COperate::JudgeOtherMedia(char* /*pPath*/) {
    return true;
}

unsigned long COperate::GetCurFileSize(char* /*pPath*/) {
    return 0;
}

char* COperate::GetFileTypeFormName(char* pName) {
    return pName;
}

// The play commands, and the controls brought into line with the play state.
#include "app/FlagScope.h"
#include "app/NativeWindow.h"
#include "app/SkinImages.h"
#include "app/TalvioDlg.h"
#include "engine/Operate.h"
#include "widgets/ControlsBarWidget.h"
#include "widgets/PlayerTitle.h"
#include "widgets/PlaySlider.h"
#include "widgets/PlayStatusWidget.h"
#include "widgets/SkinButton.h"
#include "widgets/SoundSlider.h"
#include "widgets/StaticTitle.h"
#include "widgets/VideoWidget.h"

#include <QAction>
#include <QMenu>
#include <QMessageBox>
#include <QTimer>

#include <algorithm>
#include <cstdint>

namespace {

constexpr int kTimerPeriod = 500; // milliseconds
constexpr int kFullScale = 65535; // of the volume and of the position bar
constexpr int kVolumeStep = 6553;
constexpr int kMaxSpeed = 4;
constexpr int kNeutralColour = 64;
constexpr int kFastThrowB = 2; // B pictures left out while faster than normal

} // namespace

void CTalvioDlg::ResetColour() {
    m_nBrightness = kNeutralColour;
    m_nContrast = kNeutralColour;
    m_nChromaticity = kNeutralColour;
    m_nHue = kNeutralColour;
}

void CTalvioDlg::StartTimer() {
    if (m_pTimer != nullptr && !m_pTimer->isActive()) m_pTimer->start(kTimerPeriod);
}

bool CTalvioDlg::Close() {
    if (m_pOperate == nullptr || m_pOperate->GetCurrentState() == COperate::kNoFile) return false;
    {
        const CFlagScope ending(m_bEnding);
        m_pOperate->Close();
    }
    ++m_nOpening;
    ResetColour();
    return true;
}

bool CTalvioDlg::CloseFile() {
    if (!Close()) return false;
    InitMainWinSize();
    SetState();
    return true;
}

bool CTalvioDlg::InitPlay() {
    if (m_pOperate == nullptr) return false;
    SetPara();
    return m_pOperate->Init(PathBytes(m_strFilePath).data());
}

void CTalvioDlg::RegisterCallBacks() {
    CPlayEvents* pEvents = this;
    m_pOperate->SetEncChangeMsg(reinterpret_cast<std::intptr_t>(pEvents));
    m_pOperate->SetFileEndCallBack(pEvents);
    m_pOperate->SetFileRefCallBack(reinterpret_cast<std::uintptr_t>(m_pOperate));
    m_pOperate->SetWatermarkCallBack(reinterpret_cast<std::uintptr_t>(m_pOperate));
    m_pOperate->SetDisplayCallBack();
    m_pOperate->RegisterDrawFun(reinterpret_cast<std::uintptr_t>(pEvents));
}

bool CTalvioDlg::Open() {
    Close();
    if (m_pOperate == nullptr) return false;
    if (!InitPlay()) {
        // The file that was open is closed by now, and the controls have to say so.
        SetState();
        return false;
    }
    RegisterCallBacks();
    if (m_pControlsBar != nullptr && m_pControlsBar->m_pSoundSlider != nullptr) {
        m_nVolume = m_pControlsBar->m_pSoundSlider->sliderPosition();
    }
    m_pOperate->Open(PathBytes(m_strFilePath).data());
    InitMainWinSize();
    SetState();
    if (m_pTitleBar != nullptr) m_pTitleBar->SetShowFilePath(GetCurFileName());
    StartTimer();
    return true;
}

bool CTalvioDlg::OpenItemFile(QString strPath) {
    if (strPath.isEmpty() || !JudgeFileType(strPath)) return false;
    m_bConCap = false;
    m_strFilePath = strPath;
    Open();
    return true;
}

bool CTalvioDlg::PlayOrPause() {
    if (m_pOperate == nullptr) return false;
    const int nState = m_pOperate->GetCurrentState();
    if (nState == COperate::kNoFile) return false;
    if (nState == COperate::kPlaying) {
        m_pOperate->Pause();
    } else if (nState == COperate::kPaused) {
        m_pOperate->Play();
    } else {
        SetPara();
        m_pOperate->Play();
        StartTimer();
    }
    SetState();
    return true;
}

bool CTalvioDlg::Stop() {
    if (m_pOperate == nullptr) return false;
    const int nState = m_pOperate->GetCurrentState();
    if (nState == COperate::kNoFile || nState == COperate::kStopped) return false;
    {
        const CFlagScope ending(m_bEnding);
        m_pOperate->Stop();
    }
    ++m_nOpening;
    m_nSpeed = 0;
    m_bConCap = false;
    SetState();
    return true;
}

void CTalvioDlg::SetThrowB(int nNumber) {
    m_nThrowBNum = nNumber;
    m_pOperate->SetThrowBNumValue(nNumber);
    m_pOperate->ThrowB();
}

bool CTalvioDlg::Fast() {
    if (m_pOperate == nullptr) return false;
    const int nState = m_pOperate->GetCurrentState();
    if (nState == COperate::kNoFile || nState == COperate::kStopped || m_nSpeed >= kMaxSpeed) return false;
    if (!m_pOperate->Fast()) return false;
    ++m_nSpeed;
    if (m_nSpeed > 0) SetThrowB(kFastThrowB);
    SetState();
    m_pOperate->RefreshPlay();
    return true;
}

bool CTalvioDlg::Slow() {
    if (m_pOperate == nullptr) return false;
    const int nState = m_pOperate->GetCurrentState();
    if (nState == COperate::kNoFile || nState == COperate::kStopped || m_nSpeed <= -kMaxSpeed) return false;
    if (!m_pOperate->Slow()) return false;
    --m_nSpeed;
    if (m_nSpeed < 1) SetThrowB(0);
    SetState();
    m_pOperate->RefreshPlay();
    return true;
}

bool CTalvioDlg::NextFrame() {
    if (m_pOperate == nullptr || !m_pOperate->Forward()) return false;
    SetState();
    m_pOperate->RefreshPlay();
    return true;
}

bool CTalvioDlg::LastFrame() {
    if (m_pOperate == nullptr) return false;
    const bool bDone = m_pOperate->Back();
    SetState();
    m_pOperate->RefreshPlay();
    return bDone;
}

// One frame back, in spite of its name: reverse play is not offered.
bool CTalvioDlg::Back() {
    if (m_pOperate == nullptr) return false;
    const bool bDone = m_pOperate->Back();
    SetState();
    return bDone;
}

bool CTalvioDlg::Start() {
    if (m_pOperate == nullptr) return false;
    const int nState = m_pOperate->GetCurrentState();
    if (nState == COperate::kNoFile || nState == COperate::kStopped) return false;
    return m_pOperate->Start();
}

bool CTalvioDlg::End() {
    if (m_pOperate == nullptr) return false;
    const int nState = m_pOperate->GetCurrentState();
    if (nState == COperate::kNoFile || nState == COperate::kStopped) return false;
    return m_pOperate->End();
}

bool CTalvioDlg::Sound() {
    m_bSound = !m_bSound;
    if (m_pOperate == nullptr || m_pActMute == nullptr || m_pControlsBar == nullptr ||
        m_pControlsBar->m_pSoundBtn == nullptr) {
        return false;
    }
    m_pOperate->Sound(m_bSound, m_nVolume);
    m_pActMute->setChecked(!m_bSound);
    if (m_bSound) {
        SetThreeStateImages(m_pControlsBar->m_pSoundBtn, QStringLiteral("volumeon"));
    } else {
        SetOneImage(m_pControlsBar->m_pSoundBtn, QStringLiteral("volumeoff"));
    }
    return true;
}

bool CTalvioDlg::SetVolume(int nVolume) {
    if (m_pOperate == nullptr || m_pControlsBar == nullptr || m_pControlsBar->m_pSoundSlider == nullptr) {
        return false;
    }
    m_nVolume = nVolume;
    m_pControlsBar->m_pSoundSlider->setValue(nVolume);
    m_pOperate->Sound(m_bSound, nVolume);
    return true;
}

bool CTalvioDlg::SoundUp() {
    return SetVolume(std::min(m_nVolume + kVolumeStep, kFullScale));
}

bool CTalvioDlg::SoundDown() {
    return SetVolume(std::max(m_nVolume - kVolumeStep, 0));
}

bool CTalvioDlg::SetVolumeSlider(int nValue) {
    if (m_pOperate == nullptr) return false;
    m_pOperate->Sound(m_bSound, nValue);
    m_nVolume = nValue;
    return true;
}

bool CTalvioDlg::SetPlaySlider(int nValue) {
    if (m_pOperate == nullptr) return false;
    const int nState = m_pOperate->GetCurrentState();
    if (nState == COperate::kNoFile || nState == COperate::kStopped) return false;
    return m_pOperate->SetFramePos(static_cast<float>(nValue / static_cast<double>(kFullScale)));
}

void CTalvioDlg::SetSpeed(int nLevel) {
    m_nSpeed = std::clamp(nLevel, -kMaxSpeed, kMaxSpeed);
}

void CTalvioDlg::SetPara() {
    if (m_pOperate == nullptr || m_pViewWidget == nullptr) return;
    const auto nWindowId = static_cast<unsigned int>(m_pViewWidget->winId());
    SyncWindowSystem();
    m_pOperate->SetPlayHwnd(nWindowId);
    m_pOperate->SetDeflashValue(m_bDeflash);
    m_pOperate->SetDeinterlaceValue(static_cast<int>(m_nDeinterlaceType));
    m_pOperate->SetDisplayTypeValue(m_nDisplayType);
    m_pOperate->SetHighQualityValue(m_bHighQuality);
    m_pOperate->SetPlayerTimerValue(m_nTimerType);
    m_pOperate->SetThrowBNumValue(m_nThrowBNum);
    m_pOperate->SetSoundValue(m_bSound);
    m_pOperate->SetSpeedValue(m_nSpeed);
    m_pOperate->SetVolumeValue(static_cast<unsigned long>(m_nVolume));
    m_pOperate->SetBackPlayValue(false);
}

bool CTalvioDlg::CapPic() {
    if (m_pOperate == nullptr) return false;
    const int nState = m_pOperate->GetCurrentState();
    if (nState == COperate::kNoFile || nState == COperate::kStopped) return false;
    bool bCaptured = false;
    {
        const auto haste = m_pOperate->Haste();
        bCaptured = m_pOperate->CapPic(m_nCapType, PathBytes(m_strCapPath).data());
    }
    if (!bCaptured) {
        ShowErrorMsg();
        return false;
    }
    m_bConCap = false;
    return true;
}

void CTalvioDlg::ShowPlayButton(bool bPlaying) {
    CSkinButton* pButton = m_pControlsBar->m_pPlayBtn;
    SetThreeStateImages(pButton, bPlaying ? QStringLiteral("pause") : QStringLiteral("play"));
    pButton->SetToolTipText(bPlaying ? tr("Pause") : tr("Play"));
}

void CTalvioDlg::ShowStopped() {
    m_pStatusWidget->m_pLeftText->SetStaticText(m_strStop, 0);
    m_pStatusWidget->m_pRightText->SetStaticText(QStringLiteral(""), 0);
    m_pControlsBar->m_pPlaySlider->setRange(0, 0);
    m_pTitleBar->SetShowFilePath(GetCurFileName());
    m_pViewWidget->SetStatus(false, true, false);
    ShowPlayButton(false);
}

bool CTalvioDlg::HasCtrls() const {
    return m_pOperate != nullptr && m_pStatusWidget != nullptr && m_pStatusWidget->m_pLeftText != nullptr &&
           m_pStatusWidget->m_pRightText != nullptr && m_pControlsBar != nullptr &&
           m_pControlsBar->m_pPlayBtn != nullptr && m_pControlsBar->m_pPlaySlider != nullptr &&
           m_pViewWidget != nullptr && m_pTitleBar != nullptr;
}

void CTalvioDlg::ShowPlaying(const QString& strText, bool bPlaying) {
    m_pStatusWidget->m_pLeftText->SetStaticText(strText, 0);
    m_pControlsBar->m_pPlaySlider->setRange(0, kFullScale);
    m_pTitleBar->SetShowFilePath(GetCurFileName());
    m_pViewWidget->SetStatus(false, false, true);
    ShowPlayButton(bPlaying);
}

void CTalvioDlg::ShowClosed() {
    m_pStatusWidget->m_pLeftText->SetStaticText(m_strReady, 0);
    m_pStatusWidget->m_pRightText->SetStaticText(QStringLiteral(""), 0);
    m_pControlsBar->m_pPlaySlider->setValue(0);
    m_pControlsBar->m_pPlaySlider->setRange(0, 0);
    m_pTitleBar->SetShowFilePath(QStringLiteral(""));
    m_pViewWidget->SetStatus(true, false, false);
    ShowPlayButton(false);
}

void CTalvioDlg::SetState() {
    if (!HasCtrls()) return;
    SetCtrlState();
    SetLangString();
    const int nState = m_pOperate->GetCurrentState();
    if (nState == COperate::kNoFile) ShowClosed();
    if (nState == COperate::kPlaying) ShowPlaying(m_strPlaying, true);
    if (nState == COperate::kPaused) ShowPlaying(m_strPause, false);
    if (nState == COperate::kStopped) ShowStopped();
    m_nShownState = nState;
    FollowTopMode();
}

void CTalvioDlg::SetCtrlState() {
    if (m_pOperate == nullptr) return;
    const bool bOpen = m_pOperate->GetCurrentState() != COperate::kNoFile;
    for (QAction* pAction : {m_pActPlayPause, m_pActStop, m_pActFileInfo, m_pActCloseFile, m_pActCapPic,
                             m_pActConCap, m_pActFullScreen, m_pActNormalSize, m_pActDoubleSize}) {
        if (pAction != nullptr) pAction->setEnabled(bOpen);
    }
    for (QMenu* pMenu : {m_pContextPlayControlMenu, m_pPlayControlMenu, m_pToolsMenu}) {
        if (pMenu != nullptr) pMenu->setEnabled(bOpen);
    }
}

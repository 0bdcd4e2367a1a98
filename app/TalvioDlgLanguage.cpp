// The main window's texts and the language that they are in.
#include "app/SkinImages.h"
#include "app/TalvioDlg.h"
#include "engine/Operate.h"
#include "playlist/ListTitleBarWidget.h"
#include "widgets/ControlsBarWidget.h"
#include "widgets/FloatDlg.h"
#include "widgets/SkinButton.h"
#include "widgets/StaticTitle.h"

#include <QAction>
#include <QCoreApplication>
#include <QEvent>
#include <QFile>
#include <QFileInfo>
#include <QMenu>
#include <QTranslator>

namespace {

// What the window could not create it cannot name.
void SetTitle(QMenu* pMenu, const QString& strTitle) {
    if (pMenu != nullptr) pMenu->setTitle(strTitle);
}

void SetText(QAction* pAction, const QString& strText) {
    if (pAction != nullptr) pAction->setText(strText);
}

void SetTip(CSkinButton* pButton, const QString& strTip) {
    if (pButton != nullptr) pButton->SetToolTipText(strTip);
}

// Ours has some ten thousand.
constexpr qint64 kMostCatalogBytes = 16 << 20;

// The catalog of exactly this name, or nothing. The toolkit would go on to shorter names, and map the file:
// one in the working directory that is cut short while it is in use would end the program.
QByteArray ReadCatalog(const QString& strPath) {
    QFile file(strPath);
    // A pipe of that name would be waited for without end.
    if (!QFileInfo(strPath).isFile() || !file.open(QIODevice::ReadOnly)) return {};
    const QByteArray bytes = file.read(kMostCatalogBytes + 1);
    return bytes.size() <= kMostCatalogBytes ? bytes : QByteArray();
}

} // namespace

bool CTalvioDlg::CanSwitchLanguage() const {
    return m_pTranslator != nullptr && m_pActChinese != nullptr && m_pControlsBar != nullptr &&
           m_pControlsBar->m_pLanguageBtn != nullptr;
}

// A catalog that cannot be loaded leaves the translator empty, which is English.
void CTalvioDlg::UseLanguage(int nLanguage, const QString& strCatalog) {
    const QByteArray catalog = ReadCatalog(strCatalog);
    (void)m_pTranslator->load(reinterpret_cast<const uchar*>(catalog.constData()),
                              static_cast<int>(catalog.size()));
    m_catalog = catalog; // not before: the translator reads from the former one until then
    ReTranslateUiText();
    m_nLanguage = nLanguage;
    if (nLanguage == 1) {
        m_pActChinese->setChecked(true);
        SetOneImage(m_pControlsBar->m_pLanguageBtn, QStringLiteral("cn-en"));
    } else {
        m_pActEnglish->setChecked(true);
        SetOneImage(m_pControlsBar->m_pLanguageBtn, QStringLiteral("en"));
    }
}

bool CTalvioDlg::SwitchLanguage(QAction* pAction) {
    if (pAction == nullptr || !CanSwitchLanguage()) return false;
    if (pAction == m_pActChinese) {
        UseLanguage(1, QStringLiteral(":/talvio_zh.qm"));
    } else {
        UseLanguage(2, QStringLiteral(":/talvio_en.qm"));
    }
    return true;
}

// Unlike the menu, the button takes the catalogs from the working directory, so that a translation can be
// tried out.
bool CTalvioDlg::ChangeLanguage() {
    if (!CanSwitchLanguage()) return false;
    if (m_nLanguage == 2) {
        UseLanguage(1, QStringLiteral("talvio_zh.qm"));
    } else {
        UseLanguage(2, QStringLiteral("talvio_en.qm"));
    }
    return true;
}

void CTalvioDlg::ReTranslateUiText() {
    SetTitle(m_pViewMenu, tr("View"));
    SetTitle(m_pSoundMenu, tr("Sound"));
    SetTitle(m_pContextViewMenu, tr("View"));
    SetTitle(m_pContextSoundMenu, tr("Sound"));
    SetTitle(m_pToolsMenu, tr("Tools"));
    SetTitle(m_pHelpMenu, tr("Help"));
    SetTitle(m_pSettingMenu, tr("Setting"));
    if (m_pListTitleBar != nullptr && m_pListTitleBar->m_pTitle != nullptr) {
        m_pListTitleBar->m_pTitle->SetStaticText(tr("PlayList"), 0);
    }
    SetTitle(m_pFileMenu, tr("File"));
    SetTitle(m_pLanguageMenu, tr("Language"));
    SetText(m_pActOpenFile, tr("Open File"));
    SetText(m_pActFileInfo, tr("File Information"));
    SetText(m_pActCloseFile, tr("Close File"));
    SetText(m_pActAbout, tr("About"));
    SetText(m_pActHotKey, tr("HotKey"));
    SetText(m_pActExit, tr("Exit"));
    SetTitle(m_pPlayMenu, tr("Play"));
    ReTranslatePlayTexts();
    ReTranslateActionTexts();
    SetLangString();
    SetToolTipInfo();
    SetToolTipText();
    SetAllShortCut();
    // Some widgets name themselves; the toolkit would tell them of the new catalog only later.
    QEvent change(QEvent::LanguageChange);
    QCoreApplication::sendEvent(this, &change);
    SetState();
}

void CTalvioDlg::ReTranslatePlayTexts() {
    SetText(m_pActPlayPause, tr("Play/Pause"));
    SetText(m_pActStop, tr("Stop"));
    SetTitle(m_pTopDisplayMenu, tr("Top Display"));
    SetTitle(m_pContextTopDisplayMenu, tr("Top Display"));
    SetText(m_pActAlways, tr("Always"));
    SetText(m_pActOnlyPlaying, tr("Only Playing"));
    SetText(m_pActNever, tr("Never"));
    SetTitle(m_pPlayControlMenu, tr("Play Control"));
    SetTitle(m_pContextPlayControlMenu, tr("Play Control"));
    SetText(m_pActLocate, tr("Locate"));
    SetText(m_pActFrameForward, tr("Frame Forward"));
    SetText(m_pActFrameBackward, tr("Frame Backward"));
    SetText(m_pActSpeedUp, tr("Speed Up"));
    SetText(m_pActSpeedDown, tr("Speed Down"));
    SetTitle(m_pPlayModeMenu, tr("Play Mode"));
    SetTitle(m_pContextPlayModeMenu, tr("Play Mode"));
    SetText(m_pActSinglePlay, tr("Single Play"));
    SetText(m_pActPlaylistPlay, tr("Playlist Play"));
    SetText(m_pActSingleRepeat, tr("Single Repeat"));
    SetText(m_pActPlaylistRepeat, tr("Playlist Repeat"));
}

void CTalvioDlg::ReTranslateActionTexts() {
    SetTitle(m_pLanguageMenu, tr("Language"));
    SetText(m_pActChinese, tr("Chinese"));
    SetText(m_pActEnglish, tr("English"));
    SetText(m_pActPlaySettings, tr("Play Settings"));
    SetText(m_pActCapPic, tr("Cappic"));
    SetText(m_pActConCap, tr("Continue Cappic"));
    SetText(m_pActVolumeUp, tr("Volume Up"));
    SetText(m_pActVolumeDown, tr("Volume Down"));
    SetText(m_pActMute, tr("Mute"));
    SetText(m_pActFullScreen, tr("Full Screen"));
    SetText(m_pActImageControl, tr("Image Control"));
    SetText(m_pActColorAdjust, tr("Color Adjust"));
    SetText(m_pActNormalSize, tr("Normal Size"));
    SetText(m_pActDoubleSize, tr("2 Times Size"));
    SetText(m_pActSpareMute, tr("Mute"));
    SetText(m_pActRaiseFile, tr("Raise File"));
    SetText(m_pActDownFile, tr("Down File"));
    SetText(m_pActRemoveFile, tr("Remove File"));
    SetText(m_pActAddFile, tr("Add File"));
}

void CTalvioDlg::SetLangString() {
    m_strReady = tr("Ready");
    if (m_nSpeed > 0) {
        m_strPlaying = tr("Speed * %1").arg(1 << m_nSpeed);
    } else if (m_nSpeed < 0) {
        m_strPlaying = tr("Speed / %1").arg(1 << -m_nSpeed);
    } else {
        m_strPlaying = tr("Playing");
    }
    m_strPause = tr("Pause");
    m_strStop = tr("Stop");
    m_strPlaylist = tr("Playlist");
    m_strCapSuccess = tr("Cap Picture Success");
    m_strUnknownMedia = tr("Unknowed Media Type!");
    m_strMaxFileMsg = tr("The File Number is the Largest in Playlist");
    m_strConvertWarning = tr("When Converting,The File Will Stop Playing.\nIf Continue,Click 'Yes'.\n");
    m_strConvertHandle = tr("Create Convert Handle Fail!");
    m_strMemory = tr("Apply Memory Failed");
    m_strInit = tr("Init Fail!");
    m_strPara = tr("Set Para Fail!");
    m_strConvert = tr("Convert Fail!");
}

void CTalvioDlg::SetToolTipInfo() {
    if (m_pOperate == nullptr) return;
    m_strTipFullScreen = tr("Full Screen");
    m_strTipNormalSize = tr("Normal Size");
    m_strTipDoubleSize = tr("2 Times Size");
    m_strTipTopDisplay = tr("Always Top");
    if (m_nTopMode == 0) m_strTipTopDisplay = tr("Never Top");
    if (m_nTopMode == 1) m_strTipTopDisplay = tr("Top In Playing");
    m_strTipPlaySettings = tr("Play Settings");
    m_strTipAddFile = tr("Add File to Playlist");
    m_strTipDeleteFile = tr("Delete the Selected File");
    m_strTipClearFile = tr("Clear up the Playlist");
    m_strTipSelectMode = tr("Select the Play Modes");
    m_strTipCloseList = tr("Close PlayList");
    m_strTipPlay = m_pOperate->GetCurrentState() == COperate::kPlaying ? tr("Pause") : tr("Play");
    m_strTipStop = tr("Stop");
    m_strTipStart = tr("To the Start");
    m_strTipSlow = tr("Slow");
    m_strTipFast = tr("Fast");
    m_strTipEnd = tr("To the End");
    m_strTipLastFrame = tr("Last Frame");
    m_strTipNextFrame = tr("Next Frame");
    m_strTipBackPlay = m_bBackPlay ? tr("Cancel BackPlay") : tr("Start BackPlay");
    m_strTipSound = m_bSound ? tr("Mute") : tr("Sound");
    m_strTipLanguage = tr("English");
    m_strTipOpenFile = tr("Open File");
    m_strTipPlaylist = tr("Show/Hide Playlist");
    m_strTipToolBox = tr("Tool Box");
}

void CTalvioDlg::SetToolTipText() {
    if (m_pFloatDlg != nullptr) {
        SetTip(m_pFloatDlg->m_pFullScreenBtn, m_strTipFullScreen);
        SetTip(m_pFloatDlg->m_pNormalSizeBtn, m_strTipNormalSize);
        SetTip(m_pFloatDlg->m_pDoubleSizeBtn, m_strTipDoubleSize);
    }
    if (m_pListTitleBar != nullptr) {
        SetTip(m_pListTitleBar->m_pAddBtn, m_strTipAddFile);
        SetTip(m_pListTitleBar->m_pDeleteBtn, m_strTipDeleteFile);
        SetTip(m_pListTitleBar->m_pClearBtn, m_strTipClearFile);
        SetTip(m_pListTitleBar->m_pModeBtn, m_strTipSelectMode);
        SetTip(m_pListTitleBar->m_pCloseBtn, m_strTipCloseList);
    }
    if (m_pControlsBar == nullptr) return;
    SetTip(m_pControlsBar->m_pPlayBtn, m_strTipPlay);
    SetTip(m_pControlsBar->m_pStopBtn, m_strTipStop);
    SetTip(m_pControlsBar->m_pStartBtn, m_strTipStart);
    SetTip(m_pControlsBar->m_pSlowBtn, m_strTipSlow);
    SetTip(m_pControlsBar->m_pFastBtn, m_strTipFast);
    SetTip(m_pControlsBar->m_pEndBtn, m_strTipEnd);
    SetTip(m_pControlsBar->m_pLastFrameBtn, m_strTipLastFrame);
    SetTip(m_pControlsBar->m_pNextFrameBtn, m_strTipNextFrame);
    SetTip(m_pControlsBar->m_pBackBtn, m_strTipBackPlay);
    SetTip(m_pControlsBar->m_pSoundBtn, m_strTipSound);
    SetTip(m_pControlsBar->m_pLanguageBtn, m_strTipLanguage);
    SetTip(m_pControlsBar->m_pOpenFileBtn, m_strTipOpenFile);
    SetTip(m_pControlsBar->m_pPlaylistBtn, m_strTipPlaylist);
    SetTip(m_pControlsBar->m_pToolBoxBtn, m_strTipToolBox);
}

void CTalvioDlg::ReTranslatrAllText() {}

void CTalvioDlg::GetLanguage() {}

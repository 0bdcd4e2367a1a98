// Every way a command reaches the main window: actions, menus, shortcuts, direct keys and connections.
//
// The menus pop up and are attached to no menu bar, and the actions are not added to the window, so the
// toolkit never fires an action's shortcut itself: the menus show the shortcuts, and the direct keys carry
// them out, once.
#include "app/SkinImages.h"
#include "app/TalvioDlg.h"
#include "playlist/ListTitleBarWidget.h"
#include "widgets/FloatDlg.h"
#include "widgets/PlayerTitle.h"
#include "widgets/SkinButton.h"

#include <QAction>
#include <QActionGroup>
#include <QCursor>
#include <QIcon>
#include <QKeyEvent>
#include <QMenu>
#include <QTimer>

#include <new>

namespace {

// Connects what was built; a missing sender leaves its command unreachable by that way.
template <typename Sender, typename Signal, typename Slot>
void Wire(Sender* pSender, Signal signal, CTalvioDlg* pDlg, Slot slot) {
    if (pSender != nullptr) QObject::connect(pSender, signal, pDlg, slot);
}

} // namespace

std::vector<QAction * CTalvioDlg::*> CTalvioDlg::Actions() {
    using D = CTalvioDlg;
    return {&D::m_pActOpenFile,     &D::m_pActFileInfo,       &D::m_pActCloseFile,    &D::m_pActExit,
            &D::m_pActPlayPause,    &D::m_pActStop,           &D::m_pActAlways,       &D::m_pActOnlyPlaying,
            &D::m_pActNever,        &D::m_pActLocate,         &D::m_pActFrameForward, &D::m_pActFrameBackward,
            &D::m_pActSpeedUp,      &D::m_pActSpeedDown,      &D::m_pActSinglePlay,   &D::m_pActPlaylistPlay,
            &D::m_pActSingleRepeat, &D::m_pActPlaylistRepeat, &D::m_pActFullScreen,   &D::m_pActNormalSize,
            &D::m_pActDoubleSize,   &D::m_pActImageControl,   &D::m_pActColorAdjust,  &D::m_pActMute,
            &D::m_pActVolumeUp,     &D::m_pActVolumeDown,     &D::m_pActCapPic,       &D::m_pActConCap,
            &D::m_pActPlaySettings, &D::m_pActAbout,          &D::m_pActHotKey,       &D::m_pActChinese,
            &D::m_pActEnglish,      &D::m_pActAddFile,        &D::m_pActRemoveFile,   &D::m_pActRaiseFile,
            &D::m_pActDownFile,     &D::m_pActSpareMute};
}

void CTalvioDlg::DeleteActions() {
    for (QActionGroup** ppGroup : {&m_pTopGroup, &m_pPlayModeGroup, &m_pLanguageGroup, &m_pFullScreenGroup}) {
        delete *ppGroup;
        *ppGroup = nullptr;
    }
    for (QAction* CTalvioDlg::*const pMember : Actions()) {
        delete (this->*pMember);
        this->*pMember = nullptr;
    }
}

bool CTalvioDlg::CreateActions() {
    for (QAction* CTalvioDlg::*const pMember : Actions()) {
        this->*pMember = new (std::nothrow) QAction(this);
        if (this->*pMember == nullptr) {
            DeleteActions();
            return false;
        }
    }
    for (QActionGroup** ppGroup : {&m_pTopGroup, &m_pPlayModeGroup, &m_pLanguageGroup, &m_pFullScreenGroup}) {
        *ppGroup = new (std::nothrow) QActionGroup(this);
        if (*ppGroup == nullptr) {
            DeleteActions();
            return false;
        }
    }
    GroupActions();
    m_pActMute->setCheckable(true);
    m_pActCapPic->setIcon(QIcon(SkinImagePath(QStringLiteral("cappic"))));
    m_pActConCap->setIcon(QIcon(SkinImagePath(QStringLiteral("continuecappic"))));
    return true;
}

void CTalvioDlg::GroupActions() {
    const auto group = [](QActionGroup* pGroup, std::initializer_list<QAction*> actions) {
        pGroup->setExclusive(true);
        for (QAction* pAction : actions) {
            pAction->setCheckable(true);
            pGroup->addAction(pAction);
        }
    };
    group(m_pTopGroup, {m_pActAlways, m_pActNever});
    group(m_pPlayModeGroup, {m_pActSinglePlay, m_pActPlaylistPlay, m_pActSingleRepeat, m_pActPlaylistRepeat});
    group(m_pLanguageGroup, {m_pActChinese, m_pActEnglish});
    group(m_pFullScreenGroup, {m_pActFullScreen});
}

QMenu* CTalvioDlg::AddTopDisplayMenu(QMenu* pMenu) {
    QMenu* pSub = pMenu->addMenu(QString());
    pSub->addActions({m_pActAlways, m_pActNever});
    return pSub;
}

QMenu* CTalvioDlg::AddPlayControlMenu(QMenu* pMenu) {
    QMenu* pSub = pMenu->addMenu(QString());
    pSub->addActions({m_pActLocate, m_pActFrameForward, m_pActFrameBackward, m_pActSpeedUp, m_pActSpeedDown});
    return pSub;
}

QMenu* CTalvioDlg::AddPlayModeMenu(QMenu* pMenu) {
    QMenu* pSub = pMenu->addMenu(QString());
    pSub->addActions({m_pActSinglePlay, m_pActPlaylistPlay, m_pActSingleRepeat, m_pActPlaylistRepeat});
    return pSub;
}

QMenu* CTalvioDlg::AddSoundMenu(QMenu* pMenu) {
    QMenu* pSub = pMenu->addMenu(QString());
    pSub->addActions({m_pActMute, m_pActVolumeUp, m_pActVolumeDown});
    return pSub;
}

bool CTalvioDlg::CreateFileMenu() {
    if (m_pActOpenFile == nullptr) return false;
    if ((m_pContextMenu = new (std::nothrow) QMenu(this)) == nullptr) return false;
    QMenu* pMenu = m_pContextMenu;
    pMenu->addActions({m_pActPlayPause, m_pActStop});
    pMenu->addSeparator();
    m_pContextTopDisplayMenu = AddTopDisplayMenu(pMenu);
    pMenu->addSeparator();
    m_pContextPlayControlMenu = AddPlayControlMenu(pMenu);
    m_pContextPlayModeMenu = AddPlayModeMenu(pMenu);
    m_pContextViewMenu = pMenu->addMenu(QString());
    m_pContextViewMenu->addAction(m_pActFullScreen);
    m_pContextViewMenu->addSeparator();
    m_pContextViewMenu->addActions({m_pActImageControl, m_pActColorAdjust});
    m_pContextSoundMenu = AddSoundMenu(pMenu);
    pMenu->addSeparator();
    pMenu->addActions({m_pActCapPic, m_pActConCap});
    pMenu->addSeparator();
    pMenu->addAction(m_pActFileInfo);
    pMenu->addSeparator();
    pMenu->addAction(m_pActPlaySettings);
    return true;
}

bool CTalvioDlg::CreateTopMenu() {
    if (m_pActOpenFile == nullptr) return false;
    if ((m_pTopMenu = new (std::nothrow) QMenu(this)) == nullptr) return false;
    m_pFileMenu = m_pTopMenu->addMenu(QString());
    m_pFileMenu->addAction(m_pActOpenFile);
    for (QAction* pAction : {m_pActFileInfo, m_pActCloseFile, m_pActExit}) {
        m_pFileMenu->addSeparator();
        m_pFileMenu->addAction(pAction);
    }
    m_pPlayMenu = m_pTopMenu->addMenu(QString());
    FillTopPlayMenu();

    m_pTopMenu->addSeparator();
    m_pToolsMenu = m_pTopMenu->addMenu(QString());
    m_pToolsMenu->addActions({m_pActCapPic, m_pActConCap});
    m_pTopMenu->addSeparator();
    m_pSettingMenu = m_pTopMenu->addMenu(QString());
    m_pSettingMenu->addAction(m_pActPlaySettings);
    m_pTopMenu->addSeparator();
    m_pHelpMenu = m_pTopMenu->addMenu(QString());
    m_pHelpMenu->addActions({m_pActAbout, m_pActHotKey});
    return true;
}

void CTalvioDlg::FillTopPlayMenu() {
    m_pPlayMenu->addActions({m_pActPlayPause, m_pActStop});
    m_pPlayMenu->addSeparator();
    m_pTopDisplayMenu = AddTopDisplayMenu(m_pPlayMenu);
    m_pPlayControlMenu = AddPlayControlMenu(m_pPlayMenu);
    m_pPlayModeMenu = AddPlayModeMenu(m_pPlayMenu);
    m_pViewMenu = m_pPlayMenu->addMenu(QString());
    m_pViewMenu->addActions({m_pActFullScreen, m_pActNormalSize, m_pActDoubleSize});
    m_pViewMenu->addSeparator();
    m_pViewMenu->addActions({m_pActImageControl, m_pActColorAdjust});
    m_pSoundMenu = AddSoundMenu(m_pPlayMenu);
    m_pPlayMenu->addSeparator();
    m_pLanguageMenu = m_pPlayMenu->addMenu(QString());
    m_pLanguageMenu->addAction(m_pActChinese);
    m_pLanguageMenu->addSeparator();
    m_pLanguageMenu->addAction(m_pActEnglish);
}

bool CTalvioDlg::CreateFileListMenu() {
    if (m_pActOpenFile == nullptr) return false;
    if ((m_pListMenu = new (std::nothrow) QMenu(this)) == nullptr) return false;
    m_pListMenu->addActions({m_pActAddFile, m_pActRemoveFile});
    m_pListMenu->addSeparator();
    m_pListMenu->addActions({m_pActRaiseFile, m_pActDownFile});
    m_pListMenu->addSeparator();
    if (m_pPlayModeMenu != nullptr) m_pListMenu->addMenu(m_pPlayModeMenu);
    return true;
}

bool CTalvioDlg::CreateToolBoxMenu() {
    if (m_pActOpenFile == nullptr) return false;
    if ((m_pToolBoxMenu = new (std::nothrow) QMenu(this)) == nullptr) return false;
    m_pToolBoxMenu->addActions({m_pActCapPic, m_pActConCap});
    return true;
}

bool CTalvioDlg::ShowTopMenu(const QPoint& pos) {
    if (m_pTopMenu == nullptr) return false;
    m_pTopMenu->popup(pos);
    return true;
}

bool CTalvioDlg::showContextMenu(const QPoint& pos) {
    if (m_pContextMenu == nullptr) return false;
    m_pContextMenu->popup(pos);
    return true;
}

bool CTalvioDlg::ShowToolBoxMenu() {
    if (m_pToolBoxMenu == nullptr) return false;
    m_pToolBoxMenu->popup(QCursor::pos());
    return true;
}

bool CTalvioDlg::ShowSelectMode() {
    if (m_pContextPlayModeMenu == nullptr) return false;
    m_pContextPlayModeMenu->popup(QCursor::pos());
    return true;
}

void CTalvioDlg::SetAllShortCut() {
    if (m_pActPlayPause == nullptr) return;
    m_pActPlayPause->setShortcut(Qt::Key_Space);
    m_pActFrameForward->setShortcut(Qt::Key_Right);
    m_pActFrameBackward->setShortcut(Qt::Key_Left);
    m_pActVolumeUp->setShortcut(Qt::Key_Up);
    m_pActVolumeDown->setShortcut(Qt::Key_Down);
    m_pActStop->setShortcut(QKeySequence(tr("Ctrl+S")));
    m_pActOpenFile->setShortcut(QKeySequence(tr("Ctrl+O")));
    m_pActCloseFile->setShortcut(QKeySequence(tr("Ctrl+C")));
}

QKeySequence CTalvioDlg::GetShortCutKey(QString /*strName*/) {
    return {};
}

// Every key ends here: the base class would close the dialog on Escape and press a button on Enter.
void CTalvioDlg::keyPressEvent(QKeyEvent* pEvent) {
    if (pEvent->isAutoRepeat()) {
        m_keyRepeat.Put(pEvent->key(), pEvent->modifiers());
        return;
    }
    m_keyRepeat.Drop();
    HandleKey(pEvent->key(), pEvent->modifiers());
}

void CTalvioDlg::keyReleaseEvent(QKeyEvent* pEvent) {
    if (!pEvent->isAutoRepeat()) m_keyRepeat.Drop();
}

void CTalvioDlg::HandleKey(int nKey, Qt::KeyboardModifiers modifiers) {
    const bool bModifier = modifiers != Qt::NoModifier;
    if (nKey == Qt::Key_Escape) {
        if (m_bFullScreen) FullScreen();
    } else if (nKey == Qt::Key_Up) {
        SoundUp();
    } else if (nKey == Qt::Key_Right) {
        bModifier ? End() : NextFrame();
    } else if (nKey == Qt::Key_Down) {
        SoundDown();
    } else if (nKey == Qt::Key_C) {
        if (bModifier) CloseFile();
    } else if (nKey == Qt::Key_O) {
        if (bModifier) OpenFile();
    } else if (nKey == Qt::Key_S) {
        if (bModifier) Stop();
    } else if (nKey == Qt::Key_Left) {
        bModifier ? Start() : LastFrame();
    } else if (nKey == Qt::Key_Space) {
        PlayOrPause();
    }
}

// The order is the order in which the slots of one signal run.
void CTalvioDlg::CreateSignals() {
    ConnectButtons();
    Wire(m_pLanguageGroup, &QActionGroup::triggered, this, &CTalvioDlg::SwitchLanguage);
    Wire(m_pTopGroup, &QActionGroup::triggered, this, &CTalvioDlg::SwithTopDisplay);
    Wire(m_pPlayModeGroup, &QActionGroup::triggered, this, &CTalvioDlg::SwithPlayMode);
    ConnectActions();
    Wire(m_pTimer, &QTimer::timeout, this, &CTalvioDlg::DrawStatus);
    // The library's threads emit these three, so their slots run queued.
    connect(this, &CTalvioDlg::EncChangeMsg, this, &CTalvioDlg::InitMainWinSize);
    connect(this, &CTalvioDlg::FileEndMsg, this, &CTalvioDlg::PlayProcess);
    connect(this, &CTalvioDlg::SendErrorMsg, this, &CTalvioDlg::ShowErrorMsg);
    connect(&m_keyRepeat, &CKeyRepeat::Repeated, this, &CTalvioDlg::HandleKey);
}

void CTalvioDlg::ConnectButtons() {
    Wire(m_pTitleBar->m_pCloseBtn, &CSkinButton::ReleaseButton, this, &CTalvioDlg::Exit);
    if (m_pFloatDlg != nullptr) {
        Wire(m_pFloatDlg->m_pFullScreenBtn, &CSkinButton::clicked, this, &CTalvioDlg::FullScreen);
        Wire(m_pFloatDlg->m_pNormalSizeBtn, &CSkinButton::clicked, this, &CTalvioDlg::OnClickOneZoomButton);
        Wire(m_pFloatDlg->m_pDoubleSizeBtn, &CSkinButton::clicked, this, &CTalvioDlg::OnClickTwoZoomButton);
    }
    if (m_pListTitleBar != nullptr) {
        Wire(m_pListTitleBar->m_pModeBtn, &CSkinButton::clicked, this, &CTalvioDlg::ShowSelectMode);
        Wire(m_pListTitleBar->m_pCloseBtn, &CSkinButton::clicked, this, &CTalvioDlg::CloseFileList);
        Wire(m_pListTitleBar->m_pAddBtn, &CSkinButton::clicked, this, &CTalvioDlg::AddFile);
        Wire(m_pListTitleBar->m_pDeleteBtn, &CSkinButton::clicked, this, &CTalvioDlg::DeleteFile);
        Wire(m_pListTitleBar->m_pClearBtn, &CSkinButton::clicked, this, &CTalvioDlg::ClearFile);
    }
}

void CTalvioDlg::ConnectActions() {
    const auto wire = [this](QAction* pAction, bool (CTalvioDlg::*pSlot)()) {
        Wire(pAction, &QAction::triggered, this, pSlot);
    };
    wire(m_pActNormalSize, &CTalvioDlg::OnClickOneZoomButton);
    wire(m_pActDoubleSize, &CTalvioDlg::OnClickTwoZoomButton);
    wire(m_pActLocate, &CTalvioDlg::ShowLocateDlg);
    wire(m_pActFileInfo, &CTalvioDlg::DisplayFileInfo);
    wire(m_pActPlaySettings, &CTalvioDlg::DisPlaySettingDlg);
    wire(m_pActOpenFile, &CTalvioDlg::OpenFile);
    wire(m_pActCloseFile, &CTalvioDlg::CloseFile);
    wire(m_pActPlayPause, &CTalvioDlg::PlayOrPause);
    wire(m_pActStop, &CTalvioDlg::Stop);
    wire(m_pActSpeedUp, &CTalvioDlg::Fast);
    wire(m_pActSpeedDown, &CTalvioDlg::Slow);
    wire(m_pActFrameForward, &CTalvioDlg::NextFrame);
    wire(m_pActFrameBackward, &CTalvioDlg::LastFrame);
    wire(m_pActExit, &CTalvioDlg::Exit);
    wire(m_pActCapPic, &CTalvioDlg::CapPic);
    wire(m_pActConCap, &CTalvioDlg::ConCap);
    wire(m_pActAbout, &CTalvioDlg::ShowAboutDlg);
    wire(m_pActHotKey, &CTalvioDlg::ShowHotKeyDlg);
    wire(m_pActMute, &CTalvioDlg::Sound);
    wire(m_pActVolumeUp, &CTalvioDlg::SoundUp);
    wire(m_pActVolumeDown, &CTalvioDlg::SoundDown);
    wire(m_pActFullScreen, &CTalvioDlg::FullScreen);
    wire(m_pActImageControl, &CTalvioDlg::ShowImageDlg);
    wire(m_pActColorAdjust, &CTalvioDlg::ShowColorDlg);
    wire(m_pActAddFile, &CTalvioDlg::AddFile);
    wire(m_pActRemoveFile, &CTalvioDlg::DeleteFile);
    wire(m_pActRaiseFile, &CTalvioDlg::RaiseFile);
    wire(m_pActDownFile, &CTalvioDlg::DownFile);
}

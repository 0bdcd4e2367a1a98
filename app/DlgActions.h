// The main window's commands as the menus offer them: its actions, their groups, and the menus themselves.
// All are the window's children; null where they could not be made.
#pragma once

class QAction;
class QActionGroup;
class QMenu;

struct CDlgActions {
    // In the order of the menus.
    QAction* m_pActOpenFile = nullptr;
    QAction* m_pActFileInfo = nullptr;
    QAction* m_pActCloseFile = nullptr;
    QAction* m_pActExit = nullptr;
    QAction* m_pActPlayPause = nullptr;
    QAction* m_pActStop = nullptr;
    QAction* m_pActAlways = nullptr;
    QAction* m_pActOnlyPlaying = nullptr; // in no menu and no group
    QAction* m_pActNever = nullptr;
    QAction* m_pActLocate = nullptr;
    QAction* m_pActFrameForward = nullptr;
    QAction* m_pActFrameBackward = nullptr;
    QAction* m_pActSpeedUp = nullptr;
    QAction* m_pActSpeedDown = nullptr;
    QAction* m_pActSinglePlay = nullptr;
    QAction* m_pActPlaylistPlay = nullptr;
    QAction* m_pActSingleRepeat = nullptr;
    QAction* m_pActPlaylistRepeat = nullptr;
    QAction* m_pActFullScreen = nullptr;
    QAction* m_pActNormalSize = nullptr;
    QAction* m_pActDoubleSize = nullptr;
    QAction* m_pActImageControl = nullptr;
    QAction* m_pActColorAdjust = nullptr;
    QAction* m_pActMute = nullptr;
    QAction* m_pActVolumeUp = nullptr;
    QAction* m_pActVolumeDown = nullptr;
    QAction* m_pActCapPic = nullptr;
    QAction* m_pActConCap = nullptr;
    QAction* m_pActPlaySettings = nullptr;
    QAction* m_pActAbout = nullptr;
    QAction* m_pActHotKey = nullptr;
    QAction* m_pActChinese = nullptr;
    QAction* m_pActEnglish = nullptr;
    QAction* m_pActAddFile = nullptr;
    QAction* m_pActRemoveFile = nullptr;
    QAction* m_pActRaiseFile = nullptr;
    QAction* m_pActDownFile = nullptr;
    QAction* m_pActSpareMute = nullptr; // "Mute" again, in no menu

    QActionGroup* m_pTopGroup = nullptr;
    QActionGroup* m_pPlayModeGroup = nullptr;
    QActionGroup* m_pLanguageGroup = nullptr;
    QActionGroup* m_pFullScreenGroup = nullptr;

    QMenu* m_pTopMenu = nullptr; // opened by the title bar
    QMenu* m_pFileMenu = nullptr;
    QMenu* m_pPlayMenu = nullptr;
    QMenu* m_pTopDisplayMenu = nullptr;
    QMenu* m_pPlayControlMenu = nullptr;
    QMenu* m_pPlayModeMenu = nullptr;
    QMenu* m_pViewMenu = nullptr;
    QMenu* m_pSoundMenu = nullptr;
    QMenu* m_pLanguageMenu = nullptr;
    QMenu* m_pToolsMenu = nullptr;
    QMenu* m_pSettingMenu = nullptr;
    QMenu* m_pHelpMenu = nullptr;
    QMenu* m_pContextMenu = nullptr; // the video's; its submenus hold the same actions
    QMenu* m_pContextTopDisplayMenu = nullptr;
    QMenu* m_pContextPlayControlMenu = nullptr;
    QMenu* m_pContextPlayModeMenu = nullptr;
    QMenu* m_pContextViewMenu = nullptr;
    QMenu* m_pContextSoundMenu = nullptr;
    QMenu* m_pListMenu = nullptr;
    QMenu* m_pToolBoxMenu = nullptr;
};

// The main window: it owns every widget, every setting and the playback facade, and carries out every
// command.
//
// One class with many duties; its definitions are divided by duty:
//   TalvioDlg.cpp            start and stop, the messages of the playback library
//   TalvioDlgLayout.cpp      widget tree, skin, painting, sizes, edge resizing, top modes
//   TalvioDlgActions.cpp     actions, menus, shortcuts, direct keys, connections
//   TalvioDlgFullScreen.cpp  full-screen display
//   TalvioDlgPlay.cpp        play commands and the state of the controls
//   TalvioDlgStatus.cpp      progress timer, end of a file, continuous capture
//   TalvioDlgPlaylist.cpp    playlist, drops, path helpers
//   TalvioDlgConfig.cpp      settings and their file
//   TalvioDlgLanguage.cpp    texts and languages
//   TalvioDlgDialogs.cpp     dialogs and the facts that they show
//
// Threads: everything runs on the GUI thread but SendMsg() and ConCapPic(), which the playback library calls
// on its own threads, and CaptureFailed(), on one of the facade's. What these read is marked below. The GUI
// thread holds no lock while it calls the library, and the library calls back only between a successful
// Open() and the return of Stop() or Close(); the destructor stops playback and ends the captures, so that no
// call can find a window that is going.
#pragma once

#include "app/DlgActions.h"
#include "app/KeyRepeat.h"
#include "dialogs/FileFacts.h"
#include "engine/PlayEvents.h"
#include "playlist/PlaylistOwner.h"
#include "settings/SettingsOwner.h"
#include "widgets/WindowCommands.h"

#include <QBrush>
#include <QDialog>
#include <QKeySequence>
#include <QList>
#include <QMutex>
#include <QPoint>
#include <QRect>
#include <QSet>
#include <QString>
#include <QTimer>

#include <atomic>
#include <vector>

class CControlsBarWidget;
class CFloatDlg;
class CListBox;
class CListTitleBar;
class COperate;
class CPlayerTitle;
class CPlayStatusWidget;
class CSkinButton;
class CViewContainer;
class CViewWidget;
class QGridLayout;
class QHBoxLayout;
class QListWidgetItem;
class QSplitter;
class QTranslator;
class QVBoxLayout;

// Slots that return bool answer whether the command was carried out; one that does not apply in the current
// state is refused silently and changes nothing.
class CTalvioDlg : public QDialog,
                   public CWindowCommands,
                   public CPlaylistOwner,
                   public CPlayEvents,
                   public CFileFacts,
                   public CSettingsOwner,
                   private CDlgActions {
    Q_OBJECT

  public:
    // Builds the window and reads the settings file. When building fails the window shows what there is.
    explicit CTalvioDlg(QWidget* pParent);
    // Writes the settings file. The open file is not closed and the facade is not deleted: the process ends
    // right after.
    ~CTalvioDlg() override;

    // --- messages of the playback library, on any thread
    void SendMsg(int nCode) override;
    // A picture was displayed: captures it while continuous capture is on.
    void ConCapPic() override;
    void CaptureFailed() override;

    // Null when the window could not be built.
    COperate* GetOperate() const override { return m_pOperate; }

    // --- start
    bool InitMainDlg();
    bool CreateViewLayout();
    bool CreateActions();
    bool CreateFileMenu(); // the video's context menu
    bool CreateTopMenu();
    bool CreateFileListMenu();
    bool CreateToolBoxMenu();
    void CreateSignals();

    // --- skin, sizes, top modes
    // Gives every widget its images; false when a widget is missing.
    bool SetBitMaps();
    // 1: the normal rectangle, 2: twice its size. Only while playing or paused and not maximised.
    void ChangeDlgSize(int nMode);
    // 0: never on top, 1: only while playing, 2: always. Shows the window again.
    void TopDisplay(int nMode);

    // --- full screen
    // Flips the full-screen flag, then enters (0) or leaves (1). False only without a video surface.
    bool SetFullScreen(int nMode);
    // Shows or hides everything around the video.
    bool SetCtrlVisible(bool bVisible);
    void SetMaxScreen(bool bMax) override { m_bMaxScreen = bMax; }
    // Stretch the window over the primary screen and put it back.
    void ShowFullScreen();
    void ShowNormalScreen();
    bool GetFullScreenStatus() const override { return m_bFullScreen; }
    QWidget* GetFloatDlg() const override;
    QWidget* GetControlsBar() const override;
    QWidget* GetSplitter() const override;

    // --- actions
    void SetAllShortCut();
    // Always empty.
    QKeySequence GetShortCutKey(QString strName);

    // --- play
    // Hands the settings and the video surface's window to the facade.
    void SetPara() override;
    // Brings every control into line with the play state.
    void SetState() override;
    void SetCtrlState();
    // -4 to 4, clamped; used from the next open or play on.
    void SetSpeed(int nLevel) override;
    int GetSpeed() const override { return m_nSpeed; }
    bool GetSoundStatus() const override { return m_bSound; }

    // --- playlist
    // Appends one entry, marked when `bMarkBad`; a path that is listed already is left alone.
    bool AddFile2List(QString strPath, bool bMarkBad);
    // Runs the file chooser and lists the chosen files; the first one that the library accepts goes to
    // *pOutPath.
    bool BrowseFile(QString* pOutPath);
    bool ShowListItemMenu(QPoint pos, QListWidgetItem* pItem) override;
    // Whether the playback library can open the file.
    bool JudgeFileType(QString strPath);
    void HandleDrop(QDropEvent* pEvent) override;
    // Path helpers: false, with the output untouched, for an empty path or a null output.
    bool GetFileNameFormPath(QString strPath, QString* pName) override;
    bool GetDirFromPath(QString strPath, QString* pDir) override;           // with its trailing slash
    bool GetFileTypeFromFileName(QString strName, QString* pType) override; // the last three characters
    QString GetCurFileName();

    // --- facts of the current file, for the file information: false when their source is missing
    bool GetFilePath(QString* pPath) override;
    bool GetResolution(QString* pResolution) override;
    bool GetFrameRate(QString* pFrameRate) override;
    bool GetFileTime(QString* pTime) override;
    bool GetFileSize(QString* pSize) override;

    // --- settings
    void ReadFromConfigFile(QString strPath);
    void WriteIntoConfigFile(QString strPath);
    QString GetCapPath() const override;
    void SetCapPath(QString strPath) override;
    QString GetConCapPath() const override;
    void SetConCapPath(QString strPath) override;
    bool GetHighQuality() const override;
    void SetHighQuality(bool bHigh) override;
    bool GetDeflash() const override;
    void SetDeflash(bool bDeflash) override;
    int GetThrowBNum() const override;
    void SetThrowBNum(int nNum) override;
    int GetPlayerTimer() const override;
    void SetPlayerTimer(int nType) override;
    int GetDisplayType() const override;
    void SetDisplayType(int nType) override;
    int GetCapType() const override;
    void SetCapType(int nType) override;
    int GetConCapType() const override;
    void SetConCapType(int nType) override;
    int GetDeinterlaceType() const override;
    void SetDeinterlaceType(unsigned long nType) override;
    int GetPreThrowBNum() const override;
    void SetPreThrowBNum(int nNum) override;
    // The four picture values: a negative one is refused.
    int GetBrightness() const override;
    bool SetBrightness(int nValue) override;
    int GetContrast() const override;
    bool SetContrast(int nValue) override;
    int GetChromaticity() const override;
    bool SetChromaticity(int nValue) override;
    int GetHue() const override;
    bool SetHue(int nValue) override;
    // Always 1.
    int GetWatermark() const;

    // --- texts
    void ReTranslateUiText();
    void SetLangString();
    void SetToolTipInfo();
    void SetToolTipText();
    // Both empty; kept for the interface's sake.
    void ReTranslatrAllText();
    void GetLanguage();

  signals:
    void FileEndMsg();
    void EncChangeMsg();
    void SendErrorMsg();

  public slots:
    bool Exit() override;

    // Chooses the window's size from the picture's; the start size with nothing open.
    void InitMainWinSize();
    bool OnClickOneZoomButton();
    bool OnClickTwoZoomButton();
    bool SwithTopDisplay(QAction* pAction);
    bool OnClickTopDiaPlayButton();

    bool ShowTopMenu(const QPoint& pos) override;
    bool showContextMenu(const QPoint& pos) override;
    bool ShowToolBoxMenu() override;
    bool ShowSelectMode();

    bool FullScreen() override;

    bool Open();
    bool OpenItemFile(QString strPath) override;
    bool PlayOrPause() override;
    bool Stop() override;
    bool Fast() override;
    bool Slow() override;
    bool NextFrame() override;
    bool LastFrame() override;
    bool Back() override;
    bool Start() override;
    bool End() override;
    bool CloseFile();
    bool Sound() override;
    bool SoundUp();
    bool SoundDown();
    bool SetVolumeSlider(int nValue) override;
    bool SetPlaySlider(int nValue) override;
    bool CapPic();

    bool SwithPlayMode(QAction* pAction);
    void DrawStatus();
    void PlayProcess();
    bool ConCap();
    void ShowErrorMsg();

    bool AddFile();
    bool OpenFile() override;
    bool DeleteFile();
    bool ClearFile();
    bool RaiseFile();
    bool DownFile();
    bool IsViewPlaylist() override;
    bool CloseFileList();

    bool SwitchLanguage(QAction* pAction);
    bool ChangeLanguage() override;

    bool DisPlaySettingDlg();
    bool ShowHotKeyDlg();
    bool ShowLocateDlg();
    bool ShowImageDlg();
    bool ShowColorDlg();
    bool DisplayFileInfo();
    bool ShowAboutDlg();

  protected:
    void paintEvent(QPaintEvent* pEvent) override;
    void showEvent(QShowEvent* pEvent) override;
    void resizeEvent(QResizeEvent* pEvent) override;
    void moveEvent(QMoveEvent* pEvent) override;
    void mousePressEvent(QMouseEvent* pEvent) override;
    void mouseMoveEvent(QMouseEvent* pEvent) override;
    void mouseReleaseEvent(QMouseEvent* pEvent) override;
    void keyPressEvent(QKeyEvent* pEvent) override;
    void keyReleaseEvent(QKeyEvent* pEvent) override;
    void dragEnterEvent(QDragEnterEvent* pEvent) override;
    void dragMoveEvent(QDragMoveEvent* pEvent) override;
    void dropEvent(QDropEvent* pEvent) override;

  private:
    // start and stop
    void CheckDefaultActions();
    void DeleteActions();

    // layout
    bool CreateViewWidgets();
    void DropUnplaced();
    void LayOutPlaylist();
    void LayOutView();
    void LayOutCentre();
    void LayOutWindow();
    void SetControlsBarBitMaps();
    void SetListTitleBarBitMaps();
    void FitOnScreen();
    void CheckGeometry();
    void UpdateEdges(const QPoint& pos);
    void UpdateEdgeCursor();
    void ResizeByEdge(const QPoint& pos);
    void SetWindowFlags(Qt::WindowFlags flags);
    void FollowTopMode();

    // actions
    QMenu* AddPlayControlMenu(QMenu* pMenu);
    QMenu* AddPlayModeMenu(QMenu* pMenu);
    QMenu* AddTopDisplayMenu(QMenu* pMenu);
    QMenu* AddSoundMenu(QMenu* pMenu);
    void FillTopPlayMenu();
    void ConnectButtons();
    void ConnectActions();
    void HandleKey(int nKey, Qt::KeyboardModifiers modifiers);
    static std::vector<QAction * CTalvioDlg::*> Actions();
    void GroupActions();

    // play
    bool Close();
    bool InitPlay();
    void RegisterCallBacks();
    bool HasCtrls() const;
    void ResetColour();
    void StartTimer();
    void ShowPlayButton(bool bPlaying);
    void ShowClosed();
    void ShowPlaying(const QString& strText, bool bPlaying);
    void ShowStopped();
    bool SetVolume(int nVolume);
    void SetThrowB(int nNumber);

    // status
    void DrawProgress();
    // Takes the oldest end-of-file message; false when its opening of a file is over.
    bool IsEndOfCurrent();
    // Makes the row current and opens its file; false when the entry is marked.
    bool OpenIfPlayable(int nRow);
    bool OpenNext();
    void OpenFromTop();

    // playlist
    bool IsListed(const QString& strPath);
    void SetCurrentRow(int nRow);
    QList<int> RowsOf(const QList<QListWidgetItem*>& lstItems) const;
    bool SetPlaylistButton(bool bShown);

    // dialogs
    bool ShowSettingPage(int nPage);

    // settings: the ten that are kept, in the order of the file
    QStringList ConfigValues() const;
    void SetConfigValue(const QString& strKey, const QString& strText);

    // language
    bool CanSwitchLanguage() const;
    void UseLanguage(int nLanguage, const QString& strCatalog);
    void ReTranslatePlayTexts();
    void ReTranslateActionTexts();

    // A path as the bytes that the file system knows it by.
    static QByteArray PathBytes(const QString& strPath);

    // --- GUI thread, set once while the window is built
    COperate* m_pOperate = nullptr; // also called by ConCapPic
    QTimer* m_pTimer = nullptr;     // the progress timer
    QTranslator* m_pTranslator = nullptr;
    QTranslator* m_pQtTranslator = nullptr;
    QString m_strConfigPath;
    QBrush m_brushBadFile; // marks playlist entries that the library rejected

    CPlayerTitle* m_pTitleBar = nullptr;
    CControlsBarWidget* m_pControlsBar = nullptr;
    CListTitleBar* m_pListTitleBar = nullptr;
    CPlayStatusWidget* m_pStatusWidget = nullptr;
    CViewContainer* m_pViewContainer = nullptr;
    QWidget* m_pListPanel = nullptr;
    CViewWidget* m_pViewWidget = nullptr;
    CListBox* m_pListBox = nullptr;
    QSplitter* m_pSplitter = nullptr;
    CFloatDlg* m_pFloatDlg = nullptr;
    QVBoxLayout* m_pMainLayout = nullptr;
    QHBoxLayout* m_pCentreLayout = nullptr;
    QHBoxLayout* m_pControlsLayout = nullptr;
    QGridLayout* m_pViewLayout = nullptr;
    QVBoxLayout* m_pFloatLayout = nullptr;
    QVBoxLayout* m_pListLayout = nullptr;

    // --- GUI thread
    CKeyRepeat m_keyRepeat;
    QTimer m_geometryTimer; // from a wish for another geometry to the look at what became of it
    QRect m_rcNormal;       // the "Normal Size" geometry
    QRect m_rcFrame;        // saved by ShowFullScreen
    QRect m_rcBeforeFull;   // the window's geometry before full screen
    int m_nZoomMode = 0;
    bool m_bResizing = false;
    bool m_bLeftEdge = false;
    bool m_bRightEdge = false;
    bool m_bBottomEdge = false;
    QPoint m_ptPress; // local mouse position at the last resize step
    int m_nTopMode = 0;
    int m_nTopState = -1;   // the play state for which top mode 1 was applied last; -1: none yet
    int m_nShownState = -1; // the play state that the controls show; -1: none yet
    bool m_bFullScreen = false;
    bool m_bMaxScreen = false;
    bool m_bViewPlaylist = true;

    QString m_strFilePath; // the current file
    int m_nSpeed = 0;      // -4..4: speed is 2 to the power of it
    int m_nThrowBNum = 0;
    int m_nPreThrowBNum = 0;
    bool m_bSound = true;
    bool m_bBackPlay = false; // never set: reverse play is not offered
    int m_nVolume = 65535;
    bool m_bHighQuality = true;
    bool m_bDeflash = true;
    unsigned long m_nDeinterlaceType = 0;
    int m_nDisplayType = 1;
    int m_nTimerType = 1;
    int m_nPlayMode = 1;
    int m_nBrightness = 64;
    int m_nContrast = 64;
    int m_nChromaticity = 64;
    int m_nHue = 64;
    int m_nCapType = 0; // 0 BMP, otherwise JPEG
    QString m_strCapPath;

    QString m_strLastDir; // where the file chooser opens
    int m_nAddCount = 0;  // files of the running chooser batch that the library accepted
    QListWidgetItem* m_pMenuItem = nullptr;
    QSet<QString> m_setListed; // the paths in the list, unless stale
    bool m_bListedStale = true;

    int m_nLanguage = 2;  // 1 Chinese, 2 English
    QByteArray m_catalog; // what m_pTranslator reads from
    QString m_strReady;
    QString m_strPlaying;
    QString m_strPause;
    QString m_strStop;
    QString m_strPlaylist;
    QString m_strCapSuccess;
    QString m_strUnknownMedia;
    QString m_strMaxFileMsg;
    QString m_strConvertWarning;
    QString m_strConvertHandle;
    QString m_strMemory;
    QString m_strInit;
    QString m_strPara;
    QString m_strConvert;
    QString m_strTipFullScreen;
    QString m_strTipNormalSize;
    QString m_strTipDoubleSize;
    QString m_strTipTopDisplay;
    QString m_strTipPlaySettings;
    QString m_strTipAddFile;
    QString m_strTipDeleteFile;
    QString m_strTipClearFile;
    QString m_strTipSelectMode;
    QString m_strTipCloseList;
    QString m_strTipPlay;
    QString m_strTipStop;
    QString m_strTipStart;
    QString m_strTipSlow;
    QString m_strTipFast;
    QString m_strTipEnd;
    QString m_strTipLastFrame;
    QString m_strTipNextFrame;
    QString m_strTipBackPlay;
    QString m_strTipSound;
    QString m_strTipLanguage;
    QString m_strTipOpenFile;
    QString m_strTipPlaylist;
    QString m_strTipToolBox;

    // --- atomic: written on the GUI thread, also read and cleared by the library's threads
    std::atomic<bool> m_bConCap = false;
    std::atomic<bool> m_bEnding =
        false; // a stop or close is under way: a capture that it cuts short is no error
    std::atomic<int> m_nConCapType = 0;
    std::atomic<unsigned> m_nOpening = 1; // which opening of a file is current

    // --- guarded by m_endedLock, which is never held across a call
    QMutex m_endedLock;
    // The openings that the end-of-file messages on their way came from, oldest first: one that is still
    // queued when its file is stopped or closed must not act on the next.
    QList<unsigned> m_lstEnded;

    // --- guarded by m_conCapLock, which is never held across a call into the library
    mutable QMutex m_conCapLock;
    QString m_strConCapPath;
};

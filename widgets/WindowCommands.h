// What the skin widgets ask of the main window. The window implements it beside QDialog and is given to the
// widgets as their parent; a widget whose parent does not implement it has no main window and does nothing.
//
// All calls come on the GUI thread. Those that return bool answer whether the command was carried out.
#pragma once

class QDropEvent;
class QPoint;
class QWidget;

class CWindowCommands {
  public:
    virtual ~CWindowCommands() = default;

    // --- the control bar's buttons, each named after the window's slot
    virtual bool PlayOrPause() = 0;
    virtual bool Stop() = 0;
    virtual bool Start() = 0;
    virtual bool End() = 0;
    virtual bool Fast() = 0;
    virtual bool Slow() = 0;
    virtual bool NextFrame() = 0;
    virtual bool LastFrame() = 0;
    virtual bool Back() = 0;
    virtual bool Sound() = 0;
    virtual bool OpenFile() = 0;
    virtual bool ChangeLanguage() = 0;
    virtual bool ShowToolBoxMenu() = 0;
    virtual bool IsViewPlaylist() = 0;

    // --- the control bar's sliders, both in 0..65535
    // The user chose a new position: seek.
    virtual bool SetPlaySlider(int nValue) = 0;
    // The volume slider moved, by whatever hand: apply the volume.
    virtual bool SetVolumeSlider(int nValue) = 0;
    // The sound-on flag; false while muted.
    virtual bool GetSoundStatus() const = 0;

    // --- the title bar
    // Pops up the main menu at a global position.
    virtual bool ShowTopMenu(const QPoint& pos) = 0;
    // Stores whether the title bar has stretched the window over the screen's available area.
    virtual void SetMaxScreen(bool bMax) = 0;
    virtual bool Exit() = 0;

    // --- the video surface and its container
    // Toggles full screen; refused with nothing to show.
    virtual bool FullScreen() = 0;
    // The full-screen flag.
    virtual bool GetFullScreenStatus() const = 0;
    // Pops up the video's context menu at a global position.
    virtual bool showContextMenu(const QPoint& pos) = 0;
    virtual void HandleDrop(QDropEvent* pEvent) = 0;
    // The parts of the window that the container shows, hides and sizes; null before they exist.
    virtual QWidget* GetFloatDlg() const = 0;
    virtual QWidget* GetControlsBar() const = 0;
    virtual QWidget* GetSplitter() const = 0;
};

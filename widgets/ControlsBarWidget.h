// The control bar: the play-position slider over a row of fourteen buttons and the volume slider.
#pragma once

#include <QWidget>

class CPlaySlider;
class CSkinButton;
class CSoundSlider;
class CWindowCommands;
class QHBoxLayout;
class QVBoxLayout;

class CControlsBarWidget : public QWidget {
    Q_OBJECT

  public:
    // The parent is the main window. When building fails the bar stays partly built.
    explicit CControlsBarWidget(QWidget* pParent);
    ~CControlsBarWidget() override;

    // Everything below in order, stopping at the first failure, then the buttons' connections.
    bool CreateAllCtrls();

    // Public for the window, which swaps images, sets tool tips, moves the sliders and hides some of the
    // buttons.
    CSkinButton* m_pPlayBtn = nullptr;
    CSkinButton* m_pStopBtn = nullptr;
    CSkinButton* m_pStartBtn = nullptr;
    CSkinButton* m_pEndBtn = nullptr;
    CSkinButton* m_pFastBtn = nullptr;
    CSkinButton* m_pSlowBtn = nullptr;
    CSkinButton* m_pNextFrameBtn = nullptr;
    CSkinButton* m_pLastFrameBtn = nullptr;
    CSkinButton* m_pBackBtn = nullptr;
    CSkinButton* m_pSoundBtn = nullptr;
    CSkinButton* m_pOpenFileBtn = nullptr;
    CSkinButton* m_pLanguageBtn = nullptr;
    CSkinButton* m_pToolBoxBtn = nullptr;
    CSkinButton* m_pPlaylistBtn = nullptr;
    CPlaySlider* m_pPlaySlider = nullptr;
    CSoundSlider* m_pSoundSlider = nullptr;

  public slots:
    // Each forwards to the main window and does nothing without one.
    void SetPlaySlider(int nValue);
    void SetVolumeSlider(int nValue);
    bool GetSoundStatus();
    void Sound();

  protected:
    void paintEvent(QPaintEvent* pEvent) override;
    void mouseMoveEvent(QMouseEvent* pEvent) override;

  private:
    bool CreateButtons();
    bool CreateSoundSlider();
    bool CreateButtonsHLayout();
    bool CreatePlaySlider();
    bool CreateControlLayout();
    void ConnectButtons();
    void ConnectButton(CSkinButton* pButton, bool (CWindowCommands::*pCommand)());

    QHBoxLayout* m_pSliderLayout = nullptr;
    QVBoxLayout* m_pLayout = nullptr;
    QHBoxLayout* m_pButtonsLayout = nullptr;
    CWindowCommands* m_pMainDlg = nullptr;
};

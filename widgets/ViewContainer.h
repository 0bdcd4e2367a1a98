// The pane that holds the video surface, and the surface's way to the main window.
#pragma once

#include <QRect>
#include <QWidget>

class CWindowCommands;

class CViewContainer : public QWidget {
    Q_OBJECT

  public:
    // The parent is the main window.
    explicit CViewContainer(QWidget* pParent);

    // Stretches the splitter and the container over the primary screen, remembering where the container was.
    void ShowFullScreen();
    // Puts both back to the remembered rectangle.
    void ShowNormal();
    // The main window's full-screen flag; false without a main window.
    bool GetFullScreenStatus();

    void ShowFloatDlg();
    void HideFloatDlg();
    void ShowCtrlsFloatDlg();
    void HideCtrlsFloatDlg();

    void showContextMenu(QPoint pos);
    void FullScreen();
    void HandleDrop(QDropEvent* pEvent);

  private:
    CWindowCommands* m_pMainDlg = nullptr;
    QRect m_rcNormal;
};

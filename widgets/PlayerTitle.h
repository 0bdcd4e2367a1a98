// The title bar of the frameless main window: logo, name of the playing file, menu, minimise, maximise and
// close. It moves the window by dragging and stretches it over the screen by a double-click.
#pragma once

#include <QPoint>
#include <QRect>
#include <QString>
#include <QWidget>

class CSkinButton;
class CWindowCommands;

class CPlayerTitle : public QWidget {
    Q_OBJECT

  public:
    // The parent is the main window. When building fails the bar stays partly built.
    explicit CPlayerTitle(QWidget* pParent);

    // Buttons, sizes and layout; false, with nothing left behind, when an allocation fails.
    bool CreateTitleBar();
    // The buttons' images; false when a button is missing.
    bool SetBitMaps();
    // The text in the middle of the bar; repaints at once.
    bool SetShowFilePath(QString strPath);
    QString GetShowFilePath() const { return m_strFilePath; }

    // Public for the window's connections and tool tips; null when building failed.
    CSkinButton* m_pMaxBtn = nullptr;
    CSkinButton* m_pMinBtn = nullptr;
    CSkinButton* m_pMenuBtn = nullptr;
    CSkinButton* m_pCloseBtn = nullptr;

  public slots:
    // True while one of the buttons is held: the bar then ignores drags.
    void SetTitleButtonStatus(bool bIsPressed);
    // Pops up the main menu at the mouse.
    bool OnClickToolButton();
    // Stretches the window over the screen's available area, or puts it back exactly.
    bool ShowMaxScreen();
    bool CloseWindow();

  protected:
    void changeEvent(QEvent* pEvent) override;
    void mousePressEvent(QMouseEvent* pEvent) override;
    void mouseMoveEvent(QMouseEvent* pEvent) override;
    void mouseDoubleClickEvent(QMouseEvent* pEvent) override;
    void paintEvent(QPaintEvent* pEvent) override;

  private:
    // Tool tips and accessible names, in the current language.
    void NameButtons();
    void DrawFilePath(QPainter& painter);

    QWidget* m_pMainWnd = nullptr; // the parent as a widget, when it is a main window
    CWindowCommands* m_pMainDlg = nullptr;
    QRect m_rcSaved; // the window's geometry before it was stretched
    QPoint m_ptDrag; // the mouse relative to the window's top left corner at the press
    bool m_bTitleButtonPressed = false;
    bool m_bDoubleClick = false; // since the second press of one until the next press
    QString m_strFilePath;
    int m_nMargin = 137; // pixels kept free left and right of the file path
    bool m_bMax = false;
};

// The video surface. The playback library draws into its native window; while it does, Qt paints nothing
// here. With nothing to show it paints the idle picture itself. It follows the mouse to show and hide what
// floats over the video.
#pragma once

#include <QRect>
#include <QWidget>

class CViewContainer;

class CViewWidget : public QWidget {
    Q_OBJECT

  public:
    // The parent must be a CViewContainer; without one the mouse does nothing.
    explicit CViewWidget(QWidget* pParent);

    // What the surface shows: the idle picture with the logo, the blank idle ground, or, with `bFreeze`,
    // whatever the library draws. Repaints at once.
    void SetStatus(bool bShowLogo, bool bShowBlank, bool bFreeze);

    // Null while the library draws, so that Qt never paints over it.
    QPaintEngine* paintEngine() const override;

    // Watches the container for the pointer leaving it.
    bool eventFilter(QObject* pObject, QEvent* pEvent) override;

  protected:
    void paintEvent(QPaintEvent* pEvent) override;
    void mousePressEvent(QMouseEvent* pEvent) override;
    void mouseMoveEvent(QMouseEvent* pEvent) override;
    void mouseDoubleClickEvent(QMouseEvent* pEvent) override;
    void dragEnterEvent(QDragEnterEvent* pEvent) override;
    void dropEvent(QDropEvent* pEvent) override;

  private:
    void TrackControlsBar(const QPoint& pos);
    void TrackFloatDlg(const QPoint& pos);
    void SetFloatShown(bool bShown);

    CViewContainer* m_pContainer = nullptr;
    QRect m_rcScreen; // the primary screen, taken once
    bool m_bShowLogo = true;
    bool m_bShowBlank = false;
    bool m_bFrozen = false;
    bool m_bCtrlsShown = false; // the control bar was shown by hovering in full screen
    bool m_bFloatShown = false; // the floating panel was shown by hovering
};

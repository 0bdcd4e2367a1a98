#include "widgets/VideoWidget.h"

#include "widgets/SkinPainter.h"
#include "widgets/ViewContainer.h"

#include <QCursor>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QGuiApplication>
#include <QMimeData>
#include <QMouseEvent>
#include <QPainter>
#include <QScreen>
#include <QTimer>

#include <algorithm>

namespace {
constexpr int g_nCtrlsBand = 64;   // rows at the bottom of the screen that show the control bar
constexpr int g_nFloatBand = 21;   // rows at the top that show the floating panel
constexpr int g_nEnterDelay = 100; // milliseconds, in which the news of an entering follows that of a leaving
constexpr int g_nLogoWidth = 400;
constexpr int g_nLogoHeight = 228;
} // namespace

CViewWidget::CViewWidget(QWidget* pParent)
    : QWidget(pParent), m_pContainer(qobject_cast<CViewContainer*>(pParent)),
      m_rcScreen(QGuiApplication::primaryScreen()->geometry()) {
    // A native leaf: the library gets a window of its own, and the widgets above it stay without one.
    setAttribute(Qt::WA_DontCreateNativeAncestors);
    setAttribute(Qt::WA_NativeWindow);
    // Every pixel is painted here or by the library; a background painted before would only flicker.
    setAttribute(Qt::WA_OpaquePaintEvent);
    setAttribute(Qt::WA_NoSystemBackground);
    setAcceptDrops(true);
    setCursor(Qt::ArrowCursor);
    setMouseTracking(true);
    if (m_pContainer) m_pContainer->installEventFilter(this);
}

void CViewWidget::SetStatus(bool bShowLogo, bool bShowBlank, bool bFreeze) {
    m_bShowLogo = bShowLogo;
    m_bShowBlank = bShowBlank;
    m_bFrozen = bFreeze;
    // Painting on screen takes the surface out of the window's backing store, so that not even the repainting
    // of a parent puts stale pixels over the picture.
    setAttribute(Qt::WA_PaintOnScreen, bFreeze);
    setUpdatesEnabled(!bFreeze);
    repaint();
}

QPaintEngine* CViewWidget::paintEngine() const {
    return m_bFrozen ? nullptr : QWidget::paintEngine();
}

void CViewWidget::paintEvent(QPaintEvent* pEvent) {
    if (!m_bFrozen && (m_bShowLogo || m_bShowBlank)) {
        QPainter painter(this);
        DrawSkinImage(painter, rect(), ":/Resources/bitmap121.bmp");
        if (m_bShowLogo) {
            const QRect rcLogo(width() / 2 - g_nLogoWidth / 2, height() / 2 - g_nLogoHeight / 2, g_nLogoWidth,
                               g_nLogoHeight);
            DrawSkinImage(painter, rcLogo, ":/Resources/background.bmp");
        }
    }
    QWidget::paintEvent(pEvent);
}

void CViewWidget::mousePressEvent(QMouseEvent* pEvent) {
    if (pEvent->button() != Qt::RightButton || !m_pContainer) return;
    m_pContainer->showContextMenu(pEvent->globalPosition().toPoint());
}

void CViewWidget::mouseMoveEvent(QMouseEvent* pEvent) {
    if (m_pContainer) {
        const QPoint pos = pEvent->position().toPoint();
        if (m_pContainer->GetFullScreenStatus()) TrackControlsBar(pos);
        TrackFloatDlg(pos);
    }
    QWidget::mouseMoveEvent(pEvent);
}

void CViewWidget::TrackControlsBar(const QPoint& pos) {
    // A window that was not made as large as the screen ends above the screen's band. The surface itself does
    // too while the control bar is shown, which takes its rows from it.
    const int nBottom = std::min(m_rcScreen.height(), window()->height());
    const QRect rcBand(0, nBottom - g_nCtrlsBand, m_rcScreen.width(), g_nCtrlsBand);
    const bool bInside = rcBand.contains(pos);
    if (bInside == m_bCtrlsShown) return;
    m_bCtrlsShown = bInside;
    if (bInside) {
        m_pContainer->ShowCtrlsFloatDlg();
    } else {
        m_pContainer->HideCtrlsFloatDlg();
    }
}

void CViewWidget::TrackFloatDlg(const QPoint& pos) {
    // In normal display the band starts at the surface's place in its parent, while the mouse is measured in
    // the surface: the same as long as the surface fills its parent from the top left corner.
    const QRect rcBand = m_pContainer->GetFullScreenStatus() ? QRect(0, 0, m_rcScreen.width(), g_nFloatBand)
                                                             : QRect(x(), y(), width(), g_nFloatBand);
    SetFloatShown(rcBand.contains(pos));
}

void CViewWidget::SetFloatShown(bool bShown) {
    if (bShown == m_bFloatShown) return;
    m_bFloatShown = bShown;
    if (bShown) {
        m_pContainer->ShowFloatDlg();
    } else {
        m_pContainer->HideFloatDlg();
    }
}

// The panel lies over the band and keeps the surface from seeing the pointer go out over the top edge. As
// both are windows of their own, the container may also be told that the pointer left when it went from one
// to the other; and where the pointer is, it knows only once a window manager has answered a wish for another
// place or size.
bool CViewWidget::eventFilter(QObject* pObject, QEvent* pEvent) {
    if (pObject == m_pContainer && pEvent->type() == QEvent::Leave) {
        if (m_pContainer->rect().contains(m_pContainer->mapFromGlobal(QCursor::pos()))) {
            QTimer::singleShot(g_nEnterDelay, this, [this] {
                if (!m_pContainer->underMouse()) SetFloatShown(false);
            });
        } else {
            SetFloatShown(false);
        }
    }
    return QWidget::eventFilter(pObject, pEvent);
}

void CViewWidget::mouseDoubleClickEvent(QMouseEvent* pEvent) {
    // The toolkit counts a press that follows another soon as this, whichever the button.
    if (pEvent->button() != Qt::LeftButton) return mousePressEvent(pEvent);
    if (m_pContainer) m_pContainer->FullScreen();
}

void CViewWidget::dragEnterEvent(QDragEnterEvent* pEvent) {
    if (pEvent->mimeData()->hasUrls()) {
        pEvent->acceptProposedAction();
    } else {
        pEvent->ignore();
    }
}

void CViewWidget::dropEvent(QDropEvent* pEvent) {
    if (m_pContainer) m_pContainer->HandleDrop(pEvent);
}

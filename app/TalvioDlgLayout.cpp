// The main window's widget tree, skin, painting, sizes, edge resizing and top modes.
#include "app/NativeWindow.h"
#include "app/SkinImages.h"
#include "app/TalvioDlg.h"
#include "engine/Operate.h"
#include "playlist/ListBox.h"
#include "playlist/ListTitleBarWidget.h"
#include "widgets/ControlsBarWidget.h"
#include "widgets/FloatDlg.h"
#include "widgets/PlayerTitle.h"
#include "widgets/PlayStatusWidget.h"
#include "widgets/SkinButton.h"
#include "widgets/SkinPainter.h"
#include "widgets/StaticTitle.h"
#include "widgets/VideoWidget.h"
#include "widgets/ViewContainer.h"

#include <QAction>
#include <QBoxLayout>
#include <QGridLayout>
#include <QGuiApplication>
#include <QImage>
#include <QMouseEvent>
#include <QMoveEvent>
#include <QPainter>
#include <QResizeEvent>
#include <QScreen>
#include <QSplitter>
#include <QWindow>

#include <algorithm>
#include <cstdlib>
#include <new>

namespace {

constexpr QSize kMinimumSize(530, 355);
constexpr QSize kIdleSize(750, 480);
// The idle window is centred as if it had this size.
constexpr QSize kIdleCentring(800, 500);
constexpr int kBorder = 4; // pixels of frame left, right and at the bottom
constexpr int kTitleHeight = 31;
constexpr int kEdge = 5; // pixels within which an edge can be grabbed
constexpr int kPlaylistWidth = 180;
constexpr int kPlaylistMinimum = 150;
constexpr int kGeometryCheck = 100; // milliseconds: many times what a window manager takes to answer

QRect AvailableGeometry() {
    const QScreen* pScreen = QGuiApplication::primaryScreen();
    return pScreen != nullptr ? pScreen->availableGeometry() : QRect(QPoint(0, 0), kIdleSize);
}

} // namespace

bool CTalvioDlg::CreateViewWidgets() {
    if ((m_pFloatDlg = new (std::nothrow) CFloatDlg(nullptr)) == nullptr) return false;
    if ((m_pViewContainer = new (std::nothrow) CViewContainer(this)) == nullptr) return false;
    if ((m_pViewWidget = new (std::nothrow) CViewWidget(m_pViewContainer)) == nullptr) return false;
    if ((m_pStatusWidget = new (std::nothrow) CPlayStatusWidget(m_pViewContainer)) == nullptr) return false;
    if ((m_pListLayout = new (std::nothrow) QVBoxLayout) == nullptr) return false;
    if ((m_pListPanel = new (std::nothrow) QWidget(this)) == nullptr) return false;
    if ((m_pListBox = new (std::nothrow) CListBox(this)) == nullptr) return false;
    if ((m_pListTitleBar = new (std::nothrow) CListTitleBar(this)) == nullptr) return false;
    if ((m_pViewLayout = new (std::nothrow) QGridLayout) == nullptr) return false;
    if ((m_pFloatLayout = new (std::nothrow) QVBoxLayout) == nullptr) return false;
    if ((m_pSplitter = new (std::nothrow) QSplitter(Qt::Horizontal)) == nullptr) return false;
    return (m_pCentreLayout = new (std::nothrow) QHBoxLayout) != nullptr;
}

bool CTalvioDlg::CreateViewLayout() {
    if (!CreateViewWidgets()) return false;
    m_pViewWidget->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
    LayOutPlaylist();
    LayOutView();
    LayOutCentre();
    return true;
}

void CTalvioDlg::LayOutPlaylist() {
    m_pListBox->setMinimumWidth(kPlaylistMinimum);
    m_pListBox->setCursor(Qt::ArrowCursor);
    // Measuring every entry again for each one added would take seconds with thousands of them.
    m_pListBox->setUniformItemSizes(true);
    m_pListLayout->setContentsMargins(0, 0, 0, 0);
    m_pListLayout->setSpacing(0);
    m_pListLayout->addWidget(m_pListBox);
    m_pListLayout->addWidget(m_pListTitleBar);
    m_pListPanel->setLayout(m_pListLayout);

    const auto markStale = [this] { m_bListedStale = true; };
    const QAbstractItemModel* pModel = m_pListBox->model();
    connect(pModel, &QAbstractItemModel::rowsInserted, this, markStale);
    connect(pModel, &QAbstractItemModel::rowsRemoved, this, markStale);
    connect(pModel, &QAbstractItemModel::modelReset, this, markStale);
    connect(pModel, &QAbstractItemModel::dataChanged, this, markStale);
}

// The video fills all four rows of the grid; the floating panel and the status strip lie in the same cells,
// over its top and its bottom edge.
void CTalvioDlg::LayOutView() {
    m_pFloatDlg->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
    m_pFloatLayout->setContentsMargins(0, 0, 0, 0);
    m_pFloatLayout->setSpacing(0);
    m_pFloatLayout->addWidget(m_pFloatDlg);
    m_pFloatLayout->addStretch();

    m_pViewLayout->setContentsMargins(0, 0, 0, 0);
    m_pViewLayout->setSpacing(0);
    m_pViewLayout->addLayout(m_pFloatLayout, 0, 0, 1, 4);
    m_pViewLayout->addWidget(m_pViewWidget, 0, 0, 4, 4);
    m_pViewLayout->addWidget(m_pStatusWidget, 3, 0, 1, 4, Qt::AlignBottom);
    m_pViewContainer->setLayout(m_pViewLayout);
}

void CTalvioDlg::LayOutCentre() {
    m_pSplitter->addWidget(m_pViewContainer);
    m_pSplitter->addWidget(m_pListPanel);
    m_pSplitter->setChildrenCollapsible(false);
    m_pSplitter->setHandleWidth(1);
    m_pSplitter->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
    m_pSplitter->setStretchFactor(m_pSplitter->indexOf(m_pListPanel), 0);
    m_pSplitter->setStretchFactor(m_pSplitter->indexOf(m_pViewContainer), 1);
    m_pSplitter->setSizes({-1, kPlaylistWidth});

    m_pCentreLayout->setContentsMargins(kBorder, 0, kBorder, 0);
    m_pCentreLayout->setSpacing(0);
    m_pCentreLayout->addWidget(m_pSplitter);
}

void CTalvioDlg::LayOutWindow() {
    m_pControlsLayout->setContentsMargins(kBorder, 0, kBorder, 0);
    m_pControlsLayout->setSpacing(0);
    m_pControlsLayout->addWidget(m_pControlsBar);

    m_pTitleBar->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
    m_pMainLayout->setContentsMargins(0, 0, 0, kBorder);
    m_pMainLayout->setSpacing(1);
    m_pMainLayout->addWidget(m_pTitleBar);
    if (m_pCentreLayout != nullptr) m_pMainLayout->addLayout(m_pCentreLayout);
    m_pMainLayout->addLayout(m_pControlsLayout);
    setLayout(m_pMainLayout);
}

void CTalvioDlg::SetControlsBarBitMaps() {
    const CControlsBarWidget& bar = *m_pControlsBar;
    SetThreeStateImages(bar.m_pPlayBtn, QStringLiteral("play"));
    SetThreeStateImages(bar.m_pPlaylistBtn, QStringLiteral("openplaylist"));
    SetThreeStateImages(bar.m_pStopBtn, QStringLiteral("stop"));
    SetThreeStateImages(bar.m_pStartBtn, QStringLiteral("ToFront"));
    SetThreeStateImages(bar.m_pSlowBtn, QStringLiteral("SlowlyForward"));
    SetThreeStateImages(bar.m_pFastBtn, QStringLiteral("FastForward"));
    SetThreeStateImages(bar.m_pEndBtn, QStringLiteral("tolast"));
    SetThreeStateImages(bar.m_pLastFrameBtn, QStringLiteral("FrameBack"));
    SetThreeStateImages(bar.m_pNextFrameBtn, QStringLiteral("NextFrame"));
    SetOneImage(bar.m_pBackBtn, QStringLiteral("back"));
    SetThreeStateImages(bar.m_pSoundBtn, QStringLiteral("volumeon"));
    SetThreeStateImages(bar.m_pOpenFileBtn, QStringLiteral("openfile"));
    SetOneImage(bar.m_pLanguageBtn, QStringLiteral("en"));
    SetThreeStateImages(bar.m_pToolBoxBtn, QStringLiteral("tool"));
}

void CTalvioDlg::SetListTitleBarBitMaps() {
    const CListTitleBar& bar = *m_pListTitleBar;
    if (bar.m_pTitle != nullptr) {
        bar.m_pTitle->SetStaticTextBitMap(SkinImagePath(QStringLiteral("frame-toolbar")));
    }
    SetThreeStateImages(bar.m_pCloseBtn, QStringLiteral("playlist-close"));
    SetThreeStateImages(bar.m_pAddBtn, QStringLiteral("add"));
    SetThreeStateImages(bar.m_pDeleteBtn, QStringLiteral("delete"));
    SetThreeStateImages(bar.m_pModeBtn, QStringLiteral("playorder"));
    SetThreeStateImages(bar.m_pClearBtn, QStringLiteral("clear"));
}

bool CTalvioDlg::SetBitMaps() {
    if (m_pControlsBar == nullptr || m_pListTitleBar == nullptr || m_pStatusWidget == nullptr) return false;
    SetControlsBarBitMaps();
    SetListTitleBarBitMaps();
    if (m_pStatusWidget->m_pLeftText == nullptr || m_pStatusWidget->m_pRightText == nullptr) return false;
    const QString strGround = SkinImagePath(QStringLiteral("status-bar"));
    m_pStatusWidget->m_pLeftText->SetStaticTextBitMap(strGround);
    m_pStatusWidget->m_pRightText->SetStaticTextBitMap(strGround);
    return true;
}

void CTalvioDlg::showEvent(QShowEvent* pEvent) {
    const auto colourOf = [](const char* pName) {
        const QImage image(SkinImagePath(QLatin1String(pName)));
        return image.isNull() ? QColor() : image.pixelColor(0, 0);
    };
    SetGround(this, colourOf("bitmap12"));
    if (m_pViewWidget != nullptr) SetGround(m_pViewWidget, colourOf("bitmap121"));
    QDialog::showEvent(pEvent);
}

void CTalvioDlg::resizeEvent(QResizeEvent* pEvent) {
    QDialog::resizeEvent(pEvent);
    if (!pEvent->spontaneous()) m_geometryTimer.start(kGeometryCheck);
}

void CTalvioDlg::moveEvent(QMoveEvent* pEvent) {
    QDialog::moveEvent(pEvent);
    if (!pEvent->spontaneous()) m_geometryTimer.start(kGeometryCheck);
}

// The toolkit takes a geometry that was asked for as granted, and is not put right when a window manager
// leaves the window as it was. Its native window knows.
void CTalvioDlg::CheckGeometry() {
    if (windowHandle() == nullptr || !isVisible()) return;
    constexpr int kRounding = 2; // pixels, between the screen's and those at 100 %
    const QRect rcWished = geometry();
    const QRect rcReal = windowHandle()->geometry();
    const bool bGranted = std::abs(rcWished.left() - rcReal.left()) <= kRounding &&
                          std::abs(rcWished.top() - rcReal.top()) <= kRounding &&
                          std::abs(rcWished.right() - rcReal.right()) <= kRounding &&
                          std::abs(rcWished.bottom() - rcReal.bottom()) <= kRounding;
    if (!bGranted) setGeometry(rcReal);
}

void CTalvioDlg::paintEvent(QPaintEvent* pEvent) {
    if (m_bFullScreen) return;
    QDialog::paintEvent(pEvent);
    QPainter painter(this);
    const QString strSide = SkinImagePath(QStringLiteral("toolbar"));
    const int nTitleHeight = m_pTitleBar != nullptr ? m_pTitleBar->height() : kTitleHeight;
    DrawSkinImage(painter, rect(), SkinImagePath(QStringLiteral("bitmap12")));
    DrawSkinImage(painter, QRect(0, kTitleHeight, kBorder, height() - kTitleHeight), strSide);
    DrawSkinImage(painter, QRect(width() - kBorder, kTitleHeight, kBorder, height() - nTitleHeight), strSide);
    DrawSkinImage(painter, QRect(kBorder, height() - kBorder, width() - 2 * kBorder, kBorder),
                  SkinImagePath(QStringLiteral("frame-toolbar")));
}

void CTalvioDlg::InitMainWinSize() {
    if (m_pOperate == nullptr || m_bFullScreen) return;
    const QSize available = AvailableGeometry().size();
    if (m_pOperate->GetCurrentState() == COperate::kNoFile) {
        setMinimumSize(kMinimumSize.boundedTo(available));
        resize(kIdleSize);
        move((available.width() - kIdleCentring.width()) / 2,
             (available.height() - kIdleCentring.height()) / 2);
        FitOnScreen();
        return;
    }
    // A film opened in the maximised window leaves the size alone; but the first one says what "Normal Size"
    // is.
    if ((m_bMaxScreen && !m_rcNormal.isNull()) || m_pListBox == nullptr || m_pTitleBar == nullptr) return;

    m_pOperate->GetImageSize();
    const int nWidth = static_cast<int>(m_pOperate->GetImageWidth());
    int nHeight = static_cast<int>(m_pOperate->GetImageHeight());
    // Field-coded pictures are shown at frame height.
    if (nWidth == 704 && (nHeight == 288 || nHeight == 240)) nHeight *= 2;

    const int nList = m_pListBox->width();
    const int nTitle = m_pTitleBar->height();
    QSize size = kMinimumSize.boundedTo(available);
    if (nHeight > 265 - nTitle || nWidth > 521 - nList) {
        size = QSize(nList + nWidth + 9, nTitle + nHeight + 90).boundedTo(available);
    }
    if (!m_bMaxScreen) resize(size);
    m_rcNormal =
        QRect(QPoint((available.width() - size.width()) / 2, (available.height() - size.height()) / 2), size);
}

// On a screen that cannot hold the start size the centring would put the title bar out of reach.
void CTalvioDlg::FitOnScreen() {
    const QRect rcAvailable = AvailableGeometry();
    if (rcAvailable.width() >= kIdleSize.width() && rcAvailable.height() >= kIdleSize.height()) return;
    setGeometry(QRect(rcAvailable.topLeft(), kIdleSize.boundedTo(rcAvailable.size())));
}

void CTalvioDlg::ChangeDlgSize(int nMode) {
    if (m_pOperate == nullptr || m_bMaxScreen) return;
    const int nState = m_pOperate->GetCurrentState();
    if (nState != COperate::kPlaying && nState != COperate::kPaused) return;
    if (nMode == m_nZoomMode) return;

    if (nMode == 1) {
        setGeometry(m_rcNormal);
        m_nZoomMode = 1;
    } else if (nMode == 2) {
        const QRect rcAvailable = AvailableGeometry();
        const QRect rcDouble(std::max(0, m_rcNormal.left() - m_rcNormal.width() / 2),
                             std::max(0, m_rcNormal.top() - m_rcNormal.height() / 2), m_rcNormal.width() * 2,
                             m_rcNormal.height() * 2);
        // Only the widths are compared.
        setGeometry(rcDouble.width() < rcAvailable.width() ? rcDouble : rcAvailable);
        m_nZoomMode = 2;
    }
}

bool CTalvioDlg::OnClickOneZoomButton() {
    if (m_bFullScreen) return false;
    ChangeDlgSize(1);
    return true;
}

bool CTalvioDlg::OnClickTwoZoomButton() {
    if (m_bFullScreen) return false;
    ChangeDlgSize(2);
    return true;
}

void CTalvioDlg::UpdateEdges(const QPoint& pos) {
    m_bLeftEdge = std::abs(pos.x()) < kEdge;
    m_bRightEdge = std::abs(pos.x() - (width() - 1)) < kEdge;
    m_bBottomEdge = std::abs(pos.y() - (height() - 1)) < kEdge;
}

void CTalvioDlg::UpdateEdgeCursor() {
    if (m_bRightEdge) {
        setCursor(m_bBottomEdge ? Qt::SizeFDiagCursor : Qt::SizeHorCursor);
    } else if (m_bBottomEdge && !m_bLeftEdge) {
        setCursor(Qt::SizeVerCursor);
    } else {
        setCursor(Qt::ArrowCursor);
    }
}

// The left edge does not move the window's left side: it only keeps the remembered x where it is.
void CTalvioDlg::ResizeByEdge(const QPoint& pos) {
    QRect rc = geometry();
    if (m_bRightEdge) rc.setRight(rc.right() + pos.x() - m_ptPress.x());
    if (m_bBottomEdge) rc.setBottom(rc.bottom() + pos.y() - m_ptPress.y());
    if (rc.right() - rc.left() < kMinimumSize.width() && rc.bottom() - rc.top() < kMinimumSize.height())
        return;
    setGeometry(rc);
    m_ptPress.setY(pos.y());
    if (!m_bLeftEdge) m_ptPress.setX(pos.x());
}

void CTalvioDlg::mousePressEvent(QMouseEvent* pEvent) {
    if (m_bFullScreen) return;
    m_ptPress = pEvent->position().toPoint();
    UpdateEdges(m_ptPress);
    if (m_bLeftEdge || m_bRightEdge || m_bBottomEdge) m_bResizing = pEvent->button() == Qt::LeftButton;
}

void CTalvioDlg::mouseMoveEvent(QMouseEvent* pEvent) {
    if (m_bFullScreen || m_bMaxScreen) return;
    const QPoint pos = pEvent->position().toPoint();
    if (m_bResizing) {
        ResizeByEdge(pos);
    } else {
        UpdateEdges(pos);
        UpdateEdgeCursor();
    }
}

void CTalvioDlg::mouseReleaseEvent(QMouseEvent* pEvent) {
    if (m_bFullScreen) return;
    m_bResizing = false;
    QDialog::mouseReleaseEvent(pEvent);
}

// The toolkit's own way hides the window, which destroys its native window and the video surface in it, while
// the library goes on drawing into the former one. A visible window is changed where it is.
void CTalvioDlg::SetWindowFlags(Qt::WindowFlags flags) {
    if (windowFlags() == flags) return;
    if (windowHandle() == nullptr || !isVisible()) {
        setWindowFlags(flags);
        return;
    }
    overrideWindowFlags(flags);
    windowHandle()->setFlags(flags);
    KeepAbove(windowHandle(), flags.testFlag(Qt::WindowStaysOnTopHint));
}

void CTalvioDlg::TopDisplay(int nMode) {
    bool bTop = nMode == 2;
    if (nMode == 1) {
        if (m_pOperate == nullptr) return;
        m_nTopState = m_pOperate->GetCurrentState();
        bTop = m_nTopState == COperate::kPlaying;
    }
    if (nMode >= 0 && nMode <= 2) {
        const Qt::WindowFlags flags = bTop ? Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint
                                           : Qt::WindowFlags(Qt::FramelessWindowHint);
        SetWindowFlags(flags | Qt::Window);
    }
    show();
}

// On top only while playing: decided anew when the play state has changed. In full screen that waits until it
// is left.
void CTalvioDlg::FollowTopMode() {
    if (m_nTopMode != 1 || m_bFullScreen || m_pOperate == nullptr) return;
    if (m_pOperate->GetCurrentState() != m_nTopState) TopDisplay(1);
}

bool CTalvioDlg::SwithTopDisplay(QAction* pAction) {
    if (pAction == nullptr || m_bFullScreen || m_pViewLayout == nullptr) return false;
    if (pAction == m_pActAlways) m_nTopMode = 2;
    if (pAction == m_pActOnlyPlaying) m_nTopMode = 1;
    if (pAction == m_pActNever) m_nTopMode = 0;
    TopDisplay(m_nTopMode);
    return true;
}

bool CTalvioDlg::OnClickTopDiaPlayButton() {
    if (m_bFullScreen || m_pViewLayout == nullptr) return false;
    m_nTopMode = m_nTopMode != 0 ? 0 : 2;
    QAction* pAction = m_nTopMode == 0 ? m_pActNever : m_pActAlways;
    if (pAction != nullptr) pAction->setChecked(true);
    TopDisplay(m_nTopMode);
    return true;
}

#include "widgets/PlayerTitle.h"

#include "widgets/SkinButton.h"
#include "widgets/SkinPainter.h"
#include "widgets/WindowCommands.h"

#include <QCursor>
#include <QEvent>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QMouseEvent>
#include <QPainter>
#include <QPen>
#include <QScreen>

#include <new>

namespace {
constexpr int g_nBarHeight = 31;
constexpr int g_nEdgeWidth = 4; // of the bar's left and right end pieces
constexpr int g_nLogoWidth = 95;
constexpr int g_nLogoHeight = 30;
constexpr int g_nPenWidth = 12; // also the estimate of a character's width

void SetThreeState(CSkinButton* pButton, const QString& strBase, const QString& strEnd = QString()) {
    const QString strPrefix = QStringLiteral(":/Resources/") + strBase;
    pButton->SetBitMap(strPrefix + strEnd + ".bmp", strPrefix + "-hover" + strEnd + ".bmp",
                       strPrefix + "-sel" + strEnd + ".bmp");
}
} // namespace

CPlayerTitle::CPlayerTitle(QWidget* pParent)
    : QWidget(pParent), m_pMainDlg(dynamic_cast<CWindowCommands*>(pParent)) {
    if (m_pMainDlg) m_pMainWnd = pParent;
    if (!CreateTitleBar()) return;
    SetBitMaps();
    setCursor(Qt::ArrowCursor);

    connect(m_pMenuBtn, &QAbstractButton::clicked, this, &CPlayerTitle::OnClickToolButton);
    connect(m_pMaxBtn, &QAbstractButton::clicked, this, &CPlayerTitle::ShowMaxScreen);
    if (m_pMainWnd) connect(m_pMinBtn, &QAbstractButton::clicked, m_pMainWnd, &QWidget::showMinimized);
    for (CSkinButton* pButton : {m_pMenuBtn, m_pMaxBtn, m_pMinBtn, m_pCloseBtn}) {
        connect(pButton, &CSkinButton::SetTitleButtonStatus, this, &CPlayerTitle::SetTitleButtonStatus);
    }
}

bool CPlayerTitle::CreateTitleBar() {
    setFixedHeight(g_nBarHeight);
    CSkinButton** const apButtons[] = {&m_pMaxBtn, &m_pMinBtn, &m_pMenuBtn, &m_pCloseBtn};
    bool bAll = true;
    for (CSkinButton** ppButton : apButtons) {
        *ppButton = new (std::nothrow) CSkinButton(this);
        bAll = bAll && *ppButton;
    }
    auto* pLayout = bAll ? new (std::nothrow) QHBoxLayout : nullptr;
    if (!pLayout) {
        for (CSkinButton** ppButton : apButtons) {
            delete *ppButton;
            *ppButton = nullptr;
        }
        return false;
    }

    for (CSkinButton** ppButton : apButtons) {
        (*ppButton)->setFixedSize(19, 18);
    }
    NameButtons();

    pLayout->setContentsMargins(0, 0, 0, 0);
    pLayout->addSpacing(4);
    pLayout->addStretch();
    pLayout->addWidget(m_pMenuBtn);
    pLayout->addSpacing(21);
    pLayout->addWidget(m_pMinBtn);
    pLayout->addWidget(m_pMaxBtn);
    pLayout->addWidget(m_pCloseBtn);
    pLayout->addSpacing(4);
    setLayout(pLayout);
    return true;
}

void CPlayerTitle::NameButtons() {
    if (!m_pMenuBtn || !m_pMaxBtn || !m_pCloseBtn || !m_pMinBtn) return;
    m_pMenuBtn->SetToolTipText(tr("Menu"));
    m_pMinBtn->SetToolTipText(tr("Minimize"));
    m_pMaxBtn->SetToolTipText(m_bMax ? tr("Restore") : tr("Maximize"));
    m_pCloseBtn->SetToolTipText(tr("Close"));
}

bool CPlayerTitle::SetBitMaps() {
    if (!m_pMenuBtn || !m_pMaxBtn || !m_pCloseBtn || !m_pMinBtn) return false;
    for (CSkinButton* pButton : {m_pMenuBtn, m_pMaxBtn, m_pCloseBtn, m_pMinBtn}) {
        pButton->SetTitleButton(true);
    }
    SetThreeState(m_pMenuBtn, "menu");
    SetThreeState(m_pMaxBtn, "max");
    SetThreeState(m_pCloseBtn, "close");
    SetThreeState(m_pMinBtn, "min");
    return true;
}

bool CPlayerTitle::SetShowFilePath(QString strPath) {
    m_strFilePath = std::move(strPath);
    repaint();
    return true;
}

void CPlayerTitle::SetTitleButtonStatus(bool bIsPressed) {
    m_bTitleButtonPressed = bIsPressed;
}

bool CPlayerTitle::OnClickToolButton() {
    if (!m_pMainDlg) return false;
    m_pMainDlg->ShowTopMenu(QCursor::pos());
    return true;
}

bool CPlayerTitle::ShowMaxScreen() {
    if (!m_pMainDlg) return false;
    if (m_bMax) {
        m_bMax = false;
        m_pMainWnd->setGeometry(m_rcSaved);
        m_pMainDlg->SetMaxScreen(false);
        SetThreeState(m_pMaxBtn, "max");
    } else {
        m_bMax = true;
        m_rcSaved = m_pMainWnd->geometry();
        m_pMainWnd->setGeometry(QGuiApplication::primaryScreen()->availableGeometry());
        m_pMainDlg->SetMaxScreen(true);
        SetThreeState(m_pMaxBtn, "max", "_zoom");
    }
    NameButtons();
    return true;
}

bool CPlayerTitle::CloseWindow() {
    if (!m_pMainDlg) return false;
    m_pMainDlg->Exit();
    return true;
}

void CPlayerTitle::changeEvent(QEvent* pEvent) {
    if (pEvent->type() == QEvent::LanguageChange) NameButtons();
    QWidget::changeEvent(pEvent);
}

void CPlayerTitle::mousePressEvent(QMouseEvent* pEvent) {
    QWidget::mousePressEvent(pEvent);
    // Passed on to the window, a press near its edge would resize it beside moving it.
    pEvent->accept();
    m_bDoubleClick = false;
    if (!m_pMainDlg || m_bMax || m_bTitleButtonPressed || pEvent->button() != Qt::LeftButton) return;
    m_ptDrag = pEvent->globalPosition().toPoint() - m_pMainWnd->normalGeometry().topLeft();
}

void CPlayerTitle::mouseMoveEvent(QMouseEvent* pEvent) {
    if (!m_pMainDlg || m_bMax || m_bTitleButtonPressed) return;
    // A move that carries no left button ends the drag; there is nothing to do on release. The second press
    // of a double click begins none: the window just restored would jump with the first unsteady pixel.
    if (pEvent->buttons() == Qt::LeftButton && !m_bDoubleClick)
        m_pMainWnd->move(pEvent->globalPosition().toPoint() - m_ptDrag);
    QWidget::mouseMoveEvent(pEvent);
}

void CPlayerTitle::mouseDoubleClickEvent(QMouseEvent* pEvent) {
    QWidget::mouseDoubleClickEvent(pEvent);
    m_bDoubleClick = true;
    if (pEvent->button() == Qt::LeftButton) ShowMaxScreen();
}

void CPlayerTitle::paintEvent(QPaintEvent* pEvent) {
    QWidget::paintEvent(pEvent);
    QPainter painter(this);
    const int nMiddle = g_nEdgeWidth + g_nLogoWidth;
    DrawSkinImage(painter, QRect(0, 0, g_nEdgeWidth, g_nBarHeight), ":/Resources/title-up-left.bmp");
    DrawSkinImage(painter, QRect(g_nEdgeWidth, 0, g_nLogoWidth, g_nLogoHeight), ":/Resources/logo.bmp");
    DrawSkinImage(painter, QRect(nMiddle, 0, width() - nMiddle - g_nEdgeWidth, g_nBarHeight),
                  ":/Resources/title-up-mid.bmp");
    DrawSkinImage(painter, QRect(width() - g_nEdgeWidth, 0, g_nEdgeWidth, g_nBarHeight),
                  ":/Resources/title-up-right.bmp");
    DrawFilePath(painter);
}

void CPlayerTitle::DrawFilePath(QPainter& painter) {
    painter.setPen(QPen(QBrush(Qt::white), g_nPenWidth));
    // Twelve pixels a character, not a font metric: what certainly fits is centred, a longer text shows its
    // beginning.
    const bool bFits = g_nPenWidth * m_strFilePath.size() <= width() - 2 * m_nMargin;
    const QRect rcText(QPoint(m_nMargin, y()), QPoint(width() - m_nMargin - 1, y() + height() - 1));
    painter.drawText(rcText, bFits ? int(Qt::AlignCenter) : int(Qt::AlignLeft | Qt::AlignVCenter),
                     m_strFilePath);
}

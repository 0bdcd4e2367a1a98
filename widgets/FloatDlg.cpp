#include "widgets/FloatDlg.h"

#include "widgets/SkinButton.h"
#include "widgets/SkinPainter.h"

#include <QHBoxLayout>
#include <QPainter>

#include <new>

CFloatDlg::CFloatDlg(QWidget* pParent) : QWidget(pParent) {
    // The panel lies over the video, which is a native window: only a native window can be above it.
    setAttribute(Qt::WA_DontCreateNativeAncestors);
    setAttribute(Qt::WA_NativeWindow);
    if (!CreateButtons()) return;
    SetButtonsBitMap();
    setFixedHeight(21);
    setLayout(m_pLayout);
    setCursor(Qt::ArrowCursor);
}

bool CFloatDlg::CreateButtons() {
    m_pFullScreenBtn = new (std::nothrow) CSkinButton(nullptr);
    m_pNormalSizeBtn = new (std::nothrow) CSkinButton(nullptr);
    m_pDoubleSizeBtn = new (std::nothrow) CSkinButton(nullptr);
    m_pLayout = new (std::nothrow) QHBoxLayout;
    if (!m_pFullScreenBtn || !m_pNormalSizeBtn || !m_pDoubleSizeBtn || !m_pLayout) {
        delete m_pFullScreenBtn;
        delete m_pNormalSizeBtn;
        delete m_pDoubleSizeBtn;
        delete m_pLayout;
        m_pFullScreenBtn = nullptr;
        m_pNormalSizeBtn = nullptr;
        m_pDoubleSizeBtn = nullptr;
        m_pLayout = nullptr;
        return false;
    }
    m_pLayout->setContentsMargins(0, 0, 0, 0);
    m_pLayout->setSpacing(0);
    for (CSkinButton* pButton : {m_pFullScreenBtn, m_pNormalSizeBtn, m_pDoubleSizeBtn}) {
        pButton->setFixedSize(18, 17);
        m_pLayout->addWidget(pButton);
    }
    m_pLayout->addStretch();
    return true;
}

void CFloatDlg::SetButtonsBitMap() {
    if (!m_pFullScreenBtn || !m_pNormalSizeBtn || !m_pDoubleSizeBtn) return;
    m_pFullScreenBtn->SetBitMap(":/Resources/frame-fullscreen.bmp", ":/Resources/frame-fullscreen-hover.bmp",
                                ":/Resources/frame-fullscreen-sel.bmp");
    m_pNormalSizeBtn->SetBitMap(":/Resources/frame-1x.bmp", ":/Resources/frame-1x-hover.bmp",
                                ":/Resources/frame-1x-sel.bmp");
    m_pDoubleSizeBtn->SetBitMap(":/Resources/frame-2x.bmp", ":/Resources/frame-2x-hover.bmp",
                                ":/Resources/frame-2x-sel.bmp");
}

void CFloatDlg::paintEvent(QPaintEvent* pEvent) {
    {
        QPainter painter(this);
        DrawSkinImage(painter, rect(), ":/Resources/frame-toolbar.bmp");
    }
    QWidget::paintEvent(pEvent);
}

void CFloatDlg::showEvent(QShowEvent* pEvent) {
    QWidget::showEvent(pEvent);
    raise();
}

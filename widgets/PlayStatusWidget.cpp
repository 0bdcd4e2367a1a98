#include "widgets/PlayStatusWidget.h"

#include "widgets/SkinPainter.h"
#include "widgets/StaticTitle.h"

#include <QHBoxLayout>
#include <QPainter>

#include <new>

CPlayStatusWidget::CPlayStatusWidget(QWidget* pParent) : QWidget(pParent) {
    // The strip lies over the video, which is a native window: only a native window can be above it.
    setAttribute(Qt::WA_DontCreateNativeAncestors);
    setAttribute(Qt::WA_NativeWindow);
    if (!CreateStaticText()) return;
    setFixedHeight(20);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
    setCursor(Qt::ArrowCursor);
    setLayout(m_pLayout);
}

bool CPlayStatusWidget::CreateStaticText() {
    m_pLeftText = new (std::nothrow) CStaticText(this);
    m_pRightText = new (std::nothrow) CStaticText(this);
    m_pLayout = new (std::nothrow) QHBoxLayout;
    if (!m_pLeftText || !m_pRightText || !m_pLayout) {
        delete m_pLeftText;
        delete m_pRightText;
        delete m_pLayout;
        m_pLeftText = nullptr;
        m_pRightText = nullptr;
        m_pLayout = nullptr;
        return false;
    }
    m_pLeftText->setFixedSize(100, 20);
    m_pRightText->setFixedSize(280, 20);
    m_pLayout->setContentsMargins(0, 0, 0, 0);
    m_pLayout->setSpacing(0);
    m_pLayout->addWidget(m_pLeftText);
    m_pLayout->addStretch();
    m_pLayout->addWidget(m_pRightText);
    return true;
}

void CPlayStatusWidget::paintEvent(QPaintEvent* pEvent) {
    {
        QPainter painter(this);
        DrawSkinImage(painter, rect(), ":/Resources/status-bar.bmp");
    }
    QWidget::paintEvent(pEvent);
}

void CPlayStatusWidget::showEvent(QShowEvent* pEvent) {
    QWidget::showEvent(pEvent);
    raise();
}

#include "playlist/ListTitleBarWidget.h"

#include "widgets/SkinButton.h"
#include "widgets/SkinPainter.h"
#include "widgets/StaticTitle.h"

#include <QHBoxLayout>
#include <QPainter>

#include <new>

CListTitleBar::CListTitleBar(QWidget* pParent) : QWidget(pParent, Qt::WindowFlags()) {
    if (!CreateAllCtrl()) return;
    setFixedHeight(20);
    setCursor(Qt::ArrowCursor);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
    setLayout(m_pLayout);
}

CListTitleBar::~CListTitleBar() = default;

bool CListTitleBar::CreateAllCtrl() {
    CSkinButton** const apButtons[] = {&m_pAddBtn, &m_pDeleteBtn, &m_pClearBtn, &m_pModeBtn, &m_pCloseBtn};
    m_pTitle = new (std::nothrow) CStaticText(this);
    bool bAll = m_pTitle != nullptr;
    for (CSkinButton** ppButton : apButtons) {
        *ppButton = new (std::nothrow) CSkinButton(nullptr);
        bAll = bAll && *ppButton;
    }
    m_pLayout = bAll ? new (std::nothrow) QHBoxLayout : nullptr;
    if (!m_pLayout) {
        delete m_pTitle;
        m_pTitle = nullptr;
        for (CSkinButton** ppButton : apButtons) {
            delete *ppButton;
            *ppButton = nullptr;
        }
        return false;
    }

    m_pTitle->m_bHeading = true;
    m_pTitle->setFixedHeight(20);
    m_pTitle->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
    m_pLayout->setContentsMargins(0, 0, 0, 0);
    m_pLayout->setSpacing(0);
    m_pLayout->addWidget(m_pTitle);
    for (CSkinButton** ppButton : apButtons) {
        (*ppButton)->setFixedSize(18, 18);
        m_pLayout->addWidget(*ppButton);
    }
    return true;
}

void CListTitleBar::paintEvent(QPaintEvent* pEvent) {
    {
        QPainter painter(this);
        DrawSkinImage(painter, rect(), ":/Resources/frame-toolbar.bmp");
    }
    QWidget::paintEvent(pEvent);
}

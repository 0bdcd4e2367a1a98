#include "widgets/SkinButton.h"

#include "widgets/SkinPainter.h"

#include <QEvent>
#include <QMouseEvent>
#include <QPainter>

CSkinButton::CSkinButton(QWidget* pParent) : QPushButton(pParent) {
    setFocusPolicy(Qt::NoFocus);
    // Assistive technology presses without a mouse, so that no release follows by itself.
    connect(this, &QAbstractButton::clicked, this, [this] {
        if (!m_bPressed) emit ReleaseButton();
    });
}

void CSkinButton::SetBitMap(QString strNormal, QString strHover, QString strPressed) {
    m_strNormal = std::move(strNormal);
    m_strHover = std::move(strHover);
    m_strPressed = std::move(strPressed);
    repaint();
}

void CSkinButton::SetToolTipText(QString strText) {
    if (!strText.isEmpty()) m_strToolTip = std::move(strText);
    if (m_strToolTip.isEmpty()) return;
    setToolTip(m_strToolTip);
    setAccessibleName(m_strToolTip);
}

void CSkinButton::SetTitleButton(bool bTitle) {
    m_bTitleButton = bTitle;
}

bool CSkinButton::event(QEvent* pEvent) {
    // Some styles ask for a repaint whenever the mouse enters or leaves. Which image shows when is decided by
    // enterEvent and leaveEvent alone, and is the same under every style.
    switch (pEvent->type()) {
    case QEvent::HoverEnter:
    case QEvent::HoverMove:
    case QEvent::HoverLeave:
        return true;
    default:
        return QPushButton::event(pEvent);
    }
}

void CSkinButton::mousePressEvent(QMouseEvent* pEvent) {
    QPushButton::mousePressEvent(pEvent);
    m_bPressed = true;
    emit SetTitleButtonStatus(true);
    repaint();
}

void CSkinButton::mouseReleaseEvent(QMouseEvent* pEvent) {
    QPushButton::mouseReleaseEvent(pEvent);
    m_bPressed = false;
    emit SetTitleButtonStatus(false);
    repaint();
    emit ReleaseButton();
}

void CSkinButton::enterEvent(QEnterEvent* /*pEvent*/) {
    m_bHover = true;
    setCursor(Qt::PointingHandCursor);
    repaint();
}

void CSkinButton::leaveEvent(QEvent* /*pEvent*/) {
    // No repaint: the hover image stays until something else asks for one.
    m_bHover = false;
    setCursor(Qt::ArrowCursor);
}

void CSkinButton::paintEvent(QPaintEvent* pEvent) {
    QPushButton::paintEvent(pEvent);
    if (m_strNormal.isEmpty() || m_strHover.isEmpty()) return;

    QString strPath = m_bHover ? m_strHover : m_strNormal;
    if (m_bPressed) strPath = m_strPressed;
    QPainter painter(this);
    DrawSkinImage(painter, rect(), strPath);
}

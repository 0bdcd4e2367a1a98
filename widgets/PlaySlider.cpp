#include "widgets/PlaySlider.h"

#include "widgets/JumpSlider.h"

#include <QEvent>
#include <QMouseEvent>

CPlaySlider::CPlaySlider(QWidget* pParent) : QSlider(pParent) {
    setFocusPolicy(Qt::NoFocus);
    setAccessibleName(tr("Play Position"));
}

void CPlaySlider::changeEvent(QEvent* pEvent) {
    if (pEvent->type() == QEvent::LanguageChange) setAccessibleName(tr("Play Position"));
    QSlider::changeEvent(pEvent);
}

bool CPlaySlider::ChangePlaySlider(int nValue) {
    if (nValue < 0) return false;
    emit SetPlaySlider(nValue);
    return true;
}

void CPlaySlider::mousePressEvent(QMouseEvent* pEvent) {
    QSlider::mousePressEvent(pEvent);
}

void CPlaySlider::mouseMoveEvent(QMouseEvent* pEvent) {
    QSlider::mouseMoveEvent(pEvent);
}

void CPlaySlider::mouseReleaseEvent(QMouseEvent* pEvent) {
    ChangePlaySlider(SliderValueAt(*this, pEvent->position().toPoint().x()));
    QSlider::mouseReleaseEvent(pEvent);
}

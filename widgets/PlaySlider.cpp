#include "widgets/PlaySlider.h"

#include "widgets/SliderJump.h"

#include <QMouseEvent>

CPlaySlider::CPlaySlider(QWidget* pParent) : QSlider(pParent) {
    setFocusPolicy(Qt::NoFocus);
    setAccessibleName(tr("Play Position"));
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

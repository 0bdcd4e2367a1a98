#include "widgets/SettingSlider.h"

#include "widgets/SliderJump.h"

#include <QMouseEvent>

CSetingSlider::CSetingSlider(QWidget* pParent) : QSlider(pParent) {}

void CSetingSlider::mousePressEvent(QMouseEvent* pEvent) {
    setValue(SliderValueAt(*this, pEvent->position().toPoint().x()));
    QSlider::mousePressEvent(pEvent);
}

#include "widgets/JumpSlider.h"

#include <QMouseEvent>

int SliderValueAt(const QSlider& slider, int nX) {
    if (slider.width() == 0) return 0;
    // The product wraps at 32 bits; unsigned arithmetic makes that defined.
    const auto unSpan =
        static_cast<unsigned int>(slider.maximum()) - static_cast<unsigned int>(slider.minimum());
    const auto nProduct = static_cast<int>(unSpan * static_cast<unsigned int>(nX));
    return nProduct / slider.width();
}

void CJumpSlider::mousePressEvent(QMouseEvent* pEvent) {
    setValue(SliderValueAt(*this, pEvent->position().toPoint().x()));
    // Styles keep the handle inside the groove, so that near the ends it may stand beside the mouse. The
    // toolkit would step by a page towards it, and go on as long as the button is held.
    const int nPageStep = pageStep();
    setPageStep(0);
    QSlider::mousePressEvent(pEvent);
    setRepeatAction(SliderNoAction);
    setPageStep(nPageStep);
}

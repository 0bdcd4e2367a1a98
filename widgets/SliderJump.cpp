#include "widgets/SliderJump.h"

#include <QSlider>

int SliderValueAt(const QSlider& slider, int nX) {
    if (slider.width() == 0) return 0;
    // The product wraps at 32 bits; unsigned arithmetic makes that defined.
    const auto unSpan =
        static_cast<unsigned int>(slider.maximum()) - static_cast<unsigned int>(slider.minimum());
    const auto nProduct = static_cast<int>(unSpan * static_cast<unsigned int>(nX));
    return nProduct / slider.width();
}

// Where a click on a slider's groove puts its value.
#pragma once

#include <QSlider>

// (maximum - minimum) * x / width, x in the slider's own coordinates, truncated towards zero. The minimum is
// not added back: the value is exact for sliders that begin at 0, and negative left of the slider. 0 for a
// slider of no width.
int SliderValueAt(const QSlider& slider, int nX);

// A slider that jumps to the place of a press. On the handle, which the jump has brought there, the press
// begins a drag.
class CJumpSlider : public QSlider {
  public:
    using QSlider::QSlider;

  protected:
    void mousePressEvent(QMouseEvent* pEvent) override;
};

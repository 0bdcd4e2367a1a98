// Where a click on a slider's groove puts its value.
#pragma once

class QSlider;

// (maximum - minimum) * x / width, x in the slider's own coordinates, truncated towards zero. The minimum is
// not added back: the value is exact for sliders that begin at 0, and negative left of the slider. The width
// must not be 0.
int SliderValueAt(const QSlider& slider, int nX);

// The slider of the settings dialog's adjustment pages: a click jumps to the clicked place.
#pragma once

#include "widgets/JumpSlider.h"

class CSetingSlider : public CJumpSlider {
    Q_OBJECT

  public:
    explicit CSetingSlider(QWidget* pParent);
};

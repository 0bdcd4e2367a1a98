#include "widgets/SettingSlider.h"

CSetingSlider::CSetingSlider(QWidget* pParent) : CJumpSlider(pParent) {}

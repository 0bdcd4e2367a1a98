// The slider of the settings dialog's adjustment pages: a click jumps to the clicked place.
#pragma once

#include <QSlider>

class CSetingSlider : public QSlider {
    Q_OBJECT

  public:
    explicit CSetingSlider(QWidget* pParent);

  protected:
    void mousePressEvent(QMouseEvent* pEvent) override;
};

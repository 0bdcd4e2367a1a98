// The play-position bar: the handle follows the mouse, and the place where the button is let go is the new
// position.
#pragma once

#include <QSlider>

class CPlaySlider : public QSlider {
    Q_OBJECT

  public:
    explicit CPlaySlider(QWidget* pParent);

    // Announces a position chosen by the user; false and nothing for a negative one.
    bool ChangePlaySlider(int nValue);

  signals:
    // In the slider's own units. Never emitted by setValue.
    void SetPlaySlider(int nValue);

  protected:
    void changeEvent(QEvent* pEvent) override;
    void mousePressEvent(QMouseEvent* pEvent) override;
    void mouseMoveEvent(QMouseEvent* pEvent) override;
    void mouseReleaseEvent(QMouseEvent* pEvent) override;
};

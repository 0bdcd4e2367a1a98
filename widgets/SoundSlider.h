// The volume bar. A click jumps to the clicked place; every change of value goes to the control bar, and one
// made while muted turns the sound on again.
#pragma once

#include "widgets/JumpSlider.h"

#include <QString>

class CControlsBarWidget;

class CSoundSlider : public CJumpSlider {
    Q_OBJECT

  public:
    // The parent must be the control bar; without one the slots do nothing.
    explicit CSoundSlider(QWidget* pParent);

    // Bitmaps drawn at their own size under the slider, at rest and under the mouse. Both or none.
    void SetBitMapPath(QString strNormal, QString strHover);

  public slots:
    // Hands a volume of 0..65535 to the control bar. False for a negative one or without a control bar.
    bool SetVolumeValue(int nValue);
    // Shows the volume as a whole percentage, a bare number. False as above.
    bool SetToolTip(int nValue);

  protected:
    void changeEvent(QEvent* pEvent) override;
    void enterEvent(QEnterEvent* pEvent) override;
    void leaveEvent(QEvent* pEvent) override;
    void paintEvent(QPaintEvent* pEvent) override;

  private:
    bool m_bHover = false;
    QString m_strNormal = QStringLiteral("");
    QString m_strHover = QStringLiteral("");
    CControlsBarWidget* m_pControlsBar = nullptr;
};

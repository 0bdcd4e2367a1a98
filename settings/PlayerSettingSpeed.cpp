// Page 4 of the settings dialog: steps of speed up or down from the current one, applied by OK.
#include "settings/PlayerSettingDlg.h"

#include "widgets/SettingSlider.h"
#include "widgets/StaticTitle.h"

#include <QButtonGroup>
#include <QLabel>
#include <QRadioButton>

void CPlayerSetting::CreatePlaySpeedWidget() {
    m_ctrls.pSpeed->setObjectName(QStringLiteral("m_pPlaySpeed1"));
    SetHeading(m_ctrls.pSpeed, {0, 15, 331, 25});
    m_ctrls.pIncrease->setObjectName(QStringLiteral("m_pInc1"));
    m_ctrls.pIncrease->setGeometry(20, 70, 130, 16);
    m_ctrls.pDecrease->setObjectName(QStringLiteral("m_pDe1"));
    m_ctrls.pDecrease->setGeometry(150, 70, 140, 16);
    auto* pDirection = new QButtonGroup(this);
    pDirection->addButton(m_ctrls.pIncrease);
    pDirection->addButton(m_ctrls.pDecrease);
    m_ctrls.pIncrease->setChecked(true);

    m_ctrls.pSpeedSlider->setObjectName(QStringLiteral("m_pSpeedSlider"));
    m_ctrls.pSpeedSlider->setGeometry(10, 120, 301, 21);
    m_ctrls.pSpeedSlider->setOrientation(Qt::Horizontal);
    m_ctrls.pSpeedSlider->setRange(0, 4);
    m_ctrls.pSpeedSlider->setSingleStep(1);
    m_ctrls.pSpeedSlider->setPageStep(1);
    m_ctrls.pSpeedSlider->setValue(0);
    m_ctrls.pSpeed->setBuddy(m_ctrls.pSpeedSlider); // its name for screen readers

    const char* const aNames[] = {"m_pSpeed1", "m_pSpeed2", "m_pSpeed4", "m_pSpeed8", "m_pSpeed16"};
    const QString aTexts[] = {tr("1"), tr("X2"), tr("X4"), tr("X8"), tr("X16")};
    constexpr int kLefts[] = {13, 77, 154, 220, 280};
    for (int n = 0; n < 5; ++n) {
        m_ctrls.aScale[n]->setObjectName(QString::fromLatin1(aNames[n]));
        m_ctrls.aScale[n]->setGeometry(kLefts[n], 150, 40, 16);
        m_ctrls.aScale[n]->setText(aTexts[n]);
    }
    m_ctrls.pSpeed->setText(tr("Play Speed"));
    m_ctrls.pIncrease->setText(tr("Increase Speed"));
    m_ctrls.pDecrease->setText(tr("Decrease Speed"));
}

// A choice that would go beyond the ends of the ladder is dropped whole.
void CPlayerSetting::GetParaFromSpeedSetting() {
    const int nSteps = m_ctrls.pSpeedSlider->value();
    if (m_ctrls.pIncrease->isChecked()) {
        if (m_nSpeed + nSteps < 5) m_nSpeed += nSteps;
    } else if (m_nSpeed - nSteps >= -4) {
        m_nSpeed -= nSteps;
    }
}

void CPlayerSetting::ShowSpeedCtrl(bool bShow) {
    ShowAll({m_ctrls.pSpeed, m_ctrls.pIncrease, m_ctrls.pDecrease, m_ctrls.pSpeedSlider, m_ctrls.aScale[0],
             m_ctrls.aScale[1], m_ctrls.aScale[2], m_ctrls.aScale[3], m_ctrls.aScale[4]},
            bShow);
}

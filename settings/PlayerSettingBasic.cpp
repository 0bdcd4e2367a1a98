// Page 1 of the settings dialog: quality, play optimization, left-out pictures, timer.
#include "settings/PlayerSettingDlg.h"

#include "widgets/StaticTitle.h"

#include <QButtonGroup>
#include <QCheckBox>
#include <QGroupBox>
#include <QRadioButton>

namespace {

constexpr int kHeadingWidth = 331;
constexpr int kHeadingHeight = 25;

} // namespace

void CPlayerSetting::CreateBasicCtrls() {
    QWidget* pParent = m_ctrls.pRight;
    m_ctrls.pOption = new CStaticText(pParent);
    m_ctrls.pHighQuality = new QCheckBox(pParent);
    m_ctrls.pDeflash = new QCheckBox(pParent);
    m_ctrls.pOptimization = new CStaticText(pParent);
    m_ctrls.pEfficiency = new QRadioButton(pParent);
    m_ctrls.pEffect = new QRadioButton(pParent);
    m_ctrls.pThrowB = new CStaticText(pParent);
    m_ctrls.pThrow0 = new QRadioButton(pParent);
    m_ctrls.pThrow1 = new QRadioButton(pParent);
    m_ctrls.pThrow2 = new QRadioButton(pParent);
    m_ctrls.pTimer = new CStaticText(pParent);
    m_ctrls.pTimerHigh = new QRadioButton(pParent);
    m_ctrls.pTimerLow = new QRadioButton(pParent);
}

void CPlayerSetting::LayOutBasic() {
    SetHeading(m_ctrls.pOption, {0, 15, kHeadingWidth, kHeadingHeight});
    m_ctrls.pHighQuality->setGeometry(10, 50, 241, 15);
    m_ctrls.pDeflash->setGeometry(10, 70, 241, 15);
    SetHeading(m_ctrls.pOptimization, {0, 92, kHeadingWidth, kHeadingHeight});
    m_ctrls.pEfficiency->setGeometry(10, 130, 151, 16);
    m_ctrls.pEffect->setGeometry(170, 130, 121, 16);
    SetHeading(m_ctrls.pThrowB, {0, 169, kHeadingWidth, kHeadingHeight});
    m_ctrls.pThrow0->setGeometry(10, 210, 110, 16);
    m_ctrls.pThrow1->setGeometry(130, 210, 89, 16);
    m_ctrls.pThrow2->setGeometry(230, 210, 89, 16);
    SetHeading(m_ctrls.pTimer, {0, 246, kHeadingWidth, kHeadingHeight});
    m_ctrls.pTimerHigh->setGeometry(10, 290, 131, 16);
    m_ctrls.pTimerLow->setGeometry(150, 290, 121, 16);

    auto* pOptimization = new QButtonGroup(this);
    pOptimization->addButton(m_ctrls.pEfficiency);
    pOptimization->addButton(m_ctrls.pEffect);
    auto* pThrowB = new QButtonGroup(this);
    pThrowB->addButton(m_ctrls.pThrow0);
    pThrowB->addButton(m_ctrls.pThrow1);
    pThrowB->addButton(m_ctrls.pThrow2);
    auto* pTimer = new QButtonGroup(this);
    pTimer->addButton(m_ctrls.pTimerHigh);
    pTimer->addButton(m_ctrls.pTimerLow);
}

void CPlayerSetting::LoadBasicText() {
    m_ctrls.pOption->setText(tr("Option"));
    m_ctrls.pHighQuality->setText(tr("Check High Quality DisPlay"));
    m_ctrls.pDeflash->setText(tr("Deflash"));
    m_ctrls.pOptimization->setText(tr("Play Optimization"));
    m_ctrls.pThrowB->setText(tr("Throw B-Frame"));
    m_ctrls.pTimer->setText(tr("Player Timer"));
    m_ctrls.pEfficiency->setText(tr("Efficiency Priority"));
    m_ctrls.pEffect->setText(tr("Effect Priority"));
    m_ctrls.pThrow0->setText(tr("Don't Throw"));
    m_ctrls.pThrow1->setText(tr("Throw 1"));
    m_ctrls.pThrow2->setText(tr("Throw 2"));
    m_ctrls.pTimerHigh->setText(tr("High Precision"));
    m_ctrls.pTimerLow->setText(tr("Low Precision"));
}

void CPlayerSetting::GetParaFromBasicSettings() {
    m_bHighQuality = m_ctrls.pHighQuality->isChecked();
    m_bDeflash = m_ctrls.pDeflash->isChecked();
    m_nDeinterlace = m_ctrls.pEfficiency->isChecked() ? 0 : 1;
    m_nThrowB = 2;
    if (m_ctrls.pThrow0->isChecked()) m_nThrowB = 0;
    if (m_ctrls.pThrow1->isChecked()) m_nThrowB = 1;
    m_nTimer = m_ctrls.pTimerHigh->isChecked() ? 1 : 2;
}

void CPlayerSetting::ShowBasicSetCtrl(bool bShow) {
    ShowAll({m_ctrls.pOption, m_ctrls.pHighQuality, m_ctrls.pDeflash, m_ctrls.pOptimization,
             m_ctrls.pEfficiency, m_ctrls.pEffect, m_ctrls.pThrowB, m_ctrls.pThrow0, m_ctrls.pThrow1,
             m_ctrls.pThrow2, m_ctrls.pTimer, m_ctrls.pTimerHigh, m_ctrls.pTimerLow},
            bShow);
}

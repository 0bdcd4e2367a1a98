// Pages 5 and 6 of the settings dialog: resolution, applied by OK, and colour, which changes the playing
// video at once.
#include "settings/PlayerSettingDlg.h"

#include "engine/Operate.h"
#include "settings/SettingsOwner.h"
#include "widgets/SettingSlider.h"
#include "widgets/StaticTitle.h"

#include <QButtonGroup>
#include <QLabel>
#include <QPushButton>
#include <QRadioButton>

namespace {

constexpr int kNeutral = 64; // leaves the picture as it is
constexpr int kMost = 128;

void SetUpSlider(CSetingSlider* pSlider, const QString& strName, const QRect& rc) {
    pSlider->setObjectName(strName);
    pSlider->setGeometry(rc);
    pSlider->setOrientation(Qt::Horizontal);
    pSlider->setRange(0, kMost);
    pSlider->setValue(kNeutral);
}

} // namespace

void CPlayerSetting::CreateImageControlWidget() {
    SetHeading(m_ctrls.pImage, {0, 15, 331, 25});
    m_ctrls.pNormalResolution->setGeometry(20, 70, 160, 16);
    m_ctrls.pLowResolution->setGeometry(180, 70, 150, 16);
    auto* pResolution = new QButtonGroup(this);
    pResolution->addButton(m_ctrls.pNormalResolution);
    pResolution->addButton(m_ctrls.pLowResolution);
    m_ctrls.pImage->setText(tr("Image Control"));
    m_ctrls.pNormalResolution->setText(tr("Normal Resolution"));
    m_ctrls.pLowResolution->setText(tr("Low Resolution"));
}

void CPlayerSetting::GetParaFromImageSetting() {
    m_nDisplayType = m_ctrls.pNormalResolution->isChecked() ? 1 : 2;
}

void CPlayerSetting::ShowImageControlCtrl(bool bShow) {
    ShowAll({m_ctrls.pImage, m_ctrls.pNormalResolution, m_ctrls.pLowResolution}, bShow);
}

void CPlayerSetting::CreateColorAdjustWidget() {
    m_ctrls.pColor->setObjectName(QStringLiteral("m_pLocorad1"));
    SetHeading(m_ctrls.pColor, {0, 15, 331, 25});
    m_ctrls.pLight->setGeometry(30, 70, 81, 16);
    SetUpSlider(m_ctrls.pLightSlider, QStringLiteral("m_pLightSlider1"), {30, 100, 271, 16});
    m_ctrls.pHue->setGeometry(30, 130, 81, 16);
    SetUpSlider(m_ctrls.pHueSlider, QStringLiteral("m_pHueSlider"), {30, 150, 271, 16});
    m_ctrls.pContrast->setGeometry(30, 180, 81, 16);
    SetUpSlider(m_ctrls.pContrastSlider, QStringLiteral("m_pConstrastSlider"), {30, 200, 271, 16});
    m_ctrls.pChroma->setGeometry(30, 230, 91, 16);
    SetUpSlider(m_ctrls.pChromaSlider, QStringLiteral("m_pChroSlider1"), {30, 250, 271, 16});
    m_ctrls.pReset->setObjectName(QStringLiteral("m_pResetButton"));
    m_ctrls.pReset->setGeometry(220, 280, 61, 23);

    // A label names its slider to screen readers.
    m_ctrls.pLight->setBuddy(m_ctrls.pLightSlider);
    m_ctrls.pHue->setBuddy(m_ctrls.pHueSlider);
    m_ctrls.pContrast->setBuddy(m_ctrls.pContrastSlider);
    m_ctrls.pChroma->setBuddy(m_ctrls.pChromaSlider);

    m_ctrls.pColor->setText(tr("Color Adjust"));
    m_ctrls.pLight->setText(tr("Lightness"));
    m_ctrls.pHue->setText(tr("Hue"));
    m_ctrls.pContrast->setText(tr("Constrast"));
    m_ctrls.pChroma->setText(tr("Chromaticity"));
    m_ctrls.pReset->setText(tr("Reset"));
}

bool CPlayerSetting::ChangeLightness(int nValue) {
    return ChangeColor(&m_nBrightness, nValue);
}

bool CPlayerSetting::ChangeHue(int nValue) {
    return ChangeColor(&m_nHue, nValue);
}

bool CPlayerSetting::ChangeConstract(int nValue) {
    return ChangeColor(&m_nContrast, nValue);
}

bool CPlayerSetting::ChangeChromaticity(int nValue) {
    return ChangeColor(&m_nChromaticity, nValue);
}

bool CPlayerSetting::ChangeColor(int* pCopy, int nValue) {
    if (nValue < 0 || m_pOwner == nullptr) return false;
    COperate* pOperate = m_pOwner->GetOperate();
    if (pOperate == nullptr) return false;
    if (pOperate->GetCurrentState() == COperate::kNoFile) {
        // Each slider that moves comes back here, until all stand in the middle.
        MoveColorSliders(kNeutral);
        return false;
    }
    *pCopy = nValue;
    pOperate->SetColor(m_nBrightness, m_nContrast, m_nChromaticity, m_nHue);
    StoreColor();
    return true;
}

void CPlayerSetting::StoreColor() {
    m_pOwner->SetBrightness(m_nBrightness);
    m_pOwner->SetHue(m_nHue);
    m_pOwner->SetChromaticity(m_nChromaticity);
    m_pOwner->SetContrast(m_nContrast);
}

void CPlayerSetting::MoveColorSliders(int nValue) {
    if (m_ctrls.pRight == nullptr) return;
    m_ctrls.pLightSlider->setValue(nValue);
    m_ctrls.pHueSlider->setValue(nValue);
    m_ctrls.pContrastSlider->setValue(nValue);
    m_ctrls.pChromaSlider->setValue(nValue);
}

bool CPlayerSetting::Reset() {
    if (m_pOwner == nullptr || m_pOwner->GetOperate() == nullptr) return false;
    if (m_pOwner->GetOperate()->GetCurrentState() == COperate::kNoFile) return false;
    m_nBrightness = kNeutral;
    m_nHue = kNeutral;
    m_nChromaticity = kNeutral;
    m_nContrast = kNeutral;
    StoreColor();
    MoveColorSliders(kNeutral); // which tells the engine
    return false;
}

void CPlayerSetting::ShowColorAdjustCtrl(bool bShow) {
    ShowAll({m_ctrls.pColor, m_ctrls.pLight, m_ctrls.pLightSlider, m_ctrls.pHue, m_ctrls.pHueSlider,
             m_ctrls.pContrast, m_ctrls.pContrastSlider, m_ctrls.pChroma, m_ctrls.pChromaSlider,
             m_ctrls.pReset},
            bShow);
}

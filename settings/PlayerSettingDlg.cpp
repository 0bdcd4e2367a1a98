// The frame of the settings dialog: building, the list of pages, OK.
#include "settings/PlayerSettingDlg.h"

#include "engine/Operate.h"
#include "settings/SettingsOwner.h"
#include "widgets/DarkText.h"
#include "widgets/SettingSlider.h"
#include "widgets/StaticTitle.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QGroupBox>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QTableWidget>

namespace {

// One row of the list on the left: its top and height. A row without a page is the title or a group's
// heading.
struct ListRow {
    int nTop;
    int nHeight;
    int nPage;
};
constexpr ListRow kListRows[] = {{0, 28, 0},   {28, 27, 1},  {55, 27, 2},  {82, 28, 0},
                                 {110, 27, 3}, {137, 27, 4}, {164, 28, 0}, {192, 27, 5},
                                 {219, 27, 6}, {246, 26, 0}, {272, 27, 7}, {299, 27, 8}};
constexpr int kListWidth = 120;

void SetUpPanel(QGroupBox* pPanel, const QString& strName, const QRect& rc) {
    pPanel->setObjectName(strName);
    pPanel->setGeometry(rc);
    pPanel->setStyleSheet(QStringLiteral("#%1 {background-color: rgb(255, 255, 255);}").arg(strName));
    for (QWidget* pControl : pPanel->findChildren<QWidget*>(Qt::FindDirectChildrenOnly))
        WriteDark(pControl);
}

} // namespace

CPlayerSetting::CPlayerSetting(QWidget* pParent)
    : QDialog(pParent), m_pOwner(dynamic_cast<CSettingsOwner*>(pParent)), m_strCapPath(QDir::currentPath()),
      m_strConCapPath(QDir::currentPath()) {
    try {
        CreateCtrls();
    } catch (...) {
        DeleteCtrls();
        return;
    }
    setupUi();
    InitPara();
    InitCtrlStatus();
    InitCtrl();
    ConnectLabelSignals();
}

void CPlayerSetting::CreateCtrls() {
    m_ctrls.pLeft = new QGroupBox(this);
    m_ctrls.pRight = new QGroupBox(this);
    m_ctrls.pOK = new QPushButton(this);
    m_ctrls.pCancel = new QPushButton(this);
    CreateListCtrls();
    CreateBasicCtrls();
    CreatePlayCtrls();
    CreatePictureCtrls();
    CreateCaptureCtrls(&m_ctrls.cap, m_ctrls.pRight);
    CreateCaptureCtrls(&m_ctrls.conCap, m_ctrls.pRight);
}

void CPlayerSetting::CreateListCtrls() {
    for (CStaticText*& pGroup : m_ctrls.aGroups)
        pGroup = new CStaticText(m_ctrls.pLeft);
    for (CStaticText*& pEntry : m_ctrls.aEntries)
        pEntry = new CStaticText(m_ctrls.pLeft);
}

// Pages 2 to 4.
void CPlayerSetting::CreatePlayCtrls() {
    QWidget* pParent = m_ctrls.pRight;
    m_ctrls.pKey = new CStaticText(pParent);
    m_ctrls.pKeyTable = new QTableWidget(pParent);

    m_ctrls.pLocate = new CStaticText(pParent);
    m_ctrls.pTimeLocate = new QLabel(pParent);
    m_ctrls.pTimeLine = new QLineEdit(pParent);
    m_ctrls.pTimeButton = new QPushButton(pParent);
    m_ctrls.pFrameLocate = new QLabel(pParent);
    m_ctrls.pFrameLine = new QLineEdit(pParent);
    m_ctrls.pFrameButton = new QPushButton(pParent);

    m_ctrls.pSpeed = new CStaticText(pParent);
    m_ctrls.pIncrease = new QRadioButton(pParent);
    m_ctrls.pDecrease = new QRadioButton(pParent);
    m_ctrls.pSpeedSlider = new CSetingSlider(pParent);
    for (QLabel*& pScale : m_ctrls.aScale)
        pScale = new QLabel(pParent);
}

// Pages 5 and 6.
void CPlayerSetting::CreatePictureCtrls() {
    QWidget* pParent = m_ctrls.pRight;
    m_ctrls.pImage = new CStaticText(pParent);
    m_ctrls.pNormalResolution = new QRadioButton(pParent);
    m_ctrls.pLowResolution = new QRadioButton(pParent);

    m_ctrls.pColor = new CStaticText(pParent);
    m_ctrls.pLight = new QLabel(pParent);
    m_ctrls.pLightSlider = new CSetingSlider(pParent);
    m_ctrls.pHue = new QLabel(pParent);
    m_ctrls.pHueSlider = new CSetingSlider(pParent);
    m_ctrls.pContrast = new QLabel(pParent);
    m_ctrls.pContrastSlider = new CSetingSlider(pParent);
    m_ctrls.pChroma = new QLabel(pParent);
    m_ctrls.pChromaSlider = new CSetingSlider(pParent);
    m_ctrls.pReset = new QPushButton(pParent);
}

void CPlayerSetting::DeleteCtrls() {
    delete m_ctrls.pLeft; // and with the two panels everything on them
    delete m_ctrls.pRight;
    delete m_ctrls.pOK;
    delete m_ctrls.pCancel;
    m_ctrls = Ctrls();
}

void CPlayerSetting::setupUi() {
    setFixedSize(470, 367);
    SetUpPanel(m_ctrls.pLeft, QStringLiteral("groupBox"), {0, 0, kListWidth, 326});
    SetUpPanel(m_ctrls.pRight, QStringLiteral("groupBox_2"), {130, 0, 331, 326});
    m_ctrls.pOK->setObjectName(QStringLiteral("m_pOKButton"));
    m_ctrls.pOK->setGeometry(310, 330, 60, 30);
    m_ctrls.pOK->setFocusPolicy(Qt::NoFocus);
    m_ctrls.pCancel->setObjectName(QStringLiteral("m_pCancelButton"));
    m_ctrls.pCancel->setGeometry(390, 330, 60, 30);
    m_ctrls.pCancel->setFocusPolicy(Qt::NoFocus);
    LayOutList();
    LayOutBasic();
    LoadCtrlText();

    CreatehotKeyTable(this);
    CreateVideoLacateWidget();
    CreatePlaySpeedWidget();
    CreateImageControlWidget();
    CreateColorAdjustWidget();
    CreateCappicWidget();
    CreateContinueCappicWidget();
    for (QPushButton* pButton : findChildren<QPushButton*>())
        pButton->setAutoDefault(false); // see keyPressEvent
    QMetaObject::connectSlotsByName(this);
}

void CPlayerSetting::LayOutList() {
    int nGroup = 0;
    for (const ListRow& row : kListRows) {
        const QRect rc(0, row.nTop, kListWidth, row.nHeight);
        if (row.nPage == 0) {
            SetHeading(m_ctrls.aGroups[nGroup++], rc);
            continue;
        }
        CStaticText* pEntry = m_ctrls.aEntries[row.nPage - 1];
        pEntry->setGeometry(rc);
        pEntry->setAlignment(Qt::AlignHCenter | Qt::AlignVCenter);
        pEntry->m_nType = row.nPage;
    }
}

void CPlayerSetting::SetHeading(CStaticText* pHeading, const QRect& rc) {
    pHeading->setGeometry(rc);
    pHeading->setStyleSheet(
        QStringLiteral("color: rgb(38, 67, 255);\nbackground-color: rgb(199, 212, 255);"));
    pHeading->setAlignment(Qt::AlignHCenter | Qt::AlignVCenter);
}

void CPlayerSetting::LoadCtrlText() {
    setWindowTitle(tr("Player Settings"));
    m_ctrls.pLeft->setTitle(QString());
    m_ctrls.pRight->setTitle(QString());
    LoadListText();
    LoadBasicText();
    m_ctrls.pOK->setText(tr("OK"));
    m_ctrls.pCancel->setText(tr("Cancel"));
}

void CPlayerSetting::LoadListText() {
    const QString aGroups[] = {tr("General Settings"), tr("Play Settings"), tr("Picture Settings"),
                               tr("Tool Settings")};
    for (int n = 0; n < 4; ++n)
        m_ctrls.aGroups[n]->setText(aGroups[n]);
    const QString aEntries[] = {tr("Basic"),      tr("Hotkey/Mouse"),   tr("Video Locate"),
                                tr("Play Speed"), tr("Image Control"),  tr("Color Adjust"),
                                tr("Cappic"),     tr("Continue Cappic")};
    for (int n = 0; n < kPages; ++n)
        m_ctrls.aEntries[n]->setText(aEntries[n]);
}

void CPlayerSetting::InitPara() {
    if (m_pOwner == nullptr) return;
    m_nBrightness = m_pOwner->GetBrightness();
    m_nContrast = m_pOwner->GetContrast();
    m_nChromaticity = m_pOwner->GetChromaticity();
    m_nHue = m_pOwner->GetHue();
    m_bHighQuality = m_pOwner->GetHighQuality();
    m_bDeflash = m_pOwner->GetDeflash();
    m_nDeinterlace = m_pOwner->GetDeinterlaceType();
    m_nThrowB = m_pOwner->GetThrowBNum();
    m_nTimer = m_pOwner->GetPlayerTimer();
    m_nDisplayType = m_pOwner->GetDisplayType();
    m_nSpeed = m_pOwner->GetSpeed();
    m_strCapPath = m_pOwner->GetCapPath();
    m_nCapType = m_pOwner->GetCapType();
    m_strConCapPath = m_pOwner->GetConCapPath();
    m_nConCapType = m_pOwner->GetConCapType();
    m_nOldSpeed = m_nSpeed;
}

void CPlayerSetting::InitCtrlStatus() {
    if (m_ctrls.pRight == nullptr) return;
    m_ctrls.pLightSlider->setValue(m_nBrightness);
    m_ctrls.pHueSlider->setValue(m_nHue);
    m_ctrls.pContrastSlider->setValue(m_nContrast);
    m_ctrls.pChromaSlider->setValue(m_nChromaticity);
    m_ctrls.cap.pPathLine->setText(m_strCapPath);
    m_ctrls.conCap.pPathLine->setText(m_strConCapPath);
    m_ctrls.cap.pTypeCombo->setCurrentIndex(m_nCapType != 0 ? 1 : 0);
    m_ctrls.conCap.pTypeCombo->setCurrentIndex(m_nConCapType != 0 ? 1 : 0);
    m_ctrls.pHighQuality->setChecked(m_bHighQuality);
    m_ctrls.pDeflash->setChecked(m_bDeflash);
    (m_nDeinterlace != 0 ? m_ctrls.pEffect : m_ctrls.pEfficiency)->setChecked(true);
    QRadioButton* pThrow = m_ctrls.pThrow2;
    if (m_nThrowB == 0) pThrow = m_ctrls.pThrow0;
    if (m_nThrowB == 1) pThrow = m_ctrls.pThrow1;
    pThrow->setChecked(true);
    (m_nTimer == 1 ? m_ctrls.pTimerHigh : m_ctrls.pTimerLow)->setChecked(true);
    (m_nDisplayType == 1 ? m_ctrls.pNormalResolution : m_ctrls.pLowResolution)->setChecked(true);
}

void CPlayerSetting::InitCtrl() {
    if (m_ctrls.pRight == nullptr) return;
    for (int nPage = 1; nPage <= kPages; ++nPage)
        ShowPage(nPage, nPage == m_nPage);
}

void CPlayerSetting::InitCtrlColor() {
    if (m_ctrls.pLeft == nullptr) return;
    for (int nPage = 1; nPage <= kPages; ++nPage) {
        m_ctrls.aEntries[nPage - 1]->setStyleSheet(
            nPage == m_nPage ? QStringLiteral("background-color: rgb(60, 135, 255);")
                             : QStringLiteral("background-color: rgb(255, 255, 255);"));
    }
}

void CPlayerSetting::ConnectLabelSignals() {
    if (m_ctrls.pRight == nullptr) return;
    connect(m_ctrls.pCancel, &QPushButton::clicked, this, &CPlayerSetting::close);
    connect(m_ctrls.pOK, &QPushButton::clicked, this, &CPlayerSetting::OnClickOKButton);
    connect(m_ctrls.pLightSlider, &QSlider::valueChanged, this, &CPlayerSetting::ChangeLightness);
    connect(m_ctrls.pHueSlider, &QSlider::valueChanged, this, &CPlayerSetting::ChangeHue);
    connect(m_ctrls.pContrastSlider, &QSlider::valueChanged, this, &CPlayerSetting::ChangeConstract);
    connect(m_ctrls.pChromaSlider, &QSlider::valueChanged, this, &CPlayerSetting::ChangeChromaticity);
    connect(m_ctrls.pReset, &QPushButton::clicked, this, &CPlayerSetting::Reset);
    connect(m_ctrls.pTimeButton, &QPushButton::clicked, this, &CPlayerSetting::TimeLocate);
    connect(m_ctrls.pFrameButton, &QPushButton::clicked, this, &CPlayerSetting::FrameLocate);
    for (CStaticText* pEntry : m_ctrls.aEntries)
        connect(pEntry, &CStaticText::StaticCliecked, this, &CPlayerSetting::OnClickStaticText);
    connect(m_ctrls.cap.pBrowse, &QPushButton::clicked, this, &CPlayerSetting::OnClickCappicBrowser);
    connect(m_ctrls.conCap.pBrowse, &QPushButton::clicked, this, &CPlayerSetting::OnClickConCapbrowser);
}

void CPlayerSetting::OnClickStaticText(int nType) {
    if (nType >= 1 && nType <= kPages) m_nPage = nType;
    InitCtrl();
    InitCtrlColor();
}

// The toolkit would let Enter press the first button that it finds, on whichever page. It presses the one
// that has the keyboard, or the one beside the field that has it.
void CPlayerSetting::keyPressEvent(QKeyEvent* pEvent) {
    if (pEvent->key() != Qt::Key_Return && pEvent->key() != Qt::Key_Enter) {
        QDialog::keyPressEvent(pEvent);
        return;
    }
    auto* pButton = qobject_cast<QPushButton*>(focusWidget());
    if (focusWidget() == m_ctrls.pTimeLine) pButton = m_ctrls.pTimeButton;
    if (focusWidget() == m_ctrls.pFrameLine) pButton = m_ctrls.pFrameButton;
    if (pButton != nullptr) pButton->click();
}

void CPlayerSetting::ShowPage(int nPage, bool bShow) {
    static constexpr void (CPlayerSetting::*kShow[])(bool) = {
        &CPlayerSetting::ShowBasicSetCtrl,     &CPlayerSetting::ShowHotKeyCtrl,
        &CPlayerSetting::ShowLocateCtrl,       &CPlayerSetting::ShowSpeedCtrl,
        &CPlayerSetting::ShowImageControlCtrl, &CPlayerSetting::ShowColorAdjustCtrl,
        &CPlayerSetting::ShowCappicSetCtrl,    &CPlayerSetting::ShowContinueCappicSetCtrl};
    (this->*kShow[nPage - 1])(bShow);
}

void CPlayerSetting::ShowAll(std::initializer_list<QWidget*> lstWidgets, bool bShow) {
    for (QWidget* pWidget : lstWidgets) {
        if (pWidget != nullptr) pWidget->setVisible(bShow);
    }
}

void CPlayerSetting::GetParaFromSettings() {
    if (m_ctrls.pRight == nullptr) return;
    GetParaFromBasicSettings();
    GetParaFromSpeedSetting();
    GetParaFromImageSetting();
    // The folders are not read: only the browse buttons change them.
    m_nCapType = m_ctrls.cap.pTypeCombo->currentIndex() != 0 ? 1 : 0;
    m_nConCapType = m_ctrls.conCap.pTypeCombo->currentIndex() != 0 ? 1 : 0;
}

void CPlayerSetting::StoreSettings() {
    m_pOwner->SetHighQuality(m_bHighQuality);
    m_pOwner->SetDeflash(m_bDeflash);
    m_pOwner->SetDeinterlaceType(static_cast<unsigned long>(m_nDeinterlace));
    m_pOwner->SetThrowBNum(m_nThrowB);
    m_pOwner->SetPlayerTimer(m_nTimer);
    m_pOwner->SetDisplayType(m_nDisplayType);
    m_pOwner->SetSpeed(m_nSpeed);
    m_pOwner->SetCapPath(m_strCapPath);
    m_pOwner->SetCapType(m_nCapType);
    m_pOwner->SetConCapPath(m_strConCapPath);
    m_pOwner->SetConCapType(m_nConCapType);
}

bool CPlayerSetting::ApplySettings(COperate* pOperate) {
    m_pOwner->SetPara();
    m_bThrowBChanged = m_nThrowB != m_pOwner->GetPreThrowBNum();
    m_pOwner->SetPreThrowBNum(m_nThrowB);
    pOperate->SetOptions(m_bThrowBChanged);
    for (int n = m_nOldSpeed; n < m_nSpeed; ++n) {
        if (!pOperate->Fast()) return false;
    }
    for (int n = m_nOldSpeed; n > m_nSpeed; --n) {
        if (!pOperate->Slow()) return false;
    }
    return true;
}

bool CPlayerSetting::OnClickOKButton() {
    if (m_pOwner == nullptr) {
        close();
        return false;
    }
    GetParaFromSettings();
    StoreSettings();
    COperate* pOperate = m_pOwner->GetOperate();
    if (pOperate == nullptr) {
        close();
        return false;
    }
    if (pOperate->GetCurrentState() != COperate::kNoFile && !ApplySettings(pOperate)) {
        close();
        return false;
    }
    m_pOwner->SetState();
    close();
    accept();
    return true;
}

// Pages 7 and 8 of the settings dialog: folder and file type of single and of continuous captures.
#include "settings/PlayerSettingDlg.h"

#include "widgets/StaticTitle.h"

#include <QComboBox>
#include <QDir>
#include <QFileDialog>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>

void CPlayerSetting::CreateCaptureCtrls(CaptureCtrls* pCtrls, QWidget* pParent) {
    pCtrls->pHeader = new CStaticText(pParent);
    pCtrls->pPath = new QLabel(pParent);
    pCtrls->pPathLine = new QLineEdit(pParent);
    pCtrls->pBrowse = new QPushButton(pParent);
    pCtrls->pType = new QLabel(pParent);
    pCtrls->pTypeCombo = new QComboBox(pParent);
}

void CPlayerSetting::CreateCappicWidget() {
    LayOutCapture(m_ctrls.cap, tr("Cappic"), QStringLiteral("m_pCap"));
}

void CPlayerSetting::CreateContinueCappicWidget() {
    LayOutCapture(m_ctrls.conCap, tr("Continue Cappic"), QStringLiteral("m_pConCap"));
}

void CPlayerSetting::LayOutCapture(const CaptureCtrls& ctrls, const QString& strHeader,
                                   const QString& strName) {
    SetHeading(ctrls.pHeader, {0, 15, 331, 25});
    ctrls.pPath->setGeometry(10, 70, 70, 20);
    ctrls.pPathLine->setObjectName(strName + QStringLiteral("PathLine"));
    ctrls.pPathLine->setGeometry(80, 70, 190, 20);
    ctrls.pBrowse->setObjectName(strName + QStringLiteral("BrowseButton"));
    ctrls.pBrowse->setGeometry(270, 70, 60, 21);
    ctrls.pType->setGeometry(10, 110, 70, 22);
    ctrls.pTypeCombo->setObjectName(strName + QStringLiteral("TypeCombo"));
    ctrls.pTypeCombo->setGeometry(80, 110, 69, 22);

    ctrls.pHeader->setText(strHeader);
    ctrls.pPath->setText(tr("Save Path:"));
    ctrls.pBrowse->setText(tr("Browse"));
    ctrls.pType->setText(tr("Save Type:"));
    ctrls.pTypeCombo->addItems({QStringLiteral("BMP"), QStringLiteral("JPEG")});
}

bool CPlayerSetting::OnClickCappicBrowser() {
    return BrowseFolder(&m_strCapPath, m_ctrls.cap.pPathLine);
}

bool CPlayerSetting::OnClickConCapbrowser() {
    return BrowseFolder(&m_strConCapPath, m_ctrls.conCap.pPathLine);
}

bool CPlayerSetting::BrowseFolder(QString* pPath, QLineEdit* pLine) {
    try {
        const QString strFolder = QFileDialog::getExistingDirectory(
            this, tr("Open Diectory"), QDir::currentPath(), QFileDialog::ShowDirsOnly);
        if (!strFolder.isEmpty()) {
            *pPath = strFolder;
            if (pLine != nullptr) pLine->setText(strFolder);
        }
        return true;
    } catch (...) {
        QMessageBox::warning(this, tr("Warning"), tr("Open File Error"), QMessageBox::Ok);
        return false;
    }
}

void CPlayerSetting::ShowCappicSetCtrl(bool bShow) {
    ShowCaptureCtrls(m_ctrls.cap, bShow);
}

void CPlayerSetting::ShowContinueCappicSetCtrl(bool bShow) {
    ShowCaptureCtrls(m_ctrls.conCap, bShow);
}

void CPlayerSetting::ShowCaptureCtrls(const CaptureCtrls& ctrls, bool bShow) {
    ShowAll({ctrls.pHeader, ctrls.pPath, ctrls.pPathLine, ctrls.pBrowse, ctrls.pType, ctrls.pTypeCombo},
            bShow);
}

#include "dialogs/FileInfoDlg.h"

#include "dialogs/FileFacts.h"
#include "widgets/DarkText.h"

#include <QGroupBox>
#include <QLabel>

namespace {

constexpr qsizetype kMostShown = 39;
constexpr qsizetype kKept = 40;

QString Shortened(const QString& strText) {
    return strText.size() > kMostShown ? strText.left(kKept) + QStringLiteral("...") : strText;
}

} // namespace

CFileInfoDlg::CFileInfoDlg(QWidget* pParent)
    : QDialog(pParent), m_pFacts(dynamic_cast<CFileFacts*>(pParent)) {
    SetPara();
    SetupUi(this);
}

void CFileInfoDlg::SetPara() {
    if (m_pFacts == nullptr) return;
    QString strPath;
    m_pFacts->GetFilePath(&strPath);
    m_pFacts->GetFileNameFormPath(strPath, &m_strName);
    m_pFacts->GetDirFromPath(strPath, &m_strDir);
    m_pFacts->GetFileTypeFromFileName(strPath, &m_strType);
    m_pFacts->GetResolution(&m_strResolution);
    m_pFacts->GetFrameRate(&m_strFrameRate);
    if (m_strFrameRate.isEmpty()) m_strFrameRate = QStringLiteral("25");
    m_pFacts->GetFileSize(&m_strSize);
    m_pFacts->GetFileTime(&m_strTime);
}

void CFileInfoDlg::SetupUi(QDialog* pDlg) {
    pDlg->setObjectName(QStringLiteral("Form"));
    pDlg->resize(430, 300);
    pDlg->setStyleSheet(QStringLiteral("background-color: rgb(245, 255, 235);"));
    pDlg->setWindowTitle(tr("File Information"));

    QGroupBox* pNameBox = AddBox(pDlg, "groupBox", {0, 0, 430, 61});
    AddRow(pNameBox, "object1", {10, 20, 90, 20}, tr("File Name:"), "label", {90, 20, 321, 16},
           Shortened(m_strName));

    QGroupBox* pMediaBox = AddBox(pDlg, "groupBox_2", {0, 60, 430, 140});
    AddRow(pMediaBox, "label_2", {10, 30, 80, 16}, tr("File Type:"), "label_3", {80, 30, 60, 16}, m_strType);
    AddRow(pMediaBox, "label_4", {200, 30, 90, 16}, tr("Resolution:"), "label_5", {280, 30, 140, 16},
           m_strResolution);
    AddRow(pMediaBox, "label_6", {10, 90, 80, 16}, tr("Time:"), "label_7", {80, 90, 75, 16}, m_strTime);
    AddRow(pMediaBox, "label_8", {200, 90, 95, 16}, tr("FrameRate:"), "label_9", {290, 90, 151, 16},
           m_strFrameRate);

    QGroupBox* pFileBox = AddBox(pDlg, "groupBox_3", {0, 199, 430, 101});
    AddRow(pFileBox, "label_10", {20, 20, 80, 16}, tr("File Size:"), "label_12", {90, 20, 311, 16},
           m_strSize);
    AddRow(pFileBox, "label_11", {20, 70, 80, 16}, tr("File Path:"), "label_13", {90, 70, 331, 16},
           Shortened(m_strDir));
    QMetaObject::connectSlotsByName(pDlg);
}

QGroupBox* CFileInfoDlg::AddBox(QDialog* pDlg, const char* pName, const QRect& rc) {
    auto* pBox = new QGroupBox(pDlg);
    pBox->setObjectName(QString::fromLatin1(pName));
    pBox->setGeometry(rc);
    pBox->setStyleSheet(QStringLiteral("background-color: rgb(203, 255, 241);"));
    return pBox;
}

void CFileInfoDlg::AddRow(QGroupBox* pBox, const char* pCaptionName, const QRect& rcCaption,
                          const QString& strCaption, const char* pValueName, const QRect& rcValue,
                          const QString& strValue) {
    auto* pCaption = new QLabel(strCaption, pBox);
    pCaption->setObjectName(QString::fromLatin1(pCaptionName));
    pCaption->setGeometry(rcCaption);
    WriteDark(pCaption);
    auto* pValue = new QLabel(pBox);
    pValue->setObjectName(QString::fromLatin1(pValueName));
    pValue->setGeometry(rcValue);
    WriteDark(pValue);
    // A file may be called <b>.mp4.
    pValue->setTextFormat(Qt::PlainText);
    pValue->setText(strValue);
}

// The file information: facts of the current file, gathered once, when the dialog is built. It has no
// buttons.
#pragma once

#include <QDialog>
#include <QString>

class CFileFacts;
class QGroupBox;
class QLabel;

class CFileInfoDlg : public QDialog {
    Q_OBJECT

  public:
    // `pParent` is asked for the facts if it is a CFileFacts; else there are none to show.
    explicit CFileInfoDlg(QWidget* pParent);

    // Gathers the facts.
    void SetPara();
    // Builds the widgets.
    void SetupUi(QDialog* pDlg);

  private:
    QGroupBox* AddBox(QDialog* pDlg, const char* pName, const QRect& rc);
    // A caption, and the value beside it.
    void AddRow(QGroupBox* pBox, const char* pCaptionName, const QRect& rcCaption, const QString& strCaption,
                const char* pValueName, const QRect& rcValue, const QString& strValue);

    QString m_strName;
    QString m_strType;
    QString m_strTime;
    QString m_strResolution;
    QString m_strFrameRate;
    QString m_strSize;
    QString m_strDir;
    CFileFacts* m_pFacts; // not owned; may be null
};

// The about box: the program's name and version, the playback library's, and the logo.
#pragma once

#include <QDialog>
#include <QImage>
#include <QRect>

class QLabel;

class CHelpDlg : public QDialog {
    Q_OBJECT

  public:
    explicit CHelpDlg(QWidget* pParent);
    ~CHelpDlg() override;

  protected:
    void paintEvent(QPaintEvent* pEvent) override;

  private:
    QLabel* m_pNameLabel;
    QLabel* m_pLibLabel;
    QImage m_imgLogo;
    QRect m_rcLogo; // where the logo is drawn
};

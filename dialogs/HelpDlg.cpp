#include "dialogs/HelpDlg.h"

#include <QLabel>
#include <QPainter>

CHelpDlg::CHelpDlg(QWidget* pParent)
    : QDialog(pParent, Qt::WindowFlags()), m_pNameLabel(new QLabel(this)), m_pLibLabel(new QLabel(this)) {
    setFixedSize(310, 124);
    m_pNameLabel->setGeometry(110, 40, 141, 16);
    m_pNameLabel->setText(QStringLiteral("Talvio, V1.0"));
    m_pLibLabel->setGeometry(110, 70, 141, 16);
    m_pLibLabel->setText(QStringLiteral("libDravo.so, 7.0.0.6"));
    m_rcLogo.setCoords(60, 50, 85, 70);
    m_imgLogo.load(QStringLiteral(":/Resources/Talvio.ico"));
}

CHelpDlg::~CHelpDlg() = default;

void CHelpDlg::paintEvent(QPaintEvent* pEvent) {
    {
        QPainter painter(this);
        painter.drawImage(m_rcLogo, m_imgLogo);
    }
    QDialog::paintEvent(pEvent);
}

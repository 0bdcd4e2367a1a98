#include "widgets/StaticTitle.h"

#include "widgets/SkinPainter.h"

#include <QMouseEvent>
#include <QPainter>
#include <QPen>

CStaticText::CStaticText(QWidget* pParent) : QLabel(pParent, Qt::WindowFlags()) {}

void CStaticText::SetStaticText(QString strText, int nAlign) {
    if (strText.isNull() || nAlign < 0) return;
    m_strText = std::move(strText);
    m_nAlign = nAlign;
    setAccessibleName(m_strText);
    repaint();
}

void CStaticText::SetStaticTextBitMap(QString strPath) {
    if (strPath.isNull()) return;
    m_strBitMap = std::move(strPath);
    repaint();
}

void CStaticText::mousePressEvent(QMouseEvent* /*pEvent*/) {
    m_bPressed = true;
}

void CStaticText::mouseReleaseEvent(QMouseEvent* /*pEvent*/) {
    if (!m_bPressed) return;
    emit StaticCliecked(m_nType);
    m_bPressed = false;
}

void CStaticText::paintEvent(QPaintEvent* pEvent) {
    QLabel::paintEvent(pEvent);
    QPainter painter(this);
    if (!m_strBitMap.isEmpty()) DrawSkinImage(painter, rect(), m_strBitMap);
    if (!m_strText.isEmpty()) DrawStaticText(painter);
}

void CStaticText::DrawStaticText(QPainter& painter) {
    const QRect rcText(0, 0, width(), height());
    if (m_bHeading) {
        painter.setFont(font());
        painter.setPen(QPen(QBrush(Qt::white), 9, Qt::SolidLine, Qt::SquareCap, Qt::BevelJoin));
        painter.drawText(rcText, Qt::AlignLeft | Qt::AlignTop, m_strText);
        return;
    }

    Qt::Alignment eAlign;
    switch (m_nAlign) {
    case 0:
        eAlign = Qt::AlignHCenter | Qt::AlignTop | Qt::AlignVCenter;
        break;
    case 1:
        eAlign = Qt::AlignLeft | Qt::AlignTop;
        break;
    case 2:
        eAlign = Qt::AlignRight | Qt::AlignTop;
        break;
    default:
        return;
    }
    QFont fontText;
    fontText.setPointSize(10);
    painter.setFont(fontText);
    painter.setPen(QPen(QBrush(Qt::white), 12, Qt::SolidLine, Qt::SquareCap, Qt::BevelJoin));
    painter.drawText(rcText, eAlign.toInt(), m_strText);
}

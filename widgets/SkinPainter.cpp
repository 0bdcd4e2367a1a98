#include "widgets/SkinPainter.h"

#include <QImage>
#include <QPaintDevice>

void DrawSkinImage(QPainter& painter, const QRect& rcTarget, const QString& strPath) {
    QImage image(strPath);
    if (image.isNull() || rcTarget.isEmpty()) return;

    // Bilinear sampling would skip pixels when it shrinks an image by more than half, so shrinking is done
    // here.
    const double dRatio = painter.device() ? painter.device()->devicePixelRatioF() : 1.0;
    const QSize szPhysical(qRound(rcTarget.width() * dRatio), qRound(rcTarget.height() * dRatio));
    if (image.width() > szPhysical.width() || image.height() > szPhysical.height()) {
        image = image.scaled(szPhysical, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    }
    painter.drawImage(rcTarget, image, QRect(QPoint(0, 0), image.size()));
}

#include "widgets/SkinPainter.h"

#include <QImage>
#include <QTransform>

void DrawSkinImage(QPainter& painter, const QRect& rcTarget, const QString& strPath) {
    QImage image(strPath);
    if (image.isNull() || rcTarget.isEmpty()) return;

    // The target's edges go to whole physical pixels: between two, as they come out at 150 %, a pixel that is
    // half covered would be left out, or a row of the image.
    const QTransform toDevice = painter.deviceTransform();
    const QRectF rcDevice = toDevice.mapRect(QRectF(rcTarget));
    const QRect rcPhysical(QPoint(qRound(rcDevice.left()), qRound(rcDevice.top())),
                           QPoint(qRound(rcDevice.right()) - 1, qRound(rcDevice.bottom()) - 1));
    if (rcPhysical.isEmpty()) return;
    // Bilinear sampling would skip pixels when it shrinks an image by more than half, so shrinking is done
    // here.
    if (image.width() > rcPhysical.width() || image.height() > rcPhysical.height()) {
        image = image.scaled(rcPhysical.size(), Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    }
    painter.drawImage(toDevice.inverted().mapRect(QRectF(rcPhysical)), image, QRectF(image.rect()));
}

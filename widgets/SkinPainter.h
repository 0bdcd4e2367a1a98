// Drawing of the skin's bitmaps.
#pragma once

#include <QPainter>
#include <QRect>
#include <QString>

// Draws the whole image at the resource path, stretched over the target rectangle with its edges at whole
// physical pixels. The image is loaded afresh each time; one that cannot be loaded draws nothing. Larger ones
// are averaged down to exactly those pixels, so that they stay sharp at every screen scale.
void DrawSkinImage(QPainter& painter, const QRect& rcTarget, const QString& strPath);

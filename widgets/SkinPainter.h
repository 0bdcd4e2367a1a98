// Drawing of the skin's bitmaps.
#pragma once

#include <QPainter>
#include <QRect>
#include <QString>

// Draws the whole image at the resource path, stretched over the target rectangle. The image is loaded afresh
// each time; one that cannot be loaded draws nothing. Images larger than the target's physical pixels are
// averaged down to exactly those, so that their edges stay sharp at every screen scale.
void DrawSkinImage(QPainter& painter, const QRect& rcTarget, const QString& strPath);

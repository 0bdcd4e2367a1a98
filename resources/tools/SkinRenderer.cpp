#include "resources/tools/SkinRenderer.h"

#include <QFile>
#include <QPainter>
#include <QSvgRenderer>

QByteArray CSkinRenderer::Resolve(const QString& strSource, const QString& strCurrent) {
    QFile file(m_strSourceDir + '/' + strSource);
    if (!file.open(QIODevice::ReadOnly)) {
        strError = file.fileName() + ": " + file.errorString();
        return {};
    }
    QByteArray abSvg = file.readAll();
    const auto& mapPalette = m_skin.Palette();
    for (auto it = mapPalette.begin(); it != mapPalette.end(); ++it) {
        abSvg.replace("var(--" + it.key().toUtf8() + ")", it.value().toUtf8());
    }
    if (!strCurrent.isEmpty()) abSvg.replace("currentColor", mapPalette.value(strCurrent).toUtf8());
    if (abSvg.contains("var(--") || abSvg.contains("currentColor")) {
        strError = file.fileName() + ": a colour that nothing gives";
        return {};
    }
    return abSvg;
}

QImage CSkinRenderer::Render(const SkinImage& image) {
    QImage picture(image.szWidget * image.nScale, QImage::Format_RGB32);
    picture.fill(m_skin.Colour(image.strGround));
    if (image.strSource.isEmpty()) return picture;

    const QByteArray abSvg = Resolve(image.strSource, image.strCurrent);
    if (abSvg.isEmpty()) return {};
    QSvgRenderer svg(abSvg);
    if (!svg.isValid()) {
        strError = image.strSource + ": not a vector image";
        return {};
    }

    QRectF rcSource(QPointF(0, 0), image.szWidget);
    if (image.nBox > 0) {
        // Whole pixels at 100 %, so that the grid's lines fall between pixels there.
        rcSource = QRectF((image.szWidget.width() - image.nBox) / 2,
                          (image.szWidget.height() - image.nBox) / 2, image.nBox, image.nBox);
    }
    QPainter painter(&picture);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.scale(image.nScale, image.nScale);
    svg.render(&painter, rcSource);
    return picture;
}

QImage CSkinRenderer::RenderIcon(const QString& strSource, int nSize) {
    QSvgRenderer svg(Resolve(strSource, QString()));
    if (!svg.isValid()) {
        if (strError.isEmpty()) strError = strSource + ": not a vector image";
        return {};
    }
    QImage picture(nSize, nSize, QImage::Format_ARGB32_Premultiplied);
    picture.fill(Qt::transparent);
    QPainter painter(&picture);
    painter.setRenderHint(QPainter::Antialiasing);
    svg.render(&painter, QRectF(0, 0, nSize, nSize));
    painter.end();
    return picture.convertToFormat(QImage::Format_ARGB32);
}

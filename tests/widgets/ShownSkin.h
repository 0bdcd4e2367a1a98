// What widgets paint, compared with the skin's images. Names are those of the skin: "play" is
// ":/Resources/play.bmp".
#pragma once

#include "widgets/SkinButton.h"
#include "widgets/SkinPainter.h"

#include <QCoreApplication>
#include <QEnterEvent>
#include <QFile>
#include <QImage>
#include <QMouseEvent>
#include <QPainter>
#include <QString>

// Whether what the widget paints is this image, stretched over it.
inline bool PaintsSkin(QWidget* pWidget, const QString& strName) {
    const QString strPath = QStringLiteral(":/Resources/%1.bmp").arg(strName);
    if (!QFile::exists(strPath)) qFatal("no such image: %s", qPrintable(strPath));
    const QImage painted = pWidget->grab().toImage().convertToFormat(QImage::Format_RGB32);
    QImage expected(painted.size(), QImage::Format_RGB32);
    expected.fill(Qt::magenta);
    QPainter painter(&expected);
    DrawSkinImage(painter, expected.rect(), strPath);
    painter.end();
    return painted == expected;
}

// The states in which the button paints another image than it should: "normal", "hover", "pressed"; empty
// when all are right. The button is let go beside it, which is no click.
inline QString WrongStates(CSkinButton* pButton, const QString& strNormal, const QString& strHover,
                           const QString& strPressed) {
    const auto send = [pButton](QEvent::Type eType, const QPointF& pos, Qt::MouseButtons buttons) {
        QMouseEvent event(eType, pos, pButton->mapToGlobal(pos), Qt::LeftButton, buttons, Qt::NoModifier);
        QCoreApplication::sendEvent(pButton, &event);
    };
    QString strWrong;
    if (!PaintsSkin(pButton, strNormal)) strWrong += QStringLiteral("normal ");
    const QPointF posInside(5, 5);
    QEnterEvent enter(posInside, posInside, pButton->mapToGlobal(posInside));
    QCoreApplication::sendEvent(pButton, &enter);
    if (!PaintsSkin(pButton, strHover)) strWrong += QStringLiteral("hover ");
    send(QEvent::MouseButtonPress, posInside, Qt::LeftButton);
    if (!PaintsSkin(pButton, strPressed)) strWrong += QStringLiteral("pressed ");
    send(QEvent::MouseButtonRelease, QPointF(-5, -5), Qt::NoButton);
    QEvent leave(QEvent::Leave);
    QCoreApplication::sendEvent(pButton, &leave);
    return strWrong.trimmed();
}

// The same for the three images of one name: "play" with "play-hover" and "play-sel".
inline QString WrongStates(CSkinButton* pButton, const QString& strName) {
    return WrongStates(pButton, strName, strName + "-hover", strName + "-sel");
}

// The same for a button that always shows one image.
inline QString WrongStatesOfOne(CSkinButton* pButton, const QString& strName) {
    return WrongStates(pButton, strName, strName, strName);
}

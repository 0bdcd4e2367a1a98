// Screens of known sizes, without a screen: Qt's offscreen platform is told of them.
#pragma once

#include "tests/support/TemporaryFolder.h"

#include <QFile>
#include <QList>
#include <QRect>
#include <QString>
#include <QStringList>

// For the QApplication that is made next. `folder` holds the description until then. The first is the primary
// one.
inline void UseScreens(const support::TemporaryFolder& folder, const QList<QRect>& lstScreens) {
    QStringList lstTexts;
    for (const QRect& rc : lstScreens) {
        lstTexts << QStringLiteral(R"({"name": "test%1", "x": %2, "y": %3, "width": %4, "height": %5,
                                      "logicalDpi": 96, "logicalBaseDpi": 96, "dpr": 1})")
                        .arg(lstTexts.size())
                        .arg(rc.x())
                        .arg(rc.y())
                        .arg(rc.width())
                        .arg(rc.height());
    }
    const QString strScreens = QString::fromStdString(folder / "screens.json");
    QFile file(strScreens);
    if (!file.open(QIODevice::WriteOnly)) qFatal("no description of the screens");
    file.write(QStringLiteral(R"({"screens": [%1]})").arg(lstTexts.join(", ")).toUtf8());
    qputenv("QT_QPA_PLATFORM", "offscreen:configfile=" + strScreens.toUtf8());
}

// One alone.
inline void UseScreen(const support::TemporaryFolder& folder, int nWidth, int nHeight) {
    UseScreens(folder, {QRect(0, 0, nWidth, nHeight)});
}

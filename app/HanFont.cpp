#include "app/HanFont.h"

#include <QApplication>
#include <QFont>
#include <QFontInfo>

void PreferSimplifiedHan() {
    QFont font = QApplication::font();
    font.setFamilies({QFontInfo(font).family(), QStringLiteral("Noto Sans CJK SC")});
    QApplication::setFont(font);
}

// Text on grounds that are light on every desktop.
#pragma once

#include <QPalette>
#include <QWidget>

// What a desktop in dark colours would have in white is written in black. To be said to each widget: where a
// style sheet gives the ground, the toolkit hands no colours down.
inline void WriteDark(QWidget* pWidget) {
    QPalette palette;
    palette.setColor(QPalette::WindowText, Qt::black);
    pWidget->setPalette(palette);
}

// What tests of the settings dialog ask of it.
#pragma once

#include "settings/PlayerSettingDlg.h"

#include <QAbstractButton>
#include <QApplication>
#include <QLabel>
#include <QMessageBox>
#include <QStringList>
#include <QTimer>

// The button with that text; fatal when there is none.
template <typename Button = QAbstractButton>
Button* ButtonOf(const CPlayerSetting& dlg, const QString& strText) {
    for (Button* pButton : dlg.findChildren<Button*>()) {
        if (pButton->text() == strText) return pButton;
    }
    qFatal("no button %s", qPrintable(strText));
    return nullptr;
}

// The widget with that name; fatal when there is none.
template <typename Widget>
Widget* Named(const CPlayerSetting& dlg, const char* pName) {
    auto* pWidget = dlg.findChild<Widget*>(pName);
    if (pWidget == nullptr) qFatal("no widget %s", pName);
    return pWidget;
}

// What `action` shows in a message box: "title: text [buttons]", or nothing when it shows none. The box is
// closed with its button.
template <typename Action>
QString BoxShownBy(Action&& action) {
    QString strShown;
    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, &timer, [&strShown] {
        auto* pBox = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
        if (pBox == nullptr) return;
        QStringList lstButtons;
        for (const QAbstractButton* pButton : pBox->buttons())
            lstButtons.append(pButton->text().remove('&'));
        strShown = pBox->windowTitle() + ": " + pBox->text() + " [" + lstButtons.join(' ') + "]";
        pBox->accept();
    });
    timer.start(5);
    action();
    return strShown;
}

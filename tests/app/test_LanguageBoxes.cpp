// The message boxes and choosers in Chinese: each shows what the catalog gives for it.
#include "settings/PlayerSettingDlg.h"
#include "tests/app/DlgTest.h"
#include "tests/resources/Catalog.h"
#include "tests/settings/SettingsTest.h"

#include <QAction>
#include <QFileDialog>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QTest>

#include <functional>

namespace {

QString Chinese(const char* pContext, const char* pText) {
    static const Catalog catalog = ReadCatalog(QStringLiteral(TALVIO_SOURCE_DIR "/resources/talvio_zh.ts"));
    const QString strChinese = catalog[pContext][pText];
    if (strChinese.isEmpty() || strChinese == pText) qFatal("not in Chinese: %s", pText);
    return strChinese;
}

// Titles and texts of what `action` opens: of a box its message, of a chooser its filters. Each is cancelled.
QStringList ShownBy(const std::function<void()>& action) {
    QStringList lstShown;
    const CModalAnswer answer([&lstShown](QDialog* pDialog) {
        QString strText;
        if (const auto* pBox = qobject_cast<QMessageBox*>(pDialog)) strText = pBox->text();
        if (const auto* pChooser = qobject_cast<QFileDialog*>(pDialog))
            strText = pChooser->nameFilters().join(";;");
        lstShown.append(pDialog->windowTitle() + '|' + strText);
        pDialog->reject();
    });
    action();
    return lstShown;
}

} // namespace

class TestLanguageBoxes : public QObject {
    Q_OBJECT

  private slots:
    void initTestCase() { QCoreApplication::setAttribute(Qt::AA_DontUseNativeDialogs); }

    void WarningsOfThePageForLocating_data() {
        QTest::addColumn<bool>("time");
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("warning");
        QTest::newRow("no time") << true << ""
                                 << "The Time must not null";
        QTest::newRow("bad time") << true << "x"
                                  << "The value is Invalid";
        QTest::newRow("no frame") << false << ""
                                  << "The frame number must not null";
        QTest::newRow("bad frame") << false << "x"
                                   << "The frame number is Invalid";
    }
    void WarningsOfThePageForLocating() {
        QFETCH(bool, time);
        QFETCH(QString, text);
        QFETCH(QString, warning);
        CDlgTest test;
        test.PlayInto(1);
        QVERIFY(test.Dlg().SwitchLanguage(test.Action("Chinese")));
        CPlayerSetting dlg(&test.Dlg());
        Named<QLineEdit>(dlg, time ? "m_pTimeLine" : "m_pFrameLine")->setText(text);
        const QStringList lstShown =
            ShownBy([&] { QVERIFY(!(time ? dlg.TimeLocate() : dlg.FrameLocate())); });
        QCOMPARE(lstShown, QStringList(Chinese("CPlayerSetting", "warning!") + '|' +
                                       Chinese("CPlayerSetting", warning.toUtf8())));
    }

    void TheWarningOfAFailedCapture() {
        CDlgTest test;
        QVERIFY(test.Dlg().SwitchLanguage(test.Action("Chinese")));
        QCOMPARE(
            ShownBy([&test] { test.Dlg().ShowErrorMsg(); }),
            QStringList(Chinese("CTalvioDlg", "Warning") + '|' + Chinese("CTalvioDlg", "Cappic Error !")));
    }

    void TheChooserOfFiles() {
        CDlgTest test;
        QVERIFY(test.Dlg().SwitchLanguage(test.Action("Chinese")));
        QCOMPARE(ShownBy([&test] { test.Dlg().AddFile(); }),
                 QStringList(Chinese("CTalvioDlg", "Open File") + '|' +
                             Chinese("CTalvioDlg", "ALL File (*.*);;Media File (*.mp4 *.264)")));
    }

    // Their own texts are not of our catalogs, and no other is loaded.
    void TheToolkitsOwnTextsStayAsTheyAre() {
        CDlgTest test;
        QVERIFY(test.Dlg().SwitchLanguage(test.Action("Chinese")));
        QStringList lstButtons;
        const CModalAnswer answer([&lstButtons](QDialog* pDialog) {
            for (const QAbstractButton* pButton : pDialog->findChildren<QPushButton*>())
                lstButtons.append(pButton->text().remove('&'));
            pDialog->reject();
        });
        test.Dlg().ShowErrorMsg();
        QCOMPARE(lstButtons, QStringList("OK"));
        lstButtons.clear();
        test.Dlg().AddFile();
        QCOMPARE(lstButtons, QStringList({"Open", "Cancel"}));
        lstButtons.clear();
        CPlayerSetting dlg(&test.Dlg());
        dlg.OnClickCappicBrowser();
        QCOMPARE(lstButtons, QStringList({"Choose", "Cancel"}));
        QCOMPARE(QCoreApplication::translate("QPlatformTheme", "Save"), QString("Save"));
    }

    void TheChooserOfFolders() {
        CDlgTest test;
        QVERIFY(test.Dlg().SwitchLanguage(test.Action("Chinese")));
        CPlayerSetting dlg(&test.Dlg());
        const QString strTitle = Chinese("CPlayerSetting", "Open Diectory") + '|';
        for (const QString& strShown : ShownBy([&dlg] { dlg.OnClickCappicBrowser(); }) +
                                           ShownBy([&dlg] { dlg.OnClickConCapbrowser(); }))
            QVERIFY2(strShown.startsWith(strTitle), qPrintable(strShown));
    }
};

QTEST_MAIN(TestLanguageBoxes)
#include "test_LanguageBoxes.moc"

// Switching the language at run time, by menu and by button, and the boxes that the window keeps.
#include "dialogs/FileInfoDlg.h"
#include "dialogs/HelpDlg.h"
#include "tests/app/DlgTest.h"

#include <QAction>
#include <QApplication>
#include <QFile>
#include <QTest>

class TestLanguage : public QObject {
    Q_OBJECT

  private slots:
    void TheMenuSwitchesBothWays() {
        CDlgTest test;
        QAction* pOpen = test.Action("Open File");
        QAction* pMode = test.Action("Playlist Play");
        QAction* pChinese = test.Action("Chinese");
        QAction* pEnglish = test.Action("English");
        QVERIFY(pEnglish->isChecked());
        for (int n = 0; n < 2; ++n) { // twice changes nothing more
            QVERIFY(test.Dlg().SwitchLanguage(pChinese));
            QCOMPARE(pOpen->text(), QString::fromUtf8("打开文件"));
            QCOMPARE(pMode->text(), QString::fromUtf8("顺序播放"));
            QVERIFY(pChinese->isChecked());
        }
        QVERIFY(test.Dlg().SwitchLanguage(pEnglish));
        QCOMPARE(pOpen->text(), QString("Open File"));
        QCOMPARE(pMode->text(), QString("Playlist Play"));
        QVERIFY(pEnglish->isChecked());
        QVERIFY(!test.Dlg().SwitchLanguage(nullptr));
    }

    void TheButtonNeedsACatalogInTheWorkingDirectory() {
        CDlgTest test;
        QAction* pOpen = test.Action("Open File");
        QAction* pChinese = test.Action("Chinese");
        QVERIFY(test.Dlg().ChangeLanguage());
        QCOMPARE(pOpen->text(), QString("Open File"));
        QVERIFY(pChinese->isChecked()); // the window takes itself for Chinese all the same
        QVERIFY(test.Dlg().ChangeLanguage());
        QVERIFY(!pChinese->isChecked());

        QVERIFY(QFile::copy(":/talvio_zh.qm", test.File("talvio_zh.qm")));
        QVERIFY(test.Dlg().ChangeLanguage());
        QCOMPARE(pOpen->text(), QString::fromUtf8("打开文件"));
        QVERIFY(test.Dlg().ChangeLanguage());
        QCOMPARE(pOpen->text(), QString("Open File"));
    }

    void EachAboutShowsAWindowOfItsOwn() {
        CDlgTest test;
        QVERIFY(test.Dlg().ShowAboutDlg());
        QVERIFY(test.Dlg().ShowAboutDlg());
        const QList<CHelpDlg*> lstBoxes = test.Dlg().findChildren<CHelpDlg*>();
        QCOMPARE(lstBoxes.size(), 2);
        QVERIFY(lstBoxes[0]->isVisible() && lstBoxes[1]->isVisible());
    }

    void TheFileInformationStaysHiddenAfterItIsClosed() {
        CDlgTest test;
        QTimer timer;
        connect(&timer, &QTimer::timeout, &test.Dlg(), [] {
            if (auto* pBox = qobject_cast<CFileInfoDlg*>(QApplication::activeModalWidget())) pBox->close();
        });
        timer.start(5);
        QVERIFY(test.Dlg().DisplayFileInfo());
        QCOMPARE(test.Dlg().findChildren<CFileInfoDlg*>().size(), 1);
    }
};

QTEST_MAIN(TestLanguage)
#include "test_Language.moc"

// A screen that cannot hold even the window in its smallest size.
#include "tests/app/DlgTest.h"
#include "tests/app/TestScreen.h"
#include "widgets/PlayerTitle.h"

#include <QApplication>
#include <QScreen>
#include <QTest>

class CTinyScreenTest : public QObject {
    Q_OBJECT

  private slots:
    // The title bar stays in reach, whatever is asked for.
    void TheWindowFillsTheScreenAndNoMore() {
        QCOMPARE(QGuiApplication::primaryScreen()->availableGeometry(), QRect(0, 0, 400, 300));
        const QRect rcScreen(0, 0, 400, 300);
        CDlgTest test;
        CTalvioDlg& dlg = test.Dlg();
        dlg.show();
        QCOMPARE(dlg.geometry(), rcScreen);
        test.Fake().SetPictureSize(1920, 1080);
        test.Play();
        QCOMPARE(dlg.geometry(), rcScreen);
        QVERIFY(dlg.OnClickTwoZoomButton());
        QCOMPARE(dlg.geometry(), rcScreen);
        QVERIFY(dlg.OnClickOneZoomButton());
        QCOMPARE(dlg.geometry(), rcScreen);
        QVERIFY(test.Find<CPlayerTitle>()->ShowMaxScreen());
        QCOMPARE(dlg.geometry(), rcScreen);
        QVERIFY(test.Find<CPlayerTitle>()->ShowMaxScreen());
        QVERIFY(dlg.CloseFile());
        QCOMPARE(dlg.geometry(), rcScreen);
    }
};

int main(int nArgs, char** ppArgs) {
    const support::TemporaryFolder folder;
    UseScreen(folder, 400, 300);
    const QApplication app(nArgs, ppArgs);
    CTinyScreenTest test;
    return QTest::qExec(&test, nArgs, ppArgs);
}

#include "test_TinyScreen.moc"

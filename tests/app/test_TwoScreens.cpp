// Two monitors, the primary one to the right of the other and lower. Sizes and places are those for the
// primary; places count from where the desktop begins.
#include "tests/app/DlgTest.h"
#include "tests/app/TestScreen.h"
#include "widgets/PlayerTitle.h"

#include <QApplication>
#include <QScreen>
#include <QTest>

namespace {
const QRect kPrimary(1024, 100, 1280, 960);
}

class CTwoScreensTest : public QObject {
    Q_OBJECT

  private slots:
    void initTestCase() {
        QCOMPARE(QGuiApplication::screens().size(), 2);
        QCOMPARE(QGuiApplication::primaryScreen()->availableGeometry(), kPrimary);
    }
    void init() {
        m_pTest = std::make_unique<CDlgTest>();
        m_pTest->Dlg().show();
    }
    void cleanup() { m_pTest.reset(); }

    void TheFirstSizeAndPlace() {
        QCOMPARE(m_pTest->Dlg().geometry(), QRect((1280 - 800) / 2, (960 - 500) / 2, 750, 480));
    }

    void TheNormalRectangle_data() {
        QTest::addColumn<QSize>("picture");
        QTest::addColumn<QSize>("window");
        QTest::newRow("small") << QSize(100, 100) << QSize(530, 355);
        QTest::newRow("352 x 288") << QSize(352, 288) << QSize(541, 409);
        QTest::newRow("too wide") << QSize(3000, 500) << QSize(1280, 621);
        QTest::newRow("too high") << QSize(600, 2000) << QSize(789, 960);
    }
    void TheNormalRectangle() {
        QFETCH(QSize, picture);
        QFETCH(QSize, window);
        CTalvioDlg& dlg = m_pTest->Dlg();
        const QPoint pos = dlg.pos();
        PlaySize(picture);
        QCOMPARE(dlg.geometry(), QRect(pos, window));
        QVERIFY(dlg.OnClickOneZoomButton());
        QCOMPARE(dlg.geometry(),
                 QRect(QPoint((1280 - window.width()) / 2, (960 - window.height()) / 2), window));
    }

    void TwoTimesSize() {
        CTalvioDlg& dlg = m_pTest->Dlg();
        PlaySize(QSize(352, 288));
        QVERIFY(dlg.OnClickTwoZoomButton());
        QCOMPARE(dlg.geometry(),
                 QRect((1280 - 541) / 2 - 541 / 2, (960 - 409) / 2 - 409 / 2, 2 * 541, 2 * 409));
    }

    void TwoTimesSizeOfAWideOneAndMaximisedAreThePrimary() {
        CTalvioDlg& dlg = m_pTest->Dlg();
        PlaySize(QSize(640, 288));
        const QRect rcBefore = dlg.geometry();
        QVERIFY(m_pTest->Find<CPlayerTitle>()->ShowMaxScreen());
        QCOMPARE(dlg.geometry(), kPrimary);
        QVERIFY(m_pTest->Find<CPlayerTitle>()->ShowMaxScreen());
        QCOMPARE(dlg.geometry(), rcBefore);
        QVERIFY(dlg.OnClickTwoZoomButton());
        QCOMPARE(dlg.geometry(), kPrimary);
    }

    void FullScreenIsThePrimary() {
        CTalvioDlg& dlg = m_pTest->Dlg();
        PlaySize(QSize(352, 288));
        const QRect rcBefore = dlg.geometry();
        QVERIFY(dlg.FullScreen());
        QTRY_COMPARE(dlg.geometry(), kPrimary);
        QVERIFY(dlg.FullScreen());
        QTRY_COMPARE(dlg.geometry(), rcBefore);
    }

  private:
    void PlaySize(const QSize& szPicture) {
        m_pTest->Fake().SetPictureSize(szPicture.width(), szPicture.height());
        m_pTest->Play();
    }

    std::unique_ptr<CDlgTest> m_pTest;
};

int main(int nArgs, char** ppArgs) {
    const support::TemporaryFolder folder;
    UseScreens(folder, {kPrimary, QRect(0, 0, 1024, 768)});
    const QApplication app(nArgs, ppArgs);
    CTwoScreensTest test;
    return QTest::qExec(&test, nArgs, ppArgs);
}

#include "test_TwoScreens.moc"

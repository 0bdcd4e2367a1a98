// The top modes in the window's own flags. What a window manager makes of them is another test's.
#include "tests/app/DlgTest.h"
#include "widgets/VideoWidget.h"

#include <QAction>
#include <QTest>
#include <QWindow>

class CTopFlagsTest : public QObject {
    Q_OBJECT

  private slots:
    void init() { m_pTest = std::make_unique<CDlgTest>(); }
    void cleanup() { m_pTest.reset(); }

    void TheTopModesSetTheWindowFlags();
    void OnlyPlayingIsOnTopWhilePlaying();
    void AStopByTheLibraryEndsOnTop();
    void WhatChangesInFullScreenCountsWhenItIsLeft();
    void TheActionsChooseTheTopMode();
    void ATopModeKeepsTheVideosNativeWindow();
    void TheToggleSkipsOnlyPlaying();
    void TopModesAreRefusedInFullScreen();

  private:
    std::unique_ptr<CDlgTest> m_pTest;
};

void CTopFlagsTest::TheTopModesSetTheWindowFlags() {
    CTalvioDlg& dlg = m_pTest->Dlg();
    dlg.TopDisplay(2);
    QCOMPARE(dlg.windowFlags(), Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint | Qt::Window);
    QVERIFY(dlg.isVisible());
    dlg.hide();
    dlg.TopDisplay(7);
    QCOMPARE(dlg.windowFlags(), Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint | Qt::Window);
    QVERIFY(dlg.isVisible());
    dlg.TopDisplay(0);
    QCOMPARE(dlg.windowFlags(), Qt::FramelessWindowHint | Qt::Window);
    QVERIFY(dlg.isVisible());
}

void CTopFlagsTest::OnlyPlayingIsOnTopWhilePlaying() {
    CTalvioDlg& dlg = m_pTest->Dlg();
    dlg.show();
    QVERIFY(dlg.SwithTopDisplay(m_pTest->Action(QStringLiteral("Only Playing"))));
    const auto onTop = [&] { return dlg.windowFlags().testFlag(Qt::WindowStaysOnTopHint); };
    QVERIFY(!onTop());
    m_pTest->Play();
    QVERIFY(onTop());
    dlg.PlayOrPause();
    QVERIFY(!onTop());
    dlg.PlayOrPause();
    QVERIFY(onTop());
    dlg.Stop();
    QVERIFY(!onTop());
    QVERIFY(dlg.isVisible());
}

void CTopFlagsTest::AStopByTheLibraryEndsOnTop() {
    CTalvioDlg& dlg = m_pTest->Dlg();
    dlg.show();
    QVERIFY(dlg.SwithTopDisplay(m_pTest->Action(QStringLiteral("Only Playing"))));
    m_pTest->Play();
    QVERIFY(dlg.windowFlags().testFlag(Qt::WindowStaysOnTopHint));
    dlg.GetOperate()->SetCurrentState(3);
    dlg.DrawStatus();
    QVERIFY(!dlg.windowFlags().testFlag(Qt::WindowStaysOnTopHint));
    QVERIFY(dlg.isVisible());
}

void CTopFlagsTest::WhatChangesInFullScreenCountsWhenItIsLeft() {
    CTalvioDlg& dlg = m_pTest->Dlg();
    dlg.show();
    QVERIFY(dlg.SwithTopDisplay(m_pTest->Action(QStringLiteral("Only Playing"))));
    m_pTest->Play();
    const auto onTop = [&] { return dlg.windowFlags().testFlag(Qt::WindowStaysOnTopHint); };
    QVERIFY(dlg.FullScreen());
    dlg.PlayOrPause();
    QVERIFY(onTop()); // in full screen nothing is said of it
    QVERIFY(dlg.FullScreen());
    QVERIFY(!onTop());
    QVERIFY(!dlg.isFullScreen());
    QVERIFY(dlg.FullScreen());
    dlg.PlayOrPause();
    QVERIFY(dlg.FullScreen());
    QVERIFY(onTop());
}

void CTopFlagsTest::TheActionsChooseTheTopMode() {
    CTalvioDlg& dlg = m_pTest->Dlg();
    QVERIFY(!dlg.SwithTopDisplay(nullptr));
    m_pTest->Action(QStringLiteral("Always"))->trigger();
    QVERIFY(dlg.windowFlags().testFlag(Qt::WindowStaysOnTopHint));
    // Another action keeps the mode and applies it.
    QVERIFY(dlg.SwithTopDisplay(m_pTest->Action(QStringLiteral("About"))));
    QVERIFY(dlg.windowFlags().testFlag(Qt::WindowStaysOnTopHint));
    m_pTest->Action(QStringLiteral("Never"))->trigger();
    QVERIFY(!dlg.windowFlags().testFlag(Qt::WindowStaysOnTopHint));
}

void CTopFlagsTest::ATopModeKeepsTheVideosNativeWindow() {
    CTalvioDlg& dlg = m_pTest->Dlg();
    dlg.show();
    m_pTest->Play();
    const WId nVideo = m_pTest->Find<CViewWidget>()->winId();
    const QRect rc = dlg.geometry();
    m_pTest->Action(QStringLiteral("Always"))->trigger();
    QVERIFY(dlg.windowFlags().testFlag(Qt::WindowStaysOnTopHint));
    QVERIFY(dlg.windowHandle()->flags().testFlag(Qt::WindowStaysOnTopHint));
    QVERIFY(dlg.isVisible());
    QCOMPARE(m_pTest->Find<CViewWidget>()->winId(), nVideo);
    QCOMPARE(dlg.geometry(), rc);
}

void CTopFlagsTest::TheToggleSkipsOnlyPlaying() {
    CTalvioDlg& dlg = m_pTest->Dlg();
    QVERIFY(dlg.OnClickTopDiaPlayButton());
    QVERIFY(m_pTest->Action(QStringLiteral("Always"))->isChecked());
    QVERIFY(dlg.windowFlags().testFlag(Qt::WindowStaysOnTopHint));
    QVERIFY(dlg.OnClickTopDiaPlayButton());
    QVERIFY(m_pTest->Action(QStringLiteral("Never"))->isChecked());
    QVERIFY(!dlg.windowFlags().testFlag(Qt::WindowStaysOnTopHint));
    dlg.SwithTopDisplay(m_pTest->Action(QStringLiteral("Only Playing")));
    QVERIFY(dlg.OnClickTopDiaPlayButton());
    QVERIFY(m_pTest->Action(QStringLiteral("Never"))->isChecked());
}

void CTopFlagsTest::TopModesAreRefusedInFullScreen() {
    CTalvioDlg& dlg = m_pTest->Dlg();
    dlg.show();
    m_pTest->Play();
    QVERIFY(dlg.FullScreen());
    QVERIFY(!dlg.SwithTopDisplay(m_pTest->Action(QStringLiteral("Always"))));
    QVERIFY(!dlg.OnClickTopDiaPlayButton());
    QVERIFY(!dlg.windowFlags().testFlag(Qt::WindowStaysOnTopHint));
}

QTEST_MAIN(CTopFlagsTest)
#include "test_TopFlags.moc"

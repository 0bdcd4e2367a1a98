// The top modes as a window manager sees them, on an X server of the test's own.
#include "engine/Operate.h"
#include "tests/app/DlgTest.h"
#include "tests/support/WaitUntil.h"
#include "tests/system/Desktop.h"
#include "tests/system/ScreenReader.h"

#include <QAction>
#include <QApplication>
#include <QTest>

#include <algorithm>
#include <memory>

class CTopModeTest : public QObject {
    Q_OBJECT

  public:
    explicit CTopModeTest(const std::string& strDisplay) : m_screen(strDisplay) {}

  private slots:
    void init() {
        m_pTest = std::make_unique<CDlgTest>();
        m_pTest->Dlg().show();
        QVERIFY(QTest::qWaitForWindowExposed(&m_pTest->Dlg()));
    }
    void cleanup() { m_pTest.reset(); }

    void OnlyPlayingKeepsTheWindowAboveWhileTheFilmPlays() {
        CTalvioDlg& dlg = m_pTest->Dlg();
        QVERIFY(dlg.SwithTopDisplay(m_pTest->Action("Only Playing")));
        QVERIFY(!IsAbove());
        m_pTest->Play();
        QTRY_VERIFY_WITH_TIMEOUT(IsAbove(), kLimit);
        dlg.PlayOrPause();
        QTRY_VERIFY_WITH_TIMEOUT(!IsAbove(), kLimit);
        dlg.PlayOrPause();
        QTRY_VERIFY_WITH_TIMEOUT(IsAbove(), kLimit);
        dlg.Stop();
        QTRY_VERIFY_WITH_TIMEOUT(!IsAbove(), kLimit);
        dlg.PlayOrPause();
        QTRY_VERIFY_WITH_TIMEOUT(IsAbove(), kLimit);
        // The library stops by itself.
        dlg.GetOperate()->SetCurrentState(3);
        dlg.DrawStatus();
        QTRY_VERIFY_WITH_TIMEOUT(!IsAbove(), kLimit);
        QVERIFY(dlg.isVisible());
    }

    void WhatHappensInFullScreenCountsAfterwards() {
        CTalvioDlg& dlg = m_pTest->Dlg();
        QVERIFY(dlg.SwithTopDisplay(m_pTest->Action("Only Playing")));
        m_pTest->Play();
        QTRY_VERIFY_WITH_TIMEOUT(IsAbove(), kLimit);
        const QRect rcBefore = dlg.geometry();
        for (const bool bPaused : {true, false}) {
            QVERIFY(dlg.FullScreen());
            QTRY_VERIFY_WITH_TIMEOUT(IsIn("_NET_WM_STATE_FULLSCREEN"), kLimit);
            dlg.PlayOrPause();
            QVERIFY(dlg.FullScreen());
            QTRY_VERIFY_WITH_TIMEOUT(!IsIn("_NET_WM_STATE_FULLSCREEN"), kLimit);
            QTRY_VERIFY_WITH_TIMEOUT(IsAbove() != bPaused, kLimit);
            QTRY_COMPARE_WITH_TIMEOUT(dlg.geometry(), rcBefore, kLimit);
        }
    }

    void AlwaysAndNeverDoNotAskForThePlayState() {
        CTalvioDlg& dlg = m_pTest->Dlg();
        m_pTest->Action("Always")->trigger();
        QTRY_VERIFY_WITH_TIMEOUT(IsAbove(), kLimit);
        m_pTest->PlayInto(2);
        dlg.Stop();
        QCoreApplication::processEvents();
        QVERIFY(IsAbove());
        m_pTest->Action("Never")->trigger();
        QTRY_VERIFY_WITH_TIMEOUT(!IsAbove(), kLimit);
    }

  private:
    static constexpr int kLimit = 30000; // milliseconds

    bool IsIn(const std::string& strState) {
        const auto vecStates = m_screen.StatesOf(static_cast<xcb_window_t>(m_pTest->Dlg().winId()));
        return std::find(vecStates.begin(), vecStates.end(), strState) != vecStates.end();
    }
    bool IsAbove() { return IsIn("_NET_WM_STATE_ABOVE"); }

    system_tests::ScreenReader m_screen;
    std::unique_ptr<CDlgTest> m_pTest;
};

int main(int nArgs, char** ppArgs) {
    const system_tests::Desktop desktop;
    qputenv("DISPLAY", QByteArray::fromStdString(desktop.Display()));
    qputenv("QT_QPA_PLATFORM", "xcb");
    qunsetenv("QT_SCALE_FACTOR");
    const QApplication app(nArgs, ppArgs);
    CTopModeTest test(desktop.Display());
    return QTest::qExec(&test, nArgs, ppArgs);
}

#include "test_TopMode.moc"

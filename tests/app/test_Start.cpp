// Start and stop of the main window, and the messages of the playback library.
#include "tests/app/DlgTest.h"
#include "widgets/ControlsBarWidget.h"
#include "widgets/FloatDlg.h"
#include "widgets/PlayerTitle.h"
#include "widgets/SkinButton.h"

#include <QAction>
#include <QDir>
#include <QFile>
#include <QSignalSpy>
#include <QTest>
#include <QTranslator>

#include <thread>

class CStartTest : public QObject {
    Q_OBJECT

  private slots:
    void init() { m_pTest = std::make_unique<CDlgTest>(); }
    void cleanup() { m_pTest.reset(); }

    void TheWindowIsFramelessTitledAndTakesDropsButNoFocus();
    void TheWindowStartsWithNoFileOpen();
    void OneEntryOfEachExclusiveMenuGroupIsChecked();
    void TheReversePlayButtonIsHiddenAndDisabled();
    void TheFloatingPanelIsHidden();
    void TheWindowIsThePlaybackLibrarysListenerWhileItLives();
    void BothTranslatorsBelongToTheWindow();
    void TheSettingsAreReadFromTheWorkingDirectory();
    void ClosingWhilePlayingWritesTheSettingsAndStopsTheLibrary();
    void ClosingLeavesTheFileOpen();
    void ExitClosesTheWindow();
    void Code100IsTheSizeMessageAnd101TheEndMessage();
    void MessagesFromAnotherThreadArriveOnTheGuiThread();

  private:
    std::unique_ptr<CDlgTest> m_pTest;
};

void CStartTest::TheWindowIsFramelessTitledAndTakesDropsButNoFocus() {
    CTalvioDlg& dlg = m_pTest->Dlg();
    QCOMPARE(dlg.windowFlags(), Qt::FramelessWindowHint | Qt::Window);
    QCOMPARE(dlg.windowTitle(), QStringLiteral("Talvio"));
    QVERIFY(!dlg.windowIcon().isNull());
    QVERIFY(dlg.acceptDrops());
    QVERIFY(dlg.hasMouseTracking());
    QCOMPARE(dlg.focusPolicy(), Qt::NoFocus);
    QCOMPARE(dlg.size(), QSize(750, 480));
}

void CStartTest::TheWindowStartsWithNoFileOpen() {
    QCOMPARE(m_pTest->State(), 0);
    QCOMPARE(m_pTest->LeftText(), QStringLiteral("Ready"));
    QVERIFY(!m_pTest->Action(QStringLiteral("Stop"))->isEnabled());
    QVERIFY(m_pTest->Fake().Calls().empty());
}

void CStartTest::OneEntryOfEachExclusiveMenuGroupIsChecked() {
    for (const char* pText : {"English", "Single Play", "Never"})
        QVERIFY(m_pTest->Action(pText)->isChecked());
    for (const char* pText : {"Chinese", "Playlist Play", "Single Repeat", "Playlist Repeat", "Always"}) {
        QVERIFY(!m_pTest->Action(pText)->isChecked());
    }
}

void CStartTest::TheReversePlayButtonIsHiddenAndDisabled() {
    m_pTest->Dlg().show();
    const CSkinButton* pButton = m_pTest->Find<CControlsBarWidget>()->m_pBackBtn;
    QVERIFY(!pButton->isVisible());
    QVERIFY(!pButton->isEnabled());
}

void CStartTest::TheFloatingPanelIsHidden() {
    m_pTest->Dlg().show();
    QVERIFY(!m_pTest->Find<CFloatDlg>()->isVisible());
}

void CStartTest::TheWindowIsThePlaybackLibrarysListenerWhileItLives() {
    QCOMPARE(g_pApp, static_cast<CPlayEvents*>(&m_pTest->Dlg()));
    m_pTest->Close();
    QCOMPARE(g_pApp, nullptr);
}

void CStartTest::BothTranslatorsBelongToTheWindow() {
    QCOMPARE(m_pTest->Dlg().findChildren<QTranslator*>(Qt::FindDirectChildrenOnly).size(), 2);
}

void CStartTest::TheSettingsAreReadFromTheWorkingDirectory() {
    m_pTest->Dlg().SetCapPath(QStringLiteral("/kept"));
    const QString strFolder = QDir::currentPath();
    const QString strConfig = m_pTest->File(QStringLiteral("Player.config"));
    // Where the program goes later does not matter.
    QDir::setCurrent(QStringLiteral("/"));
    m_pTest->Close();
    QDir::setCurrent(strFolder);
    QVERIFY(QFile::exists(strConfig));
    // The facade outlives the window.
    std::unique_ptr<COperate> pOperate;
    CTalvioDlg dlg(nullptr);
    pOperate.reset(dlg.GetOperate());
    QCOMPARE(dlg.GetCapPath(), QStringLiteral("/kept"));
}

void CStartTest::ClosingWhilePlayingWritesTheSettingsAndStopsTheLibrary() {
    m_pTest->Play();
    const QString strConfig = m_pTest->File(QStringLiteral("Player.config"));
    QVERIFY(!QFile::exists(strConfig));
    m_pTest->Dlg().close();
    QVERIFY(!QFile::exists(strConfig));
    m_pTest->Fake().SetHook("Dravo_Stop", [&] { QVERIFY(QFile::exists(strConfig)); });
    m_pTest->Close();
    QVERIFY(QFile::exists(strConfig));
    QCOMPARE(m_pTest->Fake().CountCalls("Dravo_Stop(2)"), 1);
}

void CStartTest::ClosingLeavesTheFileOpen() {
    m_pTest->Play();
    COperate* pOperate = m_pTest->Dlg().GetOperate();
    int nClosed = -1;
    int nFreed = -1;
    // The facade, which outlives the window, is destroyed by the test after it.
    connect(&m_pTest->Dlg(), &QObject::destroyed, this, [&] {
        nClosed = m_pTest->Fake().CountCalls("Dravo_CloseFile");
        nFreed = m_pTest->Fake().CountCalls("Dravo_FreePort");
        QCOMPARE(pOperate->GetCurrentState(), 3);
    });
    m_pTest->Close();
    QCOMPARE(nClosed, 0);
    QCOMPARE(nFreed, 0);
}

void CStartTest::ExitClosesTheWindow() {
    m_pTest->Dlg().show();
    QVERIFY(m_pTest->Dlg().Exit());
    QVERIFY(!m_pTest->Dlg().isVisible());
}

void CStartTest::Code100IsTheSizeMessageAnd101TheEndMessage() {
    CTalvioDlg& dlg = m_pTest->Dlg();
    const QSignalSpy size(&dlg, &CTalvioDlg::EncChangeMsg);
    const QSignalSpy end(&dlg, &CTalvioDlg::FileEndMsg);
    dlg.SendMsg(100);
    QCOMPARE(size.count(), 1);
    QCOMPARE(end.count(), 0);
    dlg.SendMsg(101);
    QCOMPARE(size.count(), 1);
    QCOMPARE(end.count(), 1);
    for (const int nCode : {0, 99, 102, -1})
        dlg.SendMsg(nCode);
    QCOMPARE(size.count(), 1);
    QCOMPARE(end.count(), 1);
}

void CStartTest::MessagesFromAnotherThreadArriveOnTheGuiThread() {
    m_pTest->Play();
    std::thread([&] { m_pTest->Fake().FireFileEnd(m_pTest->Fake().OpenPort()); }).join();
    QCOMPARE(m_pTest->State(), 1);
    QTRY_COMPARE(m_pTest->State(), 3);
}

QTEST_MAIN(CStartTest)
#include "test_Start.moc"

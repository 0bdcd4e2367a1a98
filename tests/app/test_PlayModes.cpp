// The end of a file in each play mode.
#include "playlist/ListBox.h"
#include "tests/app/DlgTest.h"

#include <QAction>
#include <QSignalSpy>
#include <QTest>

#include <thread>

class CPlayModesTest : public QObject {
    Q_OBJECT

  private slots:
    void init() { m_pTest = std::make_unique<CDlgTest>(); }
    void cleanup() { m_pTest.reset(); }

    void ThePlayModeActionsChooseTheMode();
    void Mode1Stops();
    void Mode2OpensTheNextUnmarkedEntry();
    void Mode2StopsAfterTheLast();
    void Mode2StopsWhenAllThatIsLeftIsMarked();
    void Mode2GoesOnFromTheRowThatIsCurrentAfterARemoval();
    void Mode2StopsWhenTheListWasClearedMeanwhile();
    void Mode2GoesOnFromTheRowThatIsCurrentAfterAMove();
    void Mode3StartsAgain();
    void Mode4StartsAgainFromTheTop();
    void Mode4DoesNotTestTheLastEntry();
    void Mode4WithOneEntryStops();
    void WithoutACurrentRowTheListBeginsAtItsTop();
    void AnEmptyListStops();
    void WithAnEmptyListASingleFileStopsOrRepeats();
    void AnEndCountsWhilePaused();
    void AnEndIsIgnoredWithNothingPlaying();
    void AnEndOfAFileThatIsClosedByNowIsIgnored();
    void AnEndOfAStoppedFileIsIgnored();
    void TheEndsOfTwoFilesInARowMoveOneEntryOn();
    void AnEndThatNoMessageTellsIsTheCurrentFiles();
    void AnEntryThatIsGoneByNowEndsThePlayingWithoutALoop();

  private:
    int CurrentRow() { return m_pTest->Find<CListBox>()->currentRow(); }
    QString Opened() { return m_pTest->Dlg().GetCurFileName(); }

    std::unique_ptr<CDlgTest> m_pTest;
};

void CPlayModesTest::ThePlayModeActionsChooseTheMode() {
    QVERIFY(!m_pTest->Dlg().SwithPlayMode(nullptr));
    m_pTest->PlayList({"/rec/a.mp4"}, {}, 0, "Single Repeat");
    // Another action keeps the mode.
    QVERIFY(m_pTest->Dlg().SwithPlayMode(m_pTest->Action(QStringLiteral("About"))));
    m_pTest->Dlg().PlayProcess();
    QCOMPARE(m_pTest->State(), 1);
    QVERIFY(m_pTest->Dlg().SwithPlayMode(m_pTest->Action(QStringLiteral("Single Play"))));
    m_pTest->Dlg().PlayProcess();
    QCOMPARE(m_pTest->State(), 3);
}

void CPlayModesTest::Mode1Stops() {
    m_pTest->PlayList({"/rec/a.mp4", "/rec/b.mp4"}, {}, 0, "Single Play");
    m_pTest->Dlg().PlayProcess();
    QCOMPARE(m_pTest->State(), 3);
    QCOMPARE(CurrentRow(), 0);
}

void CPlayModesTest::Mode2OpensTheNextUnmarkedEntry() {
    m_pTest->PlayList({"/rec/a.mp4", "/rec/b.mp4", "/rec/c.mp4"}, {1}, 0, "Playlist Play");
    m_pTest->Dlg().PlayProcess();
    QCOMPARE(m_pTest->State(), 1);
    QCOMPARE(Opened(), QStringLiteral("c.mp4"));
    QCOMPARE(CurrentRow(), 2);
    QCOMPARE(m_pTest->Fake().CountCalls("Dravo_OpenFile(1, \"/rec/b.mp4\")"), 0);
}

void CPlayModesTest::Mode2StopsAfterTheLast() {
    m_pTest->PlayList({"/rec/a.mp4", "/rec/b.mp4"}, {}, 1, "Playlist Play");
    m_pTest->Dlg().PlayProcess();
    QCOMPARE(m_pTest->State(), 3);
    QCOMPARE(Opened(), QStringLiteral("b.mp4"));
}

void CPlayModesTest::Mode2StopsWhenAllThatIsLeftIsMarked() {
    m_pTest->PlayList({"/rec/a.mp4", "/rec/b.mp4", "/rec/c.mp4"}, {1, 2}, 0, "Playlist Play");
    m_pTest->Dlg().PlayProcess();
    QCOMPARE(m_pTest->State(), 3);
    QCOMPARE(CurrentRow(), 2);
}

void CPlayModesTest::Mode2GoesOnFromTheRowThatIsCurrentAfterARemoval() {
    m_pTest->PlayList({"/rec/a.mp4", "/rec/b.mp4", "/rec/c.mp4", "/rec/d.mp4"}, {}, 1, "Playlist Play");
    QVERIFY(m_pTest->Dlg().DeleteFile());
    QCOMPARE(m_pTest->Playlist(), QStringList({"/rec/a.mp4", "/rec/c.mp4", "/rec/d.mp4"}));
    const int nCurrent = CurrentRow();
    m_pTest->Dlg().PlayProcess();
    QCOMPARE(CurrentRow(), nCurrent + 1);
    QCOMPARE(Opened(), m_pTest->Find<CListBox>()->item(nCurrent + 1)->text());
    QCOMPARE(m_pTest->State(), 1);
}

void CPlayModesTest::Mode2StopsWhenTheListWasClearedMeanwhile() {
    m_pTest->PlayList({"/rec/a.mp4", "/rec/b.mp4"}, {}, 0, "Playlist Play");
    QVERIFY(m_pTest->Dlg().ClearFile());
    QCOMPARE(m_pTest->State(), 1);
    m_pTest->Dlg().PlayProcess();
    QCOMPARE(m_pTest->State(), 3);
}

void CPlayModesTest::Mode2GoesOnFromTheRowThatIsCurrentAfterAMove() {
    m_pTest->PlayList({"/rec/a.mp4", "/rec/b.mp4", "/rec/c.mp4"}, {}, 1, "Playlist Play");
    QVERIFY(m_pTest->Dlg().RaiseFile());
    QCOMPARE(m_pTest->Playlist(), QStringList({"/rec/b.mp4", "/rec/a.mp4", "/rec/c.mp4"}));
    const int nCurrent = CurrentRow();
    m_pTest->Dlg().PlayProcess();
    QCOMPARE(CurrentRow(), nCurrent + 1);
    QCOMPARE(Opened(), m_pTest->Find<CListBox>()->item(nCurrent + 1)->text());
}

void CPlayModesTest::Mode3StartsAgain() {
    m_pTest->PlayList({"/rec/a.mp4"}, {}, 0, "Single Repeat");
    m_pTest->Dlg().PlayProcess();
    QCOMPARE(m_pTest->State(), 1);
    QCOMPARE(m_pTest->Commands(), QStringList({"Dravo_SetCurrentFrameNum(2, 0)"}));
}

void CPlayModesTest::Mode4StartsAgainFromTheTop() {
    m_pTest->PlayList({"/rec/a.mp4", "/rec/b.mp4", "/rec/c.mp4"}, {0}, 2, "Playlist Repeat");
    m_pTest->Dlg().PlayProcess();
    QCOMPARE(m_pTest->State(), 1);
    QCOMPARE(Opened(), QStringLiteral("b.mp4"));
    QCOMPARE(CurrentRow(), 1);
}

void CPlayModesTest::Mode4DoesNotTestTheLastEntry() {
    m_pTest->PlayList({"/rec/a.mp4", "/rec/b.mp4", "/rec/c.mp4"}, {0, 1}, 2, "Playlist Repeat");
    m_pTest->Dlg().PlayProcess();
    QCOMPARE(m_pTest->State(), 3);
    QCOMPARE(CurrentRow(), 2);
}

void CPlayModesTest::Mode4WithOneEntryStops() {
    m_pTest->PlayList({"/rec/a.mp4"}, {}, 0, "Playlist Repeat");
    m_pTest->Dlg().PlayProcess();
    QCOMPARE(m_pTest->State(), 3);
}

void CPlayModesTest::WithoutACurrentRowTheListBeginsAtItsTop() {
    for (const char* pMode : {"Playlist Play", "Playlist Repeat"}) {
        m_pTest->Dlg().ClearFile();
        m_pTest->PlayList({"/rec/a.mp4", "/rec/b.mp4"}, {}, -1, pMode);
        QCOMPARE(CurrentRow(), -1);
        m_pTest->Dlg().PlayProcess();
        QCOMPARE(Opened(), QStringLiteral("a.mp4"));
        QCOMPARE(CurrentRow(), 0);
        QCOMPARE(m_pTest->State(), 1);
    }
}

void CPlayModesTest::AnEmptyListStops() {
    for (const char* pMode : {"Playlist Play", "Playlist Repeat"}) {
        m_pTest->PlayList({}, {}, -1, pMode);
        m_pTest->Dlg().PlayProcess();
        QCOMPARE(m_pTest->State(), 3);
    }
}

void CPlayModesTest::WithAnEmptyListASingleFileStopsOrRepeats() {
    m_pTest->PlayList({}, {}, -1, "Single Repeat");
    m_pTest->Dlg().PlayProcess();
    QCOMPARE(m_pTest->State(), 1);
    QCOMPARE(m_pTest->Commands(), QStringList({"Dravo_SetCurrentFrameNum(2, 0)"}));
    m_pTest->Action(QStringLiteral("Single Play"))->trigger();
    m_pTest->Dlg().PlayProcess();
    QCOMPARE(m_pTest->State(), 3);
}

void CPlayModesTest::AnEndCountsWhilePaused() {
    m_pTest->PlayList({"/rec/a.mp4", "/rec/b.mp4"}, {}, 0, "Playlist Play");
    m_pTest->Dlg().PlayOrPause();
    QCOMPARE(m_pTest->State(), 2);
    m_pTest->Dlg().PlayProcess();
    QCOMPARE(Opened(), QStringLiteral("b.mp4"));
    QCOMPARE(m_pTest->State(), 1);
}

void CPlayModesTest::AnEndIsIgnoredWithNothingPlaying() {
    m_pTest->Dlg().PlayProcess();
    QCOMPARE(m_pTest->State(), 0);
    m_pTest->PlayList({"/rec/a.mp4", "/rec/b.mp4"}, {}, 0, "Playlist Play");
    m_pTest->Dlg().Stop();
    m_pTest->Dlg().PlayProcess();
    QCOMPARE(m_pTest->State(), 3);
    QCOMPARE(CurrentRow(), 0);
}

void CPlayModesTest::AnEndOfAFileThatIsClosedByNowIsIgnored() {
    m_pTest->Play();
    const QSignalSpy end(&m_pTest->Dlg(), &CTalvioDlg::FileEndMsg);
    std::thread([&] { m_pTest->Fake().FireFileEnd(m_pTest->Fake().OpenPort()); }).join();
    // The message waits while another file is opened.
    m_pTest->Play(QStringLiteral("/rec/b.mp4"));
    QCOMPARE(end.count(), 1);
    QCoreApplication::processEvents();
    QCOMPARE(m_pTest->State(), 1);
    QCOMPARE(Opened(), QStringLiteral("b.mp4"));
    // Its own end counts.
    std::thread([&] { m_pTest->Fake().FireFileEnd(m_pTest->Fake().OpenPort()); }).join();
    QTRY_COMPARE(m_pTest->State(), 3);
}

void CPlayModesTest::AnEndOfAStoppedFileIsIgnored() {
    m_pTest->PlayList({"/rec/a.mp4", "/rec/b.mp4"}, {}, 0, "Playlist Play");
    std::thread([&] { m_pTest->Fake().FireFileEnd(m_pTest->Fake().OpenPort()); }).join();
    m_pTest->Dlg().Stop();
    m_pTest->Dlg().PlayOrPause();
    QCoreApplication::processEvents();
    QCOMPARE(Opened(), QStringLiteral("a.mp4"));
    QCOMPARE(m_pTest->State(), 1);
}

void CPlayModesTest::TheEndsOfTwoFilesInARowMoveOneEntryOn() {
    m_pTest->PlayList({"/rec/a.mp4", "/rec/b.mp4", "/rec/c.mp4", "/rec/d.mp4"}, {}, 0, "Playlist Play");
    const auto end = [&] {
        std::thread([&] { m_pTest->Fake().FireFileEnd(m_pTest->Fake().OpenPort()); }).join();
    };
    end();
    // Both messages wait: the one of the file that is closed by now, and the one of the file that is playing.
    m_pTest->Play(QStringLiteral("/rec/b.mp4"));
    m_pTest->Find<CListBox>()->setCurrentRow(1);
    end();
    QCoreApplication::processEvents();
    QCOMPARE(Opened(), QStringLiteral("c.mp4"));
    QCOMPARE(CurrentRow(), 2);
    QCOMPARE(m_pTest->State(), 1);
}

void CPlayModesTest::AnEndThatNoMessageTellsIsTheCurrentFiles() {
    m_pTest->PlayList({"/rec/a.mp4", "/rec/b.mp4", "/rec/c.mp4"}, {}, 0, "Playlist Play");
    m_pTest->Dlg().SendMsg(101);
    QCOMPARE(Opened(), QStringLiteral("b.mp4"));
    m_pTest->Dlg().PlayProcess();
    QCOMPARE(Opened(), QStringLiteral("c.mp4"));
    m_pTest->Dlg().SendMsg(101);
    QCOMPARE(m_pTest->State(), 3);
    m_pTest->Dlg().PlayOrPause();
    m_pTest->Dlg().PlayProcess();
    QCOMPARE(m_pTest->State(), 3);
}

void CPlayModesTest::AnEntryThatIsGoneByNowEndsThePlayingWithoutALoop() {
    m_pTest->PlayList({"/rec/a.mp4", "/rec/b.mp4"}, {}, 0, "Playlist Repeat");
    m_pTest->Fake().RefuseFile("/rec/b.mp4");
    m_pTest->Dlg().PlayProcess();
    QCOMPARE(m_pTest->State(), 0);
    QCOMPARE(m_pTest->Playlist().size(), 2);
}

QTEST_MAIN(CPlayModesTest)
#include "test_PlayModes.moc"

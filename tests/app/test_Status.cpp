// The status line, the end of a file in each play mode, continuous capture.
#include "playlist/ListBox.h"
#include "tests/app/DlgTest.h"
#include "tests/support/WaitUntil.h"
#include "widgets/ControlsBarWidget.h"
#include "widgets/PlayerTitle.h"
#include "widgets/PlaySlider.h"
#include "widgets/PlayStatusWidget.h"
#include "widgets/SkinButton.h"

#include <QAction>
#include <QDir>
#include <QSignalSpy>
#include <QTest>

#include <atomic>
#include <chrono>
#include <thread>

namespace {

constexpr std::chrono::seconds kLimit(20);

} // namespace

class CStatusTest : public QObject {
    Q_OBJECT

  private slots:
    void init() { m_pTest = std::make_unique<CDlgTest>(); }
    void cleanup() { m_pTest.reset(); }

    void TheStatusLineShowsFrameAndTime_data();
    void TheStatusLineShowsFrameAndTime();
    void ThePositionBarFollows();
    void AHeldHandleIsLeftAlone();
    void WithNothingOpenNothingIsDrawn();
    void AStopByTheLibraryIsReflected();
    void TheTimerDrawsTheStatus();

    void ThePlayModeActionsChooseTheMode();
    void Mode1Stops();
    void Mode2OpensTheNextUnmarkedEntry();
    void Mode2StopsAfterTheLast();
    void Mode2StopsWhenAllThatIsLeftIsMarked();
    void Mode3StartsAgain();
    void Mode4StartsAgainFromTheTop();
    void Mode4DoesNotTestTheLastEntry();
    void Mode4WithOneEntryStops();
    void AnEmptyListStops();
    void AnEndIsIgnoredWithNothingPlaying();
    void AnEndOfAFileThatIsClosedByNowIsIgnored();
    void AnEndOfAStoppedFileIsIgnored();
    void TheEndsOfTwoFilesInARowMoveOneEntryOn();
    void AnEndThatNoMessageTellsIsTheCurrentFiles();
    void AnEntryThatIsGoneByNowEndsThePlayingWithoutALoop();

    void ContinuousCaptureWritesEveryDisplayedPicture();
    void ContinuousCaptureTakesItsOwnTypeAndFolder();
    void ContinuousCaptureIsOffBeforePlayingAndAfterStop();
    void ContinuousCaptureEndsWithOpeningAnEntry();
    void AFailingContinuousCaptureIsToldOnce();
    void ACaptureCutShortByStopIsNoError();
    void NothingIsCapturedWhileTheNextFileOpens();
    void ContinuousCaptureMeetsEveryOtherCommand();

  private:
    // Three entries, the row made current, its file playing.
    void PlayList(const QStringList& lstPaths, const QList<int>& lstMarked, int nRow, const char* pMode) {
        CListBox* pList = m_pTest->Find<CListBox>();
        for (int n = 0; n < lstPaths.size(); ++n)
            m_pTest->Dlg().AddFile2List(lstPaths[n], lstMarked.contains(n));
        m_pTest->Action(QString::fromLatin1(pMode))->trigger();
        m_pTest->Play(lstPaths.value(nRow, QStringLiteral("/rec/x.mp4")));
        pList->setCurrentRow(nRow);
        m_pTest->Fake().TakeCalls();
    }
    int CurrentRow() { return m_pTest->Find<CListBox>()->currentRow(); }
    QString Opened() { return m_pTest->Dlg().GetCurFileName(); }
    bool FireDisplay() { return m_pTest->Fake().FireDisplay(m_pTest->Fake().OpenPort()); }
    int Captures() { return m_pTest->FilesIn(QDir::currentPath(), QStringLiteral("picture-*")).size(); }

    std::unique_ptr<CDlgTest> m_pTest;
};

void CStatusTest::TheStatusLineShowsFrameAndTime_data() {
    QTest::addColumn<qulonglong>("frame");
    QTest::addColumn<qulonglong>("frames");
    QTest::addColumn<int>("elapsed");
    QTest::addColumn<int>("total");
    QTest::addColumn<QString>("text");
    QTest::newRow("3725 s") << 62ULL << 93125ULL << 3661 << 3725 << "62/93125  01:01:01/01:02:05  ";
    QTest::newRow("the first frame") << 0ULL << 250ULL << 0 << 10 << "0/250  00:00:00/00:00:10  ";
    QTest::newRow("no frame yet") << ~0ULL << 250ULL << 7 << 10 << "0/250  00:00:00/00:00:10  ";
    QTest::newRow("no frame yet, in 32 bits")
        << 0xFFFFFFFFULL << 250ULL << 7 << 10 << "0/250  00:00:00/00:00:10  ";
    QTest::newRow("an empty file") << 5ULL << 0ULL << 7 << 10 << "0/0  00:00:00/00:00:00  ";
    QTest::newRow("a hundred hours") << 1ULL << 2ULL << 360000 << 360001 << "1/2  100:00:00/100:00:01  ";
}

void CStatusTest::TheStatusLineShowsFrameAndTime() {
    QFETCH(qulonglong, frame);
    QFETCH(qulonglong, frames);
    QFETCH(int, elapsed);
    QFETCH(int, total);
    QFETCH(QString, text);
    m_pTest->Fake().SetResult("Dravo_GetFileTotalFrames", frames);
    m_pTest->Fake().SetResult("Dravo_GetFileTime", total);
    m_pTest->Fake().SetResult("Dravo_GetCurrentFrameNum", frame);
    m_pTest->Fake().SetResult("Dravo_GetPlayedTime", elapsed);
    QVERIFY(m_pTest->Dlg().OpenItemFile(QStringLiteral("/rec/a.mp4")));
    m_pTest->Dlg().DrawStatus();
    QCOMPARE(m_pTest->RightText(), text);
    m_pTest->Dlg().PlayOrPause();
    m_pTest->Dlg().DrawStatus();
    QCOMPARE(m_pTest->RightText(), text);
}

void CStatusTest::ThePositionBarFollows() {
    m_pTest->Play();
    m_pTest->Fake().SetPlayPos(0.5F);
    m_pTest->Dlg().DrawStatus();
    QCOMPARE(m_pTest->Find<CPlaySlider>()->value(), 32767);
    // Its own moves are no seeks.
    QCOMPARE(m_pTest->Fake().CountCalls("Dravo_SetPlayPos"), 0);
}

void CStatusTest::AHeldHandleIsLeftAlone() {
    m_pTest->Play();
    auto* pSlider = m_pTest->Find<CPlaySlider>();
    pSlider->setValue(100);
    pSlider->setSliderDown(true);
    m_pTest->Fake().SetPlayPos(0.5F);
    m_pTest->Dlg().DrawStatus();
    QCOMPARE(pSlider->value(), 100);
    pSlider->setSliderDown(false);
    m_pTest->Dlg().DrawStatus();
    QCOMPARE(pSlider->value(), 32767);
}

void CStatusTest::WithNothingOpenNothingIsDrawn() {
    m_pTest->Dlg().DrawStatus();
    QCOMPARE(m_pTest->RightText(), QString());
    QVERIFY(m_pTest->Fake().Calls().empty());
}

void CStatusTest::AStopByTheLibraryIsReflected() {
    m_pTest->Play();
    m_pTest->Dlg().DrawStatus();
    m_pTest->Dlg().GetOperate()->SetCurrentState(3);
    m_pTest->Dlg().DrawStatus();
    QCOMPARE(m_pTest->LeftText(), QStringLiteral("Stop"));
    QCOMPARE(m_pTest->RightText(), QString());
    QCOMPARE(m_pTest->Find<CPlaySlider>()->maximum(), 0);
    QVERIFY(PaintsSkin(m_pTest->Find<CControlsBarWidget>()->m_pPlayBtn, "play"));
}

void CStatusTest::TheTimerDrawsTheStatus() {
    m_pTest->Play();
    QCOMPARE(m_pTest->RightText(), QString());
    QTRY_COMPARE(m_pTest->RightText(), QStringLiteral("0/250  00:00:00/00:00:10  "));
}

void CStatusTest::ThePlayModeActionsChooseTheMode() {
    QVERIFY(!m_pTest->Dlg().SwithPlayMode(nullptr));
    PlayList({"/rec/a.mp4"}, {}, 0, "Single Repeat");
    // Another action keeps the mode.
    QVERIFY(m_pTest->Dlg().SwithPlayMode(m_pTest->Action(QStringLiteral("About"))));
    m_pTest->Dlg().PlayProcess();
    QCOMPARE(m_pTest->State(), 1);
    QVERIFY(m_pTest->Dlg().SwithPlayMode(m_pTest->Action(QStringLiteral("Single Play"))));
    m_pTest->Dlg().PlayProcess();
    QCOMPARE(m_pTest->State(), 3);
}

void CStatusTest::Mode1Stops() {
    PlayList({"/rec/a.mp4", "/rec/b.mp4"}, {}, 0, "Single Play");
    m_pTest->Dlg().PlayProcess();
    QCOMPARE(m_pTest->State(), 3);
    QCOMPARE(CurrentRow(), 0);
}

void CStatusTest::Mode2OpensTheNextUnmarkedEntry() {
    PlayList({"/rec/a.mp4", "/rec/b.mp4", "/rec/c.mp4"}, {1}, 0, "Playlist Play");
    m_pTest->Dlg().PlayProcess();
    QCOMPARE(m_pTest->State(), 1);
    QCOMPARE(Opened(), QStringLiteral("c.mp4"));
    QCOMPARE(CurrentRow(), 2);
    QCOMPARE(m_pTest->Fake().CountCalls("Dravo_OpenFile(1, \"/rec/b.mp4\")"), 0);
}

void CStatusTest::Mode2StopsAfterTheLast() {
    PlayList({"/rec/a.mp4", "/rec/b.mp4"}, {}, 1, "Playlist Play");
    m_pTest->Dlg().PlayProcess();
    QCOMPARE(m_pTest->State(), 3);
    QCOMPARE(Opened(), QStringLiteral("b.mp4"));
}

void CStatusTest::Mode2StopsWhenAllThatIsLeftIsMarked() {
    PlayList({"/rec/a.mp4", "/rec/b.mp4", "/rec/c.mp4"}, {1, 2}, 0, "Playlist Play");
    m_pTest->Dlg().PlayProcess();
    QCOMPARE(m_pTest->State(), 3);
    QCOMPARE(CurrentRow(), 2);
}

void CStatusTest::Mode3StartsAgain() {
    PlayList({"/rec/a.mp4"}, {}, 0, "Single Repeat");
    m_pTest->Dlg().PlayProcess();
    QCOMPARE(m_pTest->State(), 1);
    QCOMPARE(m_pTest->Commands(), QStringList({"Dravo_SetCurrentFrameNum(2, 0)"}));
}

void CStatusTest::Mode4StartsAgainFromTheTop() {
    PlayList({"/rec/a.mp4", "/rec/b.mp4", "/rec/c.mp4"}, {0}, 2, "Playlist Repeat");
    m_pTest->Dlg().PlayProcess();
    QCOMPARE(m_pTest->State(), 1);
    QCOMPARE(Opened(), QStringLiteral("b.mp4"));
    QCOMPARE(CurrentRow(), 1);
}

void CStatusTest::Mode4DoesNotTestTheLastEntry() {
    PlayList({"/rec/a.mp4", "/rec/b.mp4", "/rec/c.mp4"}, {0, 1}, 2, "Playlist Repeat");
    m_pTest->Dlg().PlayProcess();
    QCOMPARE(m_pTest->State(), 3);
    QCOMPARE(CurrentRow(), 2);
}

void CStatusTest::Mode4WithOneEntryStops() {
    PlayList({"/rec/a.mp4"}, {}, 0, "Playlist Repeat");
    m_pTest->Dlg().PlayProcess();
    QCOMPARE(m_pTest->State(), 3);
}

void CStatusTest::AnEmptyListStops() {
    for (const char* pMode : {"Playlist Play", "Playlist Repeat"}) {
        PlayList({}, {}, -1, pMode);
        m_pTest->Dlg().PlayProcess();
        QCOMPARE(m_pTest->State(), 3);
    }
}

void CStatusTest::AnEndIsIgnoredWithNothingPlaying() {
    m_pTest->Dlg().PlayProcess();
    QCOMPARE(m_pTest->State(), 0);
    PlayList({"/rec/a.mp4", "/rec/b.mp4"}, {}, 0, "Playlist Play");
    m_pTest->Dlg().Stop();
    m_pTest->Dlg().PlayProcess();
    QCOMPARE(m_pTest->State(), 3);
    QCOMPARE(CurrentRow(), 0);
}

void CStatusTest::AnEndOfAFileThatIsClosedByNowIsIgnored() {
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

void CStatusTest::AnEndOfAStoppedFileIsIgnored() {
    PlayList({"/rec/a.mp4", "/rec/b.mp4"}, {}, 0, "Playlist Play");
    std::thread([&] { m_pTest->Fake().FireFileEnd(m_pTest->Fake().OpenPort()); }).join();
    m_pTest->Dlg().Stop();
    m_pTest->Dlg().PlayOrPause();
    QCoreApplication::processEvents();
    QCOMPARE(Opened(), QStringLiteral("a.mp4"));
    QCOMPARE(m_pTest->State(), 1);
}

void CStatusTest::TheEndsOfTwoFilesInARowMoveOneEntryOn() {
    PlayList({"/rec/a.mp4", "/rec/b.mp4", "/rec/c.mp4", "/rec/d.mp4"}, {}, 0, "Playlist Play");
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

void CStatusTest::AnEndThatNoMessageTellsIsTheCurrentFiles() {
    PlayList({"/rec/a.mp4", "/rec/b.mp4", "/rec/c.mp4"}, {}, 0, "Playlist Play");
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

void CStatusTest::AnEntryThatIsGoneByNowEndsThePlayingWithoutALoop() {
    PlayList({"/rec/a.mp4", "/rec/b.mp4"}, {}, 0, "Playlist Repeat");
    m_pTest->Fake().RefuseFile("/rec/b.mp4");
    m_pTest->Dlg().PlayProcess();
    QCOMPARE(m_pTest->State(), 0);
    QCOMPARE(m_pTest->Playlist().size(), 2);
}

void CStatusTest::ContinuousCaptureWritesEveryDisplayedPicture() {
    m_pTest->Fake().SetPictureSize(4, 4);
    m_pTest->Play();
    QVERIFY(m_pTest->Dlg().ConCap());
    for (int n = 0; n < 120; ++n)
        QVERIFY(FireDisplay());
    QCOMPARE(Captures(), 120);
    QVERIFY(m_pTest->Dlg().ConCap());
    FireDisplay();
    QCOMPARE(Captures(), 120);
}

void CStatusTest::ContinuousCaptureTakesItsOwnTypeAndFolder() {
    const QString strFolder = m_pTest->File(QStringLiteral("连续"));
    QVERIFY(QDir().mkdir(strFolder));
    m_pTest->Fake().SetPictureSize(4, 4);
    m_pTest->Play();
    m_pTest->Dlg().SetConCapPath(strFolder);
    m_pTest->Dlg().SetConCapType(1);
    m_pTest->Dlg().ConCap();
    FireDisplay();
    QCOMPARE(m_pTest->FilesIn(strFolder, QStringLiteral("picture-*.jpeg")).size(), 1);
    QCOMPARE(Captures(), 0);
}

void CStatusTest::ContinuousCaptureIsOffBeforePlayingAndAfterStop() {
    m_pTest->Fake().SetPictureSize(4, 4);
    m_pTest->Dlg().ConCap();
    m_pTest->Dlg().ConCapPic();
    m_pTest->Play();
    m_pTest->Dlg().ConCap();
    m_pTest->Dlg().Stop();
    m_pTest->Dlg().PlayOrPause();
    FireDisplay();
    QCOMPARE(Captures(), 0);
}

void CStatusTest::ContinuousCaptureEndsWithOpeningAnEntry() {
    m_pTest->Fake().SetPictureSize(4, 4);
    m_pTest->Play();
    m_pTest->Dlg().ConCap();
    m_pTest->Play(QStringLiteral("/rec/b.mp4"));
    FireDisplay();
    QCOMPARE(Captures(), 0);
}

void CStatusTest::AFailingContinuousCaptureIsToldOnce() {
    m_pTest->Fake().SetPictureSize(4, 4);
    m_pTest->Play();
    m_pTest->Dlg().SetConCapPath(QStringLiteral("/nowhere/at/all"));
    m_pTest->Dlg().ConCap();
    const QSignalSpy error(&m_pTest->Dlg(), &CTalvioDlg::SendErrorMsg);
    const CModalAnswer answer([](QDialog* pDialog) { pDialog->accept(); });
    std::thread([&] {
        for (int n = 0; n < 5; ++n)
            FireDisplay();
    }).join();
    QCOMPARE(error.count(), 1);
    QTRY_COMPARE(answer.Count(), 1);
    // It is off now.
    m_pTest->Fake().TakeCalls();
    FireDisplay();
    QCOMPARE(m_pTest->Fake().CountCalls("Dravo_GetBMP"), 0);
}

void CStatusTest::ACaptureCutShortByStopIsNoError() {
    m_pTest->Fake().SetPictureSize(4, 4);
    m_pTest->Play();
    m_pTest->Dlg().ConCap();
    const QSignalSpy error(&m_pTest->Dlg(), &CTalvioDlg::SendErrorMsg);
    // The capture begins, and fails when the stop has begun.
    std::atomic<bool> bCapturing = false;
    std::atomic<bool> bStopping = false;
    m_pTest->Fake().SetHook("Dravo_GetBMP", [&] {
        bCapturing = true;
        support::WaitUntil([&] { return bStopping.load(); }, kLimit);
    });
    m_pTest->Fake().SetResult("Dravo_GetBMP", 0);
    m_pTest->Fake().SetHook("Dravo_Stop", [&] { bStopping = true; });
    std::thread library([&] { FireDisplay(); });
    const bool bBegan = support::WaitUntil([&] { return bCapturing.load(); }, kLimit);
    m_pTest->Dlg().Stop();
    library.join();
    QVERIFY(bBegan);
    QVERIFY(bStopping);
    QCoreApplication::processEvents();
    QCOMPARE(error.count(), 0);
}

// The next file's first pictures are displayed while its speed is still being set, before its size is known.
void CStatusTest::NothingIsCapturedWhileTheNextFileOpens() {
    m_pTest->Fake().SetPictureSize(1, 1);
    PlayList({"/rec/a.mp4", "/rec/b.mp4"}, {}, 0, "Playlist Play");
    m_pTest->Dlg().Fast();
    m_pTest->Dlg().Fast();
    m_pTest->Dlg().ConCap();
    const QSignalSpy error(&m_pTest->Dlg(), &CTalvioDlg::SendErrorMsg);
    int nDisplayed = 0;
    m_pTest->Fake().SetHook("Dravo_Fast",
                            [&] { std::thread([&] { nDisplayed += FireDisplay() ? 1 : 0; }).join(); });
    // Too large for a buffer of the first file's size.
    m_pTest->Fake().SetPictureSize(8, 8);
    m_pTest->Fake().SetStills(std::string(200, 'b'), std::string(200, 'j'));
    m_pTest->Dlg().PlayProcess();
    QCOMPARE(Opened(), QStringLiteral("b.mp4"));
    QCOMPARE(nDisplayed, 2);
    QCOMPARE(error.count(), 0);
    QCOMPARE(Captures(), 0);
    // It is still on, and works from now.
    QVERIFY(FireDisplay());
    QCOMPARE(Captures(), 1);
}

void CStatusTest::ContinuousCaptureMeetsEveryOtherCommand() {
    m_pTest->Fake().SetPictureSize(16, 16);
    m_pTest->Play();
    std::atomic<bool> bEnd = false;
    // The library's thread, which displays all the time.
    std::thread library([&] {
        while (!bEnd)
            FireDisplay();
    });
    CTalvioDlg& dlg = m_pTest->Dlg();
    for (int n = 0; n < 60; ++n) {
        dlg.ConCap();
        dlg.SetConCapType(n % 2);
        dlg.SetConCapPath(QDir::currentPath());
        dlg.CapPic();
        dlg.ConCap();
        dlg.Stop();
        dlg.PlayOrPause();
        dlg.ConCap();
        dlg.OpenItemFile(n % 2 != 0 ? QStringLiteral("/rec/a.mp4") : QStringLiteral("/rec/b.mp4"));
    }
    dlg.CloseFile();
    bEnd = true;
    library.join();
    QCOMPARE(m_pTest->State(), 0);
}

QTEST_MAIN(CStatusTest)
#include "test_Status.moc"

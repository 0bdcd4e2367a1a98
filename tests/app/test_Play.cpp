// The play commands: what each asks of the library in each play state.
#include "tests/app/DlgTest.h"
#include "widgets/ControlsBarWidget.h"
#include "widgets/PlayerTitle.h"
#include "widgets/PlaySlider.h"
#include "widgets/SkinButton.h"
#include "widgets/VideoWidget.h"

#include <QAction>
#include <QTest>
#include <QTimer>

class CPlayTest : public QObject {
    Q_OBJECT

  private slots:
    void init() { m_pTest = std::make_unique<CDlgTest>(); }
    void cleanup() { m_pTest.reset(); }

    void OpeningRegistersTheCallbacksAndPlaysWithTheSettings();
    void OpeningAppliesTheSpeedLevel();
    void OpeningStartsTheTimerOnce();
    void TheTimerRunsOnWithoutAFile();
    void OpeningAnotherFileClosesTheFirst();
    void AFileThatTheLibraryRefusesIsNotOpened();
    void AnUnreadableSecondFileLeavesNothingOpen();
    void OpenItemFileRefusesAnEmptyPathAndAnUnknownFile();
    void APathWithEveryKindOfCharacterReachesTheLibraryAsItsBytes();

    void PlayOrPauseByState();
    void PlayingFromStopHandsTheSettingsOverAgain();
    void StopByState();
    void FastAndSlowByState();
    void TheSpeedLadderEndsAtFour();
    void PassingNormalSpeedSwitchesTheLeavingOutOfPictures();
    void ARefusedSpeedStepChangesNothing();
    void StopResetsTheSpeedLevelUntilTheNextPlay();
    void TheFacadeKeepsItsStoredSpeedUntilTheSettingsAreHandedOver();
    void SteppingByState();
    void ARefusedStepForwardChangesNothing();
    void ARefusedStepBackStillBringsTheControlsIntoLine();
    void BackStepsWithoutARefresh();
    void StartAndEndByState();
    void CloseFileByState();
    void ClosingResetsThePictureValues();

    void ThePlaySliderSeeks();
    void SetSpeedClamps_data();
    void SetSpeedClamps();

  private:
    QString Window() { return QString::number(m_pTest->Find<CViewWidget>()->winId()); }

    std::unique_ptr<CDlgTest> m_pTest;
};

void CPlayTest::OpeningRegistersTheCallbacksAndPlaysWithTheSettings() {
    m_pTest->Dlg().SetThrowBNum(1);
    QVERIFY(m_pTest->Dlg().OpenItemFile(QStringLiteral("/rec/a.mp4")));
    const QString strWindow =
        QString::fromStdString(DravoFake::Address(static_cast<CPlayEvents*>(&m_pTest->Dlg())));
    const QString strFacade = QString::fromStdString(DravoFake::Address(m_pTest->Dlg().GetOperate()));
    const QStringList lstExpected = {
        // the list's own check, then the opening's
        "Dravo_OpenFile(1, \"/rec/a.mp4\")", "Dravo_CloseFile(1)", "Dravo_OpenFile(1, \"/rec/a.mp4\")",
        "Dravo_CloseFile(1)",
        // registered before opening
        "Dravo_SetEncTypeChangeCallBack(2, callback, " + strWindow + ")",
        "Dravo_SetFileEndCallback(2, callback, " + strWindow + ")",
        "Dravo_SetFileRefCallBack(2, callback, " + strFacade + ")", "Dravo_SetDisplayCallBack(2, callback)",
        "Dravo_OpenFile(2, \"/rec/a.mp4\")", "Dravo_Play(2, " + Window() + ")", "Dravo_RefreshPlay(2)",
        "Dravo_PlaySound(2)", "Dravo_SetVolume(2, 65535)", "Dravo_SetTimerType(2, 1, 0)",
        "Dravo_SetDeflash(2, 1)", "Dravo_SetDisplayType(2, 1)", "Dravo_SetPicQuality(2, 1)",
        "Dravo_ThrowBFrameNum(2, 1)"};
    QCOMPARE(m_pTest->Commands(), lstExpected);
    QCOMPARE(m_pTest->State(), 1);
}

void CPlayTest::OpeningAppliesTheSpeedLevel() {
    m_pTest->Dlg().SetSpeed(2);
    QVERIFY(m_pTest->Dlg().OpenItemFile(QStringLiteral("/rec/a.mp4")));
    QCOMPARE(m_pTest->Fake().CountCalls("Dravo_Fast(2)"), 2);
}

void CPlayTest::OpeningStartsTheTimerOnce() {
    auto* pTimer = m_pTest->Dlg().findChild<QTimer*>(QString(), Qt::FindDirectChildrenOnly);
    QVERIFY(!pTimer->isActive());
    m_pTest->Play();
    QVERIFY(pTimer->isActive());
    QCOMPARE(pTimer->interval(), 500);
    const int nId = pTimer->timerId();
    m_pTest->Play(QStringLiteral("/rec/b.mp4"));
    QCOMPARE(pTimer->timerId(), nId);
}

void CPlayTest::TheTimerRunsOnWithoutAFile() {
    const auto isRunning = [&] {
        for (const QTimer* pTimer : m_pTest->Dlg().findChildren<QTimer*>(Qt::FindDirectChildrenOnly)) {
            if (pTimer->isActive() && pTimer->interval() == 500) return true;
        }
        return false;
    };
    QVERIFY(!isRunning());
    m_pTest->PlayInto(3);
    QVERIFY(isRunning());
    m_pTest->Dlg().CloseFile();
    QVERIFY(isRunning());
    m_pTest->Fake().RefuseFile("/rec/bad.mp4");
    QVERIFY(!m_pTest->Dlg().OpenItemFile(QStringLiteral("/rec/bad.mp4")));
    QVERIFY(isRunning());
}

void CPlayTest::OpeningAnotherFileClosesTheFirst() {
    m_pTest->Play();
    m_pTest->Dlg().SetHue(9);
    QVERIFY(m_pTest->Dlg().OpenItemFile(QStringLiteral("/rec/b.mp4")));
    const QStringList lstCalls = m_pTest->Commands();
    // After the list's own check: stop, silence, close, give the port back.
    QCOMPARE(lstCalls.mid(2, 4),
             QStringList({"Dravo_Stop(2)", "Dravo_StopSound()", "Dravo_CloseFile(2)", "Dravo_FreePort(2)"}));
    QVERIFY(lstCalls.contains("Dravo_OpenFile(3, \"/rec/b.mp4\")"));
    QCOMPARE(m_pTest->Dlg().GetHue(), 64);
}

void CPlayTest::AFileThatTheLibraryRefusesIsNotOpened() {
    m_pTest->Fake().RefuseFile("");
    m_pTest->Fake().RefuseFile("/rec/a.mp4");
    QVERIFY(!m_pTest->Dlg().Open());
    QVERIFY(!m_pTest->Dlg().OpenItemFile(QStringLiteral("/rec/a.mp4")));
    QCOMPARE(m_pTest->State(), 0);
    QCOMPARE(m_pTest->Fake().CountCalls("Dravo_Play"), 0);
}

void CPlayTest::AnUnreadableSecondFileLeavesNothingOpen() {
    auto* pTimer = m_pTest->Dlg().findChild<QTimer*>(QString(), Qt::FindDirectChildrenOnly);
    auto* pTitle = m_pTest->Find<CPlayerTitle>();
    const auto* pBar = m_pTest->Find<CControlsBarWidget>();
    for (const int nState : {1, 2, 3}) {
        m_pTest->PlayInto(nState);
        m_pTest->Dlg().DrawStatus();
        m_pTest->Dlg().SetHue(9);
        // Gone between the check and the opening.
        m_pTest->Fake().QueueResults("Dravo_OpenFile", {1, 0});
        QVERIFY(m_pTest->Dlg().OpenItemFile(QStringLiteral("/rec/b.mp4")));
        QCOMPARE(m_pTest->State(), 0);
        QCOMPARE(m_pTest->Fake().OpenPort(), 0);
        QCOMPARE(m_pTest->Fake().CountCalls("Dravo_Play"), 0);
        // The status is that of nothing open, and stays so, though the timer runs on.
        for (int nRound = 0; nRound < 2; ++nRound) {
            QCOMPARE(m_pTest->LeftText(), QStringLiteral("Ready"));
            QCOMPARE(m_pTest->RightText(), QString());
            QCOMPARE(pTitle->GetShowFilePath(), QString());
            QCOMPARE(pBar->m_pPlaySlider->maximum(), 0);
            QCOMPARE(pBar->m_pPlayBtn->toolTip(), QStringLiteral("Play"));
            QVERIFY(m_pTest->Find<CViewWidget>()->updatesEnabled());
            QVERIFY(!m_pTest->Action(QStringLiteral("Stop"))->isEnabled());
            QVERIFY(pTimer->isActive());
            m_pTest->Dlg().DrawStatus();
        }
        QCOMPARE(m_pTest->Dlg().GetHue(), 64);
        QCOMPARE(m_pTest->Dlg().GetCurFileName(), QStringLiteral("b.mp4"));
        QVERIFY(!m_pTest->Dlg().PlayOrPause());
    }
}

void CPlayTest::OpenItemFileRefusesAnEmptyPathAndAnUnknownFile() {
    m_pTest->Play();
    QVERIFY(!m_pTest->Dlg().OpenItemFile(QString()));
    m_pTest->Fake().RefuseFile("/rec/b.mp4");
    QVERIFY(!m_pTest->Dlg().OpenItemFile(QStringLiteral("/rec/b.mp4")));
    QCOMPARE(m_pTest->State(), 1);
    QCOMPARE(m_pTest->Dlg().GetCurFileName(), QStringLiteral("a.mp4"));
}

void CPlayTest::APathWithEveryKindOfCharacterReachesTheLibraryAsItsBytes() {
    const QString strPath = QStringLiteral("/录像/a b%20\n\"é.mp4");
    QVERIFY(m_pTest->Dlg().OpenItemFile(strPath));
    const std::string expected = "Dravo_OpenFile(2, \"" + strPath.toStdString() + "\")";
    QCOMPARE(m_pTest->Fake().CountCalls(expected), 1);
}

void CPlayTest::PlayOrPauseByState() {
    QVERIFY(!m_pTest->Dlg().PlayOrPause());
    QVERIFY(m_pTest->Commands().isEmpty());
    m_pTest->Play();
    QVERIFY(m_pTest->Dlg().PlayOrPause());
    QCOMPARE(m_pTest->Commands(), QStringList({"Dravo_Pause(2, 1)"}));
    QCOMPARE(m_pTest->State(), 2);
    QVERIFY(m_pTest->Dlg().PlayOrPause());
    QCOMPARE(m_pTest->Commands(),
             QStringList({"Dravo_Pause(2, 0)", "Dravo_Play(2, " + Window() + ")", "Dravo_RefreshPlay(2)"}));
    QCOMPARE(m_pTest->State(), 1);
}

void CPlayTest::PlayingFromStopHandsTheSettingsOverAgain() {
    m_pTest->PlayInto(3);
    auto* pTimer = m_pTest->Dlg().findChild<QTimer*>(QString(), Qt::FindDirectChildrenOnly);
    pTimer->stop();
    m_pTest->Dlg().SetSpeed(-1);
    QVERIFY(m_pTest->Dlg().PlayOrPause());
    QCOMPARE(m_pTest->Commands(),
             QStringList({"Dravo_Play(2, " + Window() + ")", "Dravo_RefreshPlay(2)", "Dravo_PlaySound(2)",
                          "Dravo_SetVolume(2, 65535)", "Dravo_Slow(2)"}));
    QCOMPARE(m_pTest->State(), 1);
    QVERIFY(pTimer->isActive());
}

void CPlayTest::StopByState() {
    QVERIFY(!m_pTest->Dlg().Stop());
    for (const int nState : {1, 2}) {
        m_pTest->PlayInto(nState);
        m_pTest->Fake().TakeCalls();
        QVERIFY(m_pTest->Dlg().Stop());
        QCOMPARE(m_pTest->Fake().CountCalls("Dravo_Stop("), 1);
        QCOMPARE(m_pTest->State(), 3);
        QVERIFY(!m_pTest->Dlg().Stop());
        QCOMPARE(m_pTest->Fake().CountCalls("Dravo_Stop("), 1);
    }
}

void CPlayTest::FastAndSlowByState() {
    QVERIFY(!m_pTest->Dlg().Fast());
    QVERIFY(!m_pTest->Dlg().Slow());
    m_pTest->PlayInto(2);
    QVERIFY(m_pTest->Dlg().Fast());
    QCOMPARE(m_pTest->Commands(),
             QStringList({"Dravo_Fast(2)", "Dravo_ThrowBFrameNum(2, 2)", "Dravo_RefreshPlay(2)"}));
    QCOMPARE(m_pTest->State(), 1);
    QCOMPARE(m_pTest->Dlg().GetSpeed(), 1);
    m_pTest->Dlg().Stop();
    m_pTest->Fake().TakeCalls();
    QVERIFY(!m_pTest->Dlg().Fast());
    QVERIFY(!m_pTest->Dlg().Slow());
    QVERIFY(m_pTest->Commands().isEmpty());
}

void CPlayTest::TheSpeedLadderEndsAtFour() {
    m_pTest->Play();
    for (int n = 0; n < 4; ++n)
        QVERIFY(m_pTest->Dlg().Fast());
    QVERIFY(!m_pTest->Dlg().Fast());
    QCOMPARE(m_pTest->Dlg().GetSpeed(), 4);
    QCOMPARE(m_pTest->LeftText(), QStringLiteral("Speed * 16"));
    for (int n = 0; n < 8; ++n)
        QVERIFY(m_pTest->Dlg().Slow());
    QVERIFY(!m_pTest->Dlg().Slow());
    QCOMPARE(m_pTest->Dlg().GetSpeed(), -4);
    QCOMPARE(m_pTest->LeftText(), QStringLiteral("Speed / 16"));
}

void CPlayTest::PassingNormalSpeedSwitchesTheLeavingOutOfPictures() {
    m_pTest->Play();
    m_pTest->Dlg().Slow();
    QCOMPARE(m_pTest->Commands(),
             QStringList({"Dravo_Slow(2)", "Dravo_ThrowBFrameNum(2, 0)", "Dravo_RefreshPlay(2)"}));
    m_pTest->Dlg().Fast();
    QCOMPARE(m_pTest->Commands(), QStringList({"Dravo_Fast(2)", "Dravo_RefreshPlay(2)"}));
    m_pTest->Dlg().Fast();
    QVERIFY(m_pTest->Commands().contains("Dravo_ThrowBFrameNum(2, 2)"));
    QCOMPARE(m_pTest->Dlg().GetThrowBNum(), 2);
    m_pTest->Dlg().Fast();
    m_pTest->Commands();
    m_pTest->Dlg().Slow();
    QCOMPARE(m_pTest->Commands(), QStringList({"Dravo_Slow(2)", "Dravo_RefreshPlay(2)"}));
    m_pTest->Dlg().Slow();
    QVERIFY(m_pTest->Commands().contains("Dravo_ThrowBFrameNum(2, 0)"));
    QCOMPARE(m_pTest->Dlg().GetThrowBNum(), 0);
}

void CPlayTest::ARefusedSpeedStepChangesNothing() {
    m_pTest->Play();
    m_pTest->Fake().SetResult("Dravo_Fast", 0);
    m_pTest->Fake().SetResult("Dravo_Slow", 0);
    QVERIFY(!m_pTest->Dlg().Fast());
    QVERIFY(!m_pTest->Dlg().Slow());
    QCOMPARE(m_pTest->Commands(), QStringList({"Dravo_Fast(2)", "Dravo_Slow(2)"}));
    QCOMPARE(m_pTest->Dlg().GetSpeed(), 0);
}

void CPlayTest::StopResetsTheSpeedLevelUntilTheNextPlay() {
    m_pTest->Play();
    m_pTest->Dlg().Fast();
    m_pTest->Dlg().Stop();
    QCOMPARE(m_pTest->Dlg().GetSpeed(), 0);
    m_pTest->Fake().TakeCalls();
    m_pTest->Dlg().PlayOrPause();
    QCOMPARE(m_pTest->Fake().CountCalls("Dravo_Fast"), 0);
    QCOMPARE(m_pTest->LeftText(), QStringLiteral("Playing"));
}

void CPlayTest::TheFacadeKeepsItsStoredSpeedUntilTheSettingsAreHandedOver() {
    m_pTest->Dlg().SetSpeed(2);
    m_pTest->Play();
    m_pTest->Dlg().Stop();
    QCOMPARE(m_pTest->Dlg().GetSpeed(), 0);
    m_pTest->Fake().TakeCalls();
    QVERIFY(m_pTest->Dlg().GetOperate()->Play());
    QCOMPARE(m_pTest->Fake().CountCalls("Dravo_Fast(2)"), 2);
    m_pTest->Dlg().Stop();
    m_pTest->Fake().TakeCalls();
    m_pTest->Dlg().SetPara();
    QVERIFY(m_pTest->Dlg().GetOperate()->Play());
    QCOMPARE(m_pTest->Fake().CountCalls("Dravo_Fast"), 0);
}

void CPlayTest::SteppingByState() {
    QVERIFY(!m_pTest->Dlg().NextFrame());
    QVERIFY(!m_pTest->Dlg().LastFrame());
    m_pTest->Play();
    QVERIFY(m_pTest->Dlg().NextFrame());
    QCOMPARE(m_pTest->Commands(),
             QStringList({"Dravo_ThrowBFrameNum(2, 0)", "Dravo_OneByOne(2)", "Dravo_RefreshPlay(2)"}));
    QCOMPARE(m_pTest->State(), 2);
    QCOMPARE(m_pTest->LeftText(), QStringLiteral("Pause"));
    QVERIFY(m_pTest->Dlg().LastFrame());
    QCOMPARE(m_pTest->Commands(), QStringList({"Dravo_OneByOneBack(2)", "Dravo_RefreshPlay(2)"}));
    m_pTest->Dlg().Stop();
    m_pTest->Commands();
    QVERIFY(!m_pTest->Dlg().NextFrame());
    QVERIFY(!m_pTest->Dlg().LastFrame());
    QVERIFY(m_pTest->Commands().isEmpty());
}

void CPlayTest::ARefusedStepForwardChangesNothing() {
    m_pTest->Play();
    m_pTest->Fake().SetResult("Dravo_OneByOne", 0);
    QVERIFY(!m_pTest->Dlg().NextFrame());
    QCOMPARE(m_pTest->State(), 1);
    QCOMPARE(m_pTest->Fake().CountCalls("Dravo_RefreshPlay"), 0);
}

void CPlayTest::ARefusedStepBackStillBringsTheControlsIntoLine() {
    m_pTest->Play();
    m_pTest->Fake().SetResult("Dravo_OneByOneBack", 0);
    m_pTest->Dlg().GetOperate()->SetCurrentState(2); // nobody has told the controls
    QCOMPARE(m_pTest->LeftText(), QStringLiteral("Playing"));
    QVERIFY(!m_pTest->Dlg().LastFrame());
    QCOMPARE(m_pTest->LeftText(), QStringLiteral("Pause"));
    QCOMPARE(m_pTest->Commands(), QStringList({"Dravo_OneByOneBack(2)", "Dravo_RefreshPlay(2)"}));
}

void CPlayTest::BackStepsWithoutARefresh() {
    m_pTest->Play();
    QVERIFY(m_pTest->Dlg().Back());
    QCOMPARE(m_pTest->Commands(), QStringList({"Dravo_OneByOneBack(2)"}));
    QCOMPARE(m_pTest->LeftText(), QStringLiteral("Pause"));
}

void CPlayTest::StartAndEndByState() {
    QVERIFY(!m_pTest->Dlg().Start());
    QVERIFY(!m_pTest->Dlg().End());
    m_pTest->Play();
    QVERIFY(m_pTest->Dlg().Start());
    QVERIFY(m_pTest->Dlg().End());
    QCOMPARE(m_pTest->Commands(),
             QStringList({"Dravo_SetCurrentFrameNum(2, 0)", "Dravo_SetCurrentFrameNum(2, 250)"}));
    m_pTest->Dlg().Stop();
    m_pTest->Commands();
    QVERIFY(!m_pTest->Dlg().Start());
    QVERIFY(!m_pTest->Dlg().End());
    QVERIFY(m_pTest->Commands().isEmpty());
}

void CPlayTest::CloseFileByState() {
    QVERIFY(!m_pTest->Dlg().CloseFile());
    for (const int nState : {1, 2, 3}) {
        m_pTest->PlayInto(nState);
        QVERIFY(m_pTest->Dlg().CloseFile());
        QCOMPARE(m_pTest->Fake().CountCalls("Dravo_CloseFile"), 1);
        QCOMPARE(m_pTest->State(), 0);
        QCOMPARE(m_pTest->LeftText(), QStringLiteral("Ready"));
        QCOMPARE(m_pTest->Dlg().size(), QSize(750, 480));
    }
}

void CPlayTest::ClosingResetsThePictureValues() {
    m_pTest->Play();
    CTalvioDlg& dlg = m_pTest->Dlg();
    dlg.SetBrightness(1);
    dlg.SetContrast(2);
    dlg.SetChromaticity(3);
    dlg.SetHue(4);
    QVERIFY(dlg.CloseFile());
    QCOMPARE(dlg.GetBrightness(), 64);
    QCOMPARE(dlg.GetContrast(), 64);
    QCOMPARE(dlg.GetChromaticity(), 64);
    QCOMPARE(dlg.GetHue(), 64);
    QCOMPARE(m_pTest->Fake().CountCalls("Dravo_SetColor"), 0);
}

void CPlayTest::ThePlaySliderSeeks() {
    QVERIFY(!m_pTest->Dlg().SetPlaySlider(100));
    m_pTest->Play();
    QVERIFY(m_pTest->Dlg().SetPlaySlider(65535));
    QCOMPARE(m_pTest->Commands(), QStringList({"Dravo_SetPlayPos(2, 1)"}));
    QVERIFY(m_pTest->Dlg().SetPlaySlider(0));
    QCOMPARE(m_pTest->Commands(), QStringList({"Dravo_SetPlayPos(2, 0)"}));
    m_pTest->Dlg().Stop();
    m_pTest->Commands();
    QVERIFY(!m_pTest->Dlg().SetPlaySlider(100));
    QVERIFY(m_pTest->Commands().isEmpty());
}

void CPlayTest::SetSpeedClamps_data() {
    QTest::addColumn<int>("given");
    QTest::addColumn<int>("kept");
    for (const auto& [nGiven, nKept] : {std::pair{5, 4}, {4, 4}, {100, 4}, {0, 0}, {-4, -4}, {-5, -4}}) {
        QTest::addRow("%d", nGiven) << nGiven << nKept;
    }
}

void CPlayTest::SetSpeedClamps() {
    QFETCH(int, given);
    QFETCH(int, kept);
    m_pTest->Play();
    m_pTest->Dlg().SetSpeed(given);
    QCOMPARE(m_pTest->Dlg().GetSpeed(), kept);
    QVERIFY(m_pTest->Commands().isEmpty());
}

QTEST_MAIN(CPlayTest)
#include "test_Play.moc"

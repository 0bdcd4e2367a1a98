// The play commands: what each asks of the library in each play state, and what the controls show afterwards.
#include "tests/app/DlgTest.h"
#include "widgets/ControlsBarWidget.h"
#include "widgets/PlayerTitle.h"
#include "widgets/PlaySlider.h"
#include "widgets/SkinButton.h"
#include "widgets/SoundSlider.h"
#include "widgets/VideoWidget.h"

#include <QAction>
#include <QDir>
#include <QImage>
#include <QLabel>
#include <QMenu>
#include <QMessageBox>
#include <QPushButton>
#include <QTest>
#include <QTimer>

#include <functional>

class CPlayTest : public QObject {
    Q_OBJECT

  private slots:
    void init() { m_pTest = std::make_unique<CDlgTest>(); }
    void cleanup() { m_pTest.reset(); }

    void OpeningRegistersTheCallbacksAndPlaysWithTheSettings();
    void OpeningTakesTheVolumeFromTheSlider();
    void OpeningAppliesTheSpeedLevel();
    void OpeningStartsTheTimerOnce();
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
    void BackStepsWithoutARefresh();
    void StartAndEndByState();
    void CloseFileByState();
    void ClosingResetsThePictureValues();

    void MutingAndUnmuting();
    void TheVolumeKeysMoveByATenth();
    void TheVolumeKeysStopAtTheEnds();
    void AVolumeKeyUnmutes();
    void TheSoundSliderSetsTheVolume();
    void ThePlaySliderSeeks();
    void SetSpeedClamps_data();
    void SetSpeedClamps();

    void TheControlsFollowTheState();
    void TheTitleBarShowsTheFileNameUnlessNothingIsOpen();
    void TheVideoSurfaceShowsLogoPictureOrBlankGroundByState();
    void ClosedStateDisablesExactlyTheFileCommands();
    void TheSpeedIsShown();

    void ACaptureWritesOnePictureIntoItsFolder();
    void ACaptureTypeOtherThanZeroIsJpeg();
    void AFailedCaptureIsReported();
    void ACaptureIsRefusedWithNothingPlaying();
    void ACaptureEndsContinuousCapture();

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

void CPlayTest::OpeningTakesTheVolumeFromTheSlider() {
    m_pTest->Find<CSoundSlider>()->setValue(1000);
    m_pTest->Play();
    m_pTest->Dlg().SoundUp();
    QVERIFY(m_pTest->Commands().contains("Dravo_SetVolume(2, 7553)"));
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
    m_pTest->Play();
    // Gone between the check and the opening.
    m_pTest->Fake().QueueResults("Dravo_OpenFile", {1, 0});
    QVERIFY(m_pTest->Dlg().OpenItemFile(QStringLiteral("/rec/b.mp4")));
    QCOMPARE(m_pTest->State(), 0);
    QCOMPARE(m_pTest->LeftText(), QStringLiteral("Ready"));
    QVERIFY(!m_pTest->Action(QStringLiteral("Stop"))->isEnabled());
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

void CPlayTest::MutingAndUnmuting() {
    m_pTest->Play();
    CSkinButton* pButton = m_pTest->Find<CControlsBarWidget>()->m_pSoundBtn;
    QVERIFY(m_pTest->Dlg().Sound());
    QVERIFY(!m_pTest->Dlg().GetSoundStatus());
    QCOMPARE(m_pTest->Commands(), QStringList({"Dravo_StopSound()"}));
    QVERIFY(m_pTest->Action(QStringLiteral("Mute"))->isChecked());
    QVERIFY(PaintsSkin(pButton, QStringLiteral("volumeoff")));
    QVERIFY(m_pTest->Dlg().Sound());
    QCOMPARE(m_pTest->Commands(), QStringList({"Dravo_PlaySound(2)", "Dravo_SetVolume(2, 65535)"}));
    QVERIFY(!m_pTest->Action(QStringLiteral("Mute"))->isChecked());
    QVERIFY(PaintsSkin(pButton, QStringLiteral("volumeon")));
    // With no file too: the next one opens muted.
    m_pTest->Dlg().CloseFile();
    QVERIFY(m_pTest->Dlg().Sound());
    m_pTest->Play();
    QVERIFY(!m_pTest->Dlg().GetSoundStatus());
}

void CPlayTest::TheVolumeKeysMoveByATenth() {
    m_pTest->Play();
    auto* pSlider = m_pTest->Find<CSoundSlider>();
    QVERIFY(m_pTest->Dlg().SoundDown());
    QCOMPARE(pSlider->value(), 65535 - 6553);
    QCOMPARE(m_pTest->Commands().last(), QStringLiteral("Dravo_SetVolume(2, 58982)"));
    QVERIFY(m_pTest->Dlg().SoundUp());
    QCOMPARE(pSlider->value(), 65535);
}

void CPlayTest::TheVolumeKeysStopAtTheEnds() {
    m_pTest->Play();
    auto* pSlider = m_pTest->Find<CSoundSlider>();
    pSlider->setValue(60000);
    m_pTest->Dlg().SoundUp();
    QCOMPARE(pSlider->value(), 65535);
    pSlider->setValue(5000);
    m_pTest->Dlg().SoundDown();
    QCOMPARE(pSlider->value(), 0);
    QCOMPARE(m_pTest->Commands().last(), QStringLiteral("Dravo_SetVolume(2, 0)"));
}

void CPlayTest::AVolumeKeyUnmutes() {
    m_pTest->Play();
    m_pTest->Dlg().Sound();
    m_pTest->Dlg().SoundDown();
    QVERIFY(m_pTest->Dlg().GetSoundStatus());
    QVERIFY(!m_pTest->Action(QStringLiteral("Mute"))->isChecked());
}

void CPlayTest::TheSoundSliderSetsTheVolume() {
    m_pTest->Play();
    m_pTest->Find<CSoundSlider>()->setValue(300);
    QCOMPARE(m_pTest->Commands(), QStringList({"Dravo_PlaySound(2)", "Dravo_SetVolume(2, 300)"}));
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

void CPlayTest::TheControlsFollowTheState() {
    CTalvioDlg& dlg = m_pTest->Dlg();
    const auto* pBar = m_pTest->Find<CControlsBarWidget>();
    const auto shown = [&] {
        return QStringLiteral("%1|%2|%3|%4|%5")
            .arg(m_pTest->LeftText(), m_pTest->RightText())
            .arg(pBar->m_pPlaySlider->maximum())
            .arg(pBar->m_pPlayBtn->toolTip(), PaintsSkin(pBar->m_pPlayBtn, "pause") ? "pause" : "play");
    };
    QCOMPARE(shown(), QStringLiteral("Ready||0|Play|play"));
    m_pTest->Play();
    QCOMPARE(shown(), QStringLiteral("Playing||65535|Pause|pause"));
    dlg.DrawStatus();
    const QString strProgress = m_pTest->RightText();
    QVERIFY(!strProgress.isEmpty());
    dlg.PlayOrPause();
    QCOMPARE(shown(), QStringLiteral("Pause|%1|65535|Play|play").arg(strProgress));
    dlg.Stop();
    QCOMPARE(shown(), QStringLiteral("Stop||0|Play|play"));
    dlg.CloseFile();
    QCOMPARE(shown(), QStringLiteral("Ready||0|Play|play"));
    QCOMPARE(pBar->m_pPlaySlider->value(), 0);
}

// The bar tells its text by painting it: like a bar that was given the expected one.
void CPlayTest::TheTitleBarShowsTheFileNameUnlessNothingIsOpen() {
    auto* pTitle = m_pTest->Find<CPlayerTitle>();
    const auto painted = [&](const QString& strText) {
        pTitle->SetShowFilePath(strText);
        return pTitle->grab().toImage();
    };
    // Each command finds a text that is not its own.
    const auto after = [&](const std::function<void()>& command) {
        pTitle->SetShowFilePath(QStringLiteral("other"));
        command();
        return pTitle->grab().toImage();
    };
    CTalvioDlg& dlg = m_pTest->Dlg();
    QVERIFY(painted(QStringLiteral("a.mp4")) != painted(QString()));
    QVERIFY(painted(QStringLiteral("a.mp4")) != painted(QStringLiteral("other")));
    QImage shown = after([&] { m_pTest->Play(QStringLiteral("/rec/a.mp4")); });
    QCOMPARE(shown, painted(QStringLiteral("a.mp4")));
    // The same by the state alone, which the opening does not come before.
    shown = after([&] { dlg.SetState(); });
    QCOMPARE(shown, painted(QStringLiteral("a.mp4")));
    shown = after([&] { dlg.PlayOrPause(); });
    QCOMPARE(m_pTest->State(), 2);
    QCOMPARE(shown, painted(QStringLiteral("a.mp4")));
    shown = after([&] { dlg.Stop(); });
    QCOMPARE(shown, painted(QStringLiteral("a.mp4")));
    shown = after([&] { dlg.CloseFile(); });
    QCOMPARE(shown, painted(QString()));
}

void CPlayTest::TheVideoSurfaceShowsLogoPictureOrBlankGroundByState() {
    auto* pView = m_pTest->Find<CViewWidget>();
    const auto painted = [&] { return pView->grab().toImage(); };
    const auto logo = [&] {
        pView->SetStatus(true, false, false);
        return painted();
    };
    const auto blank = [&] {
        pView->SetStatus(false, true, false);
        return painted();
    };
    QVERIFY(logo() != blank());
    const auto libraryDraws = [&] { return pView->paintEngine() == nullptr && !pView->updatesEnabled(); };

    // Each command finds the surface in another status.
    CTalvioDlg& dlg = m_pTest->Dlg();
    m_pTest->Play();
    QVERIFY(libraryDraws());
    pView->SetStatus(true, false, false);
    dlg.PlayOrPause();
    QCOMPARE(m_pTest->State(), 2);
    QVERIFY(libraryDraws());
    dlg.Stop();
    QVERIFY(!libraryDraws());
    QImage shown = painted();
    QCOMPARE(shown, blank());
    dlg.CloseFile();
    QVERIFY(!libraryDraws());
    shown = painted();
    QCOMPARE(shown, logo());
}

void CPlayTest::ClosedStateDisablesExactlyTheFileCommands() {
    const QSet<QString> setFile = {"Play/Pause",  "Stop",        "File Information",
                                   "Close File",  "Cappic",      "Continue Cappic",
                                   "Full Screen", "Normal Size", "2 Times Size"};
    const auto check = [&](bool bOpen) {
        for (const QAction* pAction : m_pTest->Dlg().findChildren<QAction*>(Qt::FindDirectChildrenOnly)) {
            if (pAction->menu() != nullptr) continue;
            const bool bExpected = bOpen || !setFile.contains(pAction->text());
            if (pAction->isEnabled() != bExpected) return pAction->text();
        }
        for (const QMenu* pMenu : m_pTest->Dlg().findChildren<QMenu*>()) {
            const bool bFile = pMenu->title() == "Play Control" || pMenu->title() == "Tools";
            if (pMenu->isEnabled() != (bOpen || !bFile)) return pMenu->title();
        }
        return QString();
    };
    QCOMPARE(check(false), QString());
    for (const int nState : {1, 2, 3}) {
        m_pTest->PlayInto(nState);
        QCOMPARE(check(true), QString());
    }
    m_pTest->Dlg().CloseFile();
    QCOMPARE(check(false), QString());
}

void CPlayTest::TheSpeedIsShown() {
    m_pTest->Play();
    m_pTest->Dlg().Fast();
    QCOMPARE(m_pTest->LeftText(), QStringLiteral("Speed * 2"));
    m_pTest->Dlg().Slow();
    QCOMPARE(m_pTest->LeftText(), QStringLiteral("Playing"));
    m_pTest->Dlg().Slow();
    QCOMPARE(m_pTest->LeftText(), QStringLiteral("Speed / 2"));
}

void CPlayTest::ACaptureWritesOnePictureIntoItsFolder() {
    const QString strFolder = m_pTest->File(QStringLiteral("图 片"));
    QVERIFY(QDir().mkdir(strFolder));
    m_pTest->Fake().SetPictureSize(4, 4);
    m_pTest->Play();
    m_pTest->Dlg().SetCapPath(strFolder);
    QVERIFY(m_pTest->Dlg().CapPic());
    QCOMPARE(m_pTest->FilesIn(strFolder, QStringLiteral("picture-*.bmp")).size(), 1);
    QCOMPARE(m_pTest->FilesIn(strFolder, QStringLiteral("*")).size(), 1);
}

void CPlayTest::ACaptureTypeOtherThanZeroIsJpeg() {
    m_pTest->Fake().SetPictureSize(4, 4);
    m_pTest->Play();
    m_pTest->Dlg().SetCapType(7);
    QVERIFY(m_pTest->Dlg().CapPic());
    QCOMPARE(m_pTest->FilesIn(QDir::currentPath(), QStringLiteral("picture-*.jpeg")).size(), 1);
}

void CPlayTest::AFailedCaptureIsReported() {
    m_pTest->Fake().SetPictureSize(4, 4);
    m_pTest->Play();
    m_pTest->Dlg().SetCapPath(QStringLiteral("/nowhere/at/all"));
    m_pTest->Dlg().ConCap();
    QString strShown;
    const CModalAnswer answer([&](QDialog* pDialog) {
        const auto* pBox = qobject_cast<QMessageBox*>(pDialog);
        if (pBox != nullptr) {
            strShown = QStringLiteral("%1|%2|%3|%4")
                           .arg(pBox->windowTitle(), pBox->text())
                           .arg(int(pBox->icon()))
                           .arg(int(pBox->standardButtons()));
        }
        pDialog->accept();
    });
    QVERIFY(!m_pTest->Dlg().CapPic());
    QCOMPARE(strShown, QStringLiteral("Warning|Cappic Error !|%1|%2")
                           .arg(int(QMessageBox::Warning))
                           .arg(int(QMessageBox::Ok)));
    QCOMPARE(answer.Count(), 1);
}

void CPlayTest::ACaptureIsRefusedWithNothingPlaying() {
    QVERIFY(!m_pTest->Dlg().CapPic());
    m_pTest->PlayInto(3);
    QVERIFY(!m_pTest->Dlg().CapPic());
    QCOMPARE(m_pTest->Fake().CountCalls("Dravo_GetBMP"), 0);
}

void CPlayTest::ACaptureEndsContinuousCapture() {
    m_pTest->Fake().SetPictureSize(4, 4);
    m_pTest->Play();
    m_pTest->Dlg().ConCap();
    QVERIFY(m_pTest->Dlg().CapPic());
    m_pTest->Fake().TakeCalls();
    m_pTest->Fake().FireDisplay(m_pTest->Fake().OpenPort());
    QCOMPARE(m_pTest->Fake().CountCalls("Dravo_GetBMP"), 0);
}

QTEST_MAIN(CPlayTest)
#include "test_Play.moc"

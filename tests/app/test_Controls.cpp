// The controls in line with the play state, and the sound.
#include "tests/app/DlgTest.h"
#include "widgets/ControlsBarWidget.h"
#include "widgets/PlayerTitle.h"
#include "widgets/PlaySlider.h"
#include "widgets/SkinButton.h"
#include "widgets/SoundSlider.h"
#include "widgets/VideoWidget.h"

#include <QAction>
#include <QImage>
#include <QMenu>
#include <QSet>
#include <QSignalBlocker>
#include <QTest>

#include <functional>
#include <utility>

class CControlsTest : public QObject {
    Q_OBJECT

  private slots:
    void init() { m_pTest = std::make_unique<CDlgTest>(); }
    void cleanup() { m_pTest.reset(); }

    void TheControlsFollowTheState();
    void TheTitleBarShowsTheFileNameUnlessNothingIsOpen();
    void TheVideoSurfaceShowsLogoPictureOrBlankGroundByState();
    void ClosedStateDisablesExactlyTheFileCommands();
    void TheSpeedIsShown();

    void OpeningTakesTheVolumeFromTheSlider();
    void MutingAndUnmuting();
    void TheSoundIsSwitchedEvenWhereNothingCanShowIt();
    void TheVolumeKeysMoveByATenth();
    void TheVolumeKeysStopAtTheEnds();
    void AVolumeKeyUnmutes();
    void TheSoundSliderSetsTheVolume();

  private:
    std::unique_ptr<CDlgTest> m_pTest;
};

void CControlsTest::TheControlsFollowTheState() {
    CTalvioDlg& dlg = m_pTest->Dlg();
    const auto* pBar = m_pTest->Find<CControlsBarWidget>();
    const auto images = [pButton = pBar->m_pPlayBtn] {
        for (const char* pName : {"play", "pause"}) {
            if (WrongStates(pButton, pName).isEmpty()) return QString(pName);
        }
        return QStringLiteral("neither");
    };
    const auto shown = [&] {
        return QStringLiteral("%1|%2|%3|%4|%5")
            .arg(m_pTest->LeftText(), m_pTest->RightText())
            .arg(pBar->m_pPlaySlider->maximum())
            .arg(pBar->m_pPlayBtn->toolTip(), images());
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
void CControlsTest::TheTitleBarShowsTheFileNameUnlessNothingIsOpen() {
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

void CControlsTest::TheVideoSurfaceShowsLogoPictureOrBlankGroundByState() {
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

void CControlsTest::ClosedStateDisablesExactlyTheFileCommands() {
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

void CControlsTest::TheSpeedIsShown() {
    m_pTest->Play();
    m_pTest->Dlg().Fast();
    QCOMPARE(m_pTest->LeftText(), QStringLiteral("Speed * 2"));
    m_pTest->Dlg().Slow();
    QCOMPARE(m_pTest->LeftText(), QStringLiteral("Playing"));
    m_pTest->Dlg().Slow();
    QCOMPARE(m_pTest->LeftText(), QStringLiteral("Speed / 2"));
}

void CControlsTest::OpeningTakesTheVolumeFromTheSlider() {
    {
        // Nobody hears of this but who asks the slider.
        auto* pSlider = m_pTest->Find<CSoundSlider>();
        const QSignalBlocker silent(pSlider);
        pSlider->setValue(1000);
    }
    m_pTest->Play();
    m_pTest->Dlg().SoundUp();
    QVERIFY(m_pTest->Commands().contains("Dravo_SetVolume(2, 7553)"));
}

void CControlsTest::MutingAndUnmuting() {
    m_pTest->Play();
    CSkinButton* pButton = m_pTest->Find<CControlsBarWidget>()->m_pSoundBtn;
    QVERIFY(m_pTest->Dlg().Sound());
    QVERIFY(!m_pTest->Dlg().GetSoundStatus());
    QCOMPARE(m_pTest->Commands(), QStringList({"Dravo_StopSound()"}));
    QVERIFY(m_pTest->Action(QStringLiteral("Mute"))->isChecked());
    QCOMPARE(WrongStatesOfOne(pButton, "volumeoff"), QString());
    QVERIFY(m_pTest->Dlg().Sound());
    QCOMPARE(m_pTest->Commands(), QStringList({"Dravo_PlaySound(2)", "Dravo_SetVolume(2, 65535)"}));
    QVERIFY(!m_pTest->Action(QStringLiteral("Mute"))->isChecked());
    QCOMPARE(WrongStates(pButton, "volumeon"), QString());
    // With no file too: the next one opens muted.
    m_pTest->Dlg().CloseFile();
    QVERIFY(m_pTest->Dlg().Sound());
    m_pTest->Fake().TakeCalls();
    QVERIFY(m_pTest->Dlg().OpenItemFile(QStringLiteral("/rec/a.mp4")));
    QVERIFY(!m_pTest->Dlg().GetSoundStatus());
    QCOMPARE(m_pTest->Fake().CountCalls("Dravo_StopSound"), 1);
    QCOMPARE(m_pTest->Fake().CountCalls("Dravo_PlaySound"), 0);
}

void CControlsTest::TheSoundIsSwitchedEvenWhereNothingCanShowIt() {
    m_pTest->Play();
    auto* pBar = m_pTest->Find<CControlsBarWidget>();
    CSkinButton* pButton = std::exchange(pBar->m_pSoundBtn, nullptr);
    QVERIFY(!m_pTest->Dlg().Sound());
    QVERIFY(!m_pTest->Dlg().GetSoundStatus());
    QCOMPARE(m_pTest->Commands(), QStringList());
    QVERIFY(!m_pTest->Action(QStringLiteral("Mute"))->isChecked());
    pBar->m_pSoundBtn = pButton;
    // The next switch goes by what it is now.
    QVERIFY(m_pTest->Dlg().Sound());
    QCOMPARE(m_pTest->Commands(), QStringList({"Dravo_PlaySound(2)", "Dravo_SetVolume(2, 65535)"}));
}

void CControlsTest::TheVolumeKeysMoveByATenth() {
    m_pTest->Play();
    auto* pSlider = m_pTest->Find<CSoundSlider>();
    QVERIFY(m_pTest->Dlg().SoundDown());
    QCOMPARE(pSlider->value(), 65535 - 6553);
    QCOMPARE(m_pTest->Commands().last(), QStringLiteral("Dravo_SetVolume(2, 58982)"));
    QVERIFY(m_pTest->Dlg().SoundUp());
    QCOMPARE(pSlider->value(), 65535);
}

void CControlsTest::TheVolumeKeysStopAtTheEnds() {
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

void CControlsTest::AVolumeKeyUnmutes() {
    m_pTest->Play();
    m_pTest->Dlg().Sound();
    m_pTest->Dlg().SoundDown();
    QVERIFY(m_pTest->Dlg().GetSoundStatus());
    QVERIFY(!m_pTest->Action(QStringLiteral("Mute"))->isChecked());
}

void CControlsTest::TheSoundSliderSetsTheVolume() {
    m_pTest->Play();
    m_pTest->Find<CSoundSlider>()->setValue(300);
    QCOMPARE(m_pTest->Commands(), QStringList({"Dravo_PlaySound(2)", "Dravo_SetVolume(2, 300)"}));
}

QTEST_MAIN(CControlsTest)
#include "test_Controls.moc"

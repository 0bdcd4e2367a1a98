// The status line: its texts, the position bar, and when they are drawn.
#include "tests/app/DlgTest.h"
#include "tests/widgets/PaintCounter.h"
#include "widgets/ControlsBarWidget.h"
#include "widgets/PlayerTitle.h"
#include "widgets/PlaySlider.h"
#include "widgets/PlayStatusWidget.h"
#include "widgets/SkinButton.h"
#include "widgets/StaticTitle.h"
#include "widgets/VideoWidget.h"

#include <QImage>
#include <QLineEdit>
#include <QTest>

class CStatusTest : public QObject {
    Q_OBJECT

  private slots:
    void init() { m_pTest = std::make_unique<CDlgTest>(); }
    void cleanup() { m_pTest.reset(); }

    void TheStatusLineShowsFrameAndTime_data();
    void TheStatusLineShowsFrameAndTime();
    void ProgressStandsAtTheRightAndTheStateInTheMiddle();
    void ThePositionBarFollows();
    void OfAnEmptyFileThePositionIsTheStart();
    void AHeldHandleIsLeftAlone();
    void WithNothingOpenNothingIsDrawn();
    void AStopByTheLibraryIsReflected();
    void AFileThatBecomesCurrentWhileStoppedIsNamed();
    void AFilmThatStandsCostsNoPainting();
    void TheTimerDrawsTheStatus();

  private:
    // The alignments of its text with which a label would look as it does now.
    static QList<int> AlignmentsLike(CStaticText* pLabel) {
        const QImage shown = pLabel->grab().toImage();
        QList<int> lstAlike;
        for (const int nAlign : {0, 1, 2}) {
            pLabel->SetStaticText(pLabel->GetStaticText(), nAlign);
            if (pLabel->grab().toImage() == shown) lstAlike.append(nAlign);
        }
        return lstAlike;
    }

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

void CStatusTest::ProgressStandsAtTheRightAndTheStateInTheMiddle() {
    CTalvioDlg& dlg = m_pTest->Dlg();
    dlg.show();
    const auto* pStrip = m_pTest->Find<CPlayStatusWidget>();
    const QList<int> lstMiddle = {0};
    const QList<int> lstRight = {2};
    QCOMPARE(AlignmentsLike(pStrip->m_pLeftText), lstMiddle);
    m_pTest->Play();
    QCOMPARE(AlignmentsLike(pStrip->m_pLeftText), lstMiddle);
    dlg.DrawStatus();
    QVERIFY(!m_pTest->RightText().isEmpty());
    QCOMPARE(AlignmentsLike(pStrip->m_pRightText), lstRight);
    dlg.PlayOrPause();
    QCOMPARE(m_pTest->LeftText(), QStringLiteral("Pause"));
    QCOMPARE(AlignmentsLike(pStrip->m_pLeftText), lstMiddle);
    dlg.GetOperate()->SetCurrentState(3);
    dlg.DrawStatus();
    QCOMPARE(m_pTest->LeftText(), QStringLiteral("Stop"));
    QCOMPARE(AlignmentsLike(pStrip->m_pLeftText), lstMiddle);
    dlg.CloseFile();
    QCOMPARE(m_pTest->LeftText(), QStringLiteral("Ready"));
    QCOMPARE(AlignmentsLike(pStrip->m_pLeftText), lstMiddle);
}

void CStatusTest::ThePositionBarFollows() {
    m_pTest->Play();
    m_pTest->Fake().SetPlayPos(0.5F);
    m_pTest->Dlg().DrawStatus();
    QCOMPARE(m_pTest->Find<CPlaySlider>()->value(), 32767);
    // Its own moves are no seeks.
    QCOMPARE(m_pTest->Fake().CountCalls("Dravo_SetPlayPos"), 0);
}

void CStatusTest::OfAnEmptyFileThePositionIsTheStart() {
    m_pTest->Fake().SetResult("Dravo_GetFileTotalFrames", 0);
    m_pTest->Fake().SetPlayPos(0.5F);
    QVERIFY(m_pTest->Dlg().OpenItemFile(QStringLiteral("/rec/a.mp4")));
    auto* pSlider = m_pTest->Find<CPlaySlider>();
    pSlider->setValue(100);
    m_pTest->Dlg().DrawStatus();
    QCOMPARE(pSlider->maximum(), 65535);
    QCOMPARE(pSlider->value(), 0);
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

void CStatusTest::AFilmThatStandsCostsNoPainting() {
    m_pTest->Dlg().show();
    for (const int nState : {2, 3}) {
        m_pTest->PlayInto(nState);
        m_pTest->Dlg().DrawStatus();
        QCoreApplication::processEvents();
        std::vector<std::unique_ptr<CPaintCounter>> counters;
        for (QWidget* pWidget : m_pTest->Dlg().findChildren<QWidget*>())
            counters.push_back(std::make_unique<CPaintCounter>(pWidget));
        m_pTest->Dlg().DrawStatus();
        QCoreApplication::processEvents();
        for (const auto& pCounter : counters)
            QCOMPARE(pCounter->Taken(), 0);
    }
}

void CStatusTest::AStopByTheLibraryIsReflected() {
    m_pTest->Play();
    m_pTest->Dlg().DrawStatus();
    auto* pTitle = m_pTest->Find<CPlayerTitle>();
    pTitle->SetShowFilePath(QStringLiteral("a.mp4"));
    const QImage named = pTitle->grab().toImage();
    pTitle->SetShowFilePath(QStringLiteral("other"));
    auto* pView = m_pTest->Find<CViewWidget>();
    QVERIFY(!pView->updatesEnabled()); // the library draws
    m_pTest->Dlg().GetOperate()->SetCurrentState(3);
    m_pTest->Dlg().DrawStatus();
    QCOMPARE(pTitle->grab().toImage(), named);
    QVERIFY(pView->updatesEnabled());
    QCOMPARE(m_pTest->LeftText(), QStringLiteral("Stop"));
    QCOMPARE(m_pTest->RightText(), QString());
    QCOMPARE(m_pTest->Find<CPlaySlider>()->maximum(), 0);
    QCOMPARE(WrongStates(m_pTest->Find<CControlsBarWidget>()->m_pPlayBtn, "play"), QString());
}

void CStatusTest::AFileThatBecomesCurrentWhileStoppedIsNamed() {
    m_pTest->PlayInto(3);
    auto* pTitle = m_pTest->Find<CPlayerTitle>();
    QCOMPARE(pTitle->GetShowFilePath(), QStringLiteral("a.mp4"));
    m_pTest->WriteFile(QStringLiteral("added.mp4"), "x");
    const CModalAnswer answer([](QDialog* pDialog) {
        pDialog->findChild<QLineEdit*>()->setText(QStringLiteral("added.mp4"));
        pDialog->accept();
    });
    QVERIFY(m_pTest->Dlg().AddFile());
    m_pTest->Dlg().DrawStatus();
    QCOMPARE(pTitle->GetShowFilePath(), QStringLiteral("added.mp4"));
    QCOMPARE(m_pTest->LeftText(), QStringLiteral("Stop"));
}

void CStatusTest::TheTimerDrawsTheStatus() {
    m_pTest->Play();
    QCOMPARE(m_pTest->RightText(), QString());
    QTRY_COMPARE(m_pTest->RightText(), QStringLiteral("0/250  00:00:00/00:00:10  "));
}

QTEST_MAIN(CStatusTest)
#include "test_Status.moc"

// Full-screen display and what the mouse brings back during it.
#include "playlist/ListBox.h"
#include "playlist/ListTitleBarWidget.h"
#include "tests/app/DlgTest.h"
#include "widgets/ControlsBarWidget.h"
#include "widgets/FloatDlg.h"
#include "widgets/PlayerTitle.h"
#include "widgets/PlayStatusWidget.h"
#include "widgets/SkinButton.h"
#include "widgets/VideoWidget.h"

#include <QAction>
#include <QBoxLayout>
#include <QMimeData>
#include <QMouseEvent>
#include <QScreen>
#include <QTest>

class CFullScreenTest : public QObject {
    Q_OBJECT

  private slots:
    void init() {
        m_pTest = std::make_unique<CDlgTest>();
        m_pTest->Dlg().show();
    }
    void cleanup() { m_pTest.reset(); }

    void WithNothingOpenOrStoppedItIsRefused();
    void ARefusedClickLeavesTheActionUnchecked();
    void EnteringShowsTheVideoAlone();
    void EnteringChecksAndDisablesTheActions();
    void LeavingBringsEverythingBack();
    void AHiddenPlaylistStaysHidden();
    void ThePictureIsRefreshedEachTime();
    void PausedIsEnough();
    void TheBottomOfTheScreenShowsTheControlBarWithoutItsUtilities();
    void TheTopOfTheScreenShowsTheFloatingPanel();
    void TheFloatingPanelAppearsInNormalDisplayToo();
    void ADoubleClickOnTheVideoToggles();
    void OnlyTheFlagFlipsForAnUnknownMode();
    void TheWindowCanBeStretchedAndPutBack();
    void FilesDroppedOnTheVideoAreAdded();
    void TextDroppedOnTheVideoDoesNothing();

  private:
    void MoveTo(const QPoint& pos) {
        QWidget* pView = m_pTest->Find<CViewWidget>();
        QMouseEvent event(QEvent::MouseMove, pos, pView->mapToGlobal(pos), Qt::NoButton, Qt::NoButton,
                          Qt::NoModifier);
        QCoreApplication::sendEvent(pView, &event);
    }
    void DropOnVideo(const QMimeData& data) {
        QWidget* pView = m_pTest->Find<CViewWidget>();
        QDragEnterEvent enter(QPoint(9, 9), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
        QCoreApplication::sendEvent(pView, &enter);
        m_bAccepted = enter.isAccepted();
        if (!m_bAccepted) return;
        QDropEvent drop(QPointF(9, 9), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
        QCoreApplication::sendEvent(pView, &drop);
    }

    std::unique_ptr<CDlgTest> m_pTest;
    bool m_bAccepted = false;
};

void CFullScreenTest::WithNothingOpenOrStoppedItIsRefused() {
    QVERIFY(!m_pTest->Dlg().FullScreen());
    m_pTest->PlayInto(3);
    QVERIFY(!m_pTest->Dlg().FullScreen());
    QVERIFY(!m_pTest->Dlg().GetFullScreenStatus());
    QVERIFY(!m_pTest->Dlg().isFullScreen());
}

void CFullScreenTest::ARefusedClickLeavesTheActionUnchecked() {
    m_pTest->PlayInto(3);
    m_pTest->Action(QStringLiteral("Full Screen"))->trigger();
    QVERIFY(!m_pTest->Action(QStringLiteral("Full Screen"))->isChecked());
}

void CFullScreenTest::EnteringShowsTheVideoAlone() {
    m_pTest->Play();
    QVERIFY(m_pTest->Dlg().FullScreen());
    QVERIFY(m_pTest->Dlg().isFullScreen());
    QVERIFY(!m_pTest->Find<CPlayerTitle>()->isVisible());
    QVERIFY(!m_pTest->Find<CControlsBarWidget>()->isVisible());
    QVERIFY(!m_pTest->Find<CListBox>()->isVisible());
    QVERIFY(!m_pTest->Find<CListTitleBar>()->isVisible());
    QVERIFY(m_pTest->Find<CListBox>()->parentWidget()->isHidden()); // the panel itself
    QVERIFY(!m_pTest->Find<CPlayStatusWidget>()->isVisible());
    QTRY_COMPARE(m_pTest->Find<CViewWidget>()->size(), QGuiApplication::primaryScreen()->size());
    QCOMPARE(m_pTest->Dlg().layout()->contentsMargins(), QMargins());
    QCOMPARE(m_pTest->Dlg().layout()->spacing(), 0);
}

void CFullScreenTest::EnteringChecksAndDisablesTheActions() {
    m_pTest->Play();
    QVERIFY(m_pTest->Dlg().FullScreen());
    QVERIFY(m_pTest->Action(QStringLiteral("Full Screen"))->isChecked());
    QVERIFY(!m_pTest->Action(QStringLiteral("Always"))->isEnabled());
    QVERIFY(!m_pTest->Action(QStringLiteral("Never"))->isEnabled());
    QVERIFY(m_pTest->Action(QStringLiteral("Only Playing"))->isEnabled());
    QVERIFY(m_pTest->Dlg().FullScreen());
    QVERIFY(!m_pTest->Action(QStringLiteral("Full Screen"))->isChecked());
    QVERIFY(m_pTest->Action(QStringLiteral("Always"))->isEnabled());
    QVERIFY(m_pTest->Action(QStringLiteral("Never"))->isEnabled());
}

void CFullScreenTest::LeavingBringsEverythingBack() {
    m_pTest->Play();
    const QRect rcBefore = m_pTest->Dlg().geometry();
    m_pTest->Dlg().FullScreen();
    QVERIFY(m_pTest->Dlg().FullScreen());
    QVERIFY(!m_pTest->Dlg().isFullScreen());
    QTRY_COMPARE(m_pTest->Dlg().geometry(), rcBefore);
    QVERIFY(m_pTest->Find<CPlayerTitle>()->isVisible());
    QVERIFY(m_pTest->Find<CControlsBarWidget>()->isVisible());
    const auto* pBar = m_pTest->Find<CControlsBarWidget>();
    for (const CSkinButton* pButton :
         {pBar->m_pToolBoxBtn, pBar->m_pPlaylistBtn, pBar->m_pLanguageBtn, pBar->m_pOpenFileBtn}) {
        QVERIFY(pButton->isVisible());
    }
    QVERIFY(m_pTest->Find<CListBox>()->isVisible());
    QVERIFY(m_pTest->Find<CListTitleBar>()->isVisible());
    QVERIFY(m_pTest->Find<CListBox>()->parentWidget()->isVisible());
    QVERIFY(m_pTest->Find<CPlayStatusWidget>()->isVisible());
    QCOMPARE(m_pTest->Dlg().layout()->contentsMargins(), QMargins(0, 0, 0, 4));
    QCOMPARE(m_pTest->Dlg().layout()->spacing(), 1);
    QTRY_COMPARE(m_pTest->Find<CControlsBarWidget>()->x(), 4);
}

void CFullScreenTest::AHiddenPlaylistStaysHidden() {
    m_pTest->Play();
    m_pTest->Dlg().IsViewPlaylist();
    m_pTest->Dlg().FullScreen();
    m_pTest->Dlg().FullScreen();
    QVERIFY(!m_pTest->Find<CListBox>()->isVisible());
    QVERIFY(!m_pTest->Find<CListTitleBar>()->isVisible());
}

void CFullScreenTest::ThePictureIsRefreshedEachTime() {
    m_pTest->Play();
    m_pTest->Dlg().FullScreen();
    QCOMPARE(m_pTest->Commands(), QStringList({"Dravo_RefreshPlay(2)"}));
    m_pTest->Dlg().FullScreen();
    QCOMPARE(m_pTest->Commands(), QStringList({"Dravo_RefreshPlay(2)"}));
}

void CFullScreenTest::PausedIsEnough() {
    m_pTest->PlayInto(2);
    QVERIFY(m_pTest->Dlg().FullScreen());
}

void CFullScreenTest::TheBottomOfTheScreenShowsTheControlBarWithoutItsUtilities() {
    m_pTest->Play();
    m_pTest->Dlg().FullScreen();
    const int nHeight = QGuiApplication::primaryScreen()->size().height();
    const auto* pBar = m_pTest->Find<CControlsBarWidget>();
    MoveTo(QPoint(100, nHeight - 65));
    QVERIFY(!pBar->isVisible());
    MoveTo(QPoint(100, nHeight - 64));
    QVERIFY(pBar->isVisible());
    QVERIFY(pBar->m_pPlayBtn->isVisible());
    for (const CSkinButton* pButton :
         {pBar->m_pToolBoxBtn, pBar->m_pPlaylistBtn, pBar->m_pLanguageBtn, pBar->m_pOpenFileBtn}) {
        QVERIFY(!pButton->isVisible());
    }
    MoveTo(QPoint(100, nHeight - 65));
    QVERIFY(!pBar->isVisible());
}

void CFullScreenTest::TheTopOfTheScreenShowsTheFloatingPanel() {
    m_pTest->Play();
    m_pTest->Dlg().FullScreen();
    const auto* pFloat = m_pTest->Find<CFloatDlg>();
    MoveTo(QPoint(300, 21));
    QVERIFY(!pFloat->isVisible());
    MoveTo(QPoint(300, 20));
    QVERIFY(pFloat->isVisible());
    QVERIFY(pFloat->m_pFullScreenBtn->isVisible());
    MoveTo(QPoint(300, 21));
    QVERIFY(!pFloat->isVisible());
}

void CFullScreenTest::TheFloatingPanelAppearsInNormalDisplayToo() {
    MoveTo(QPoint(30, 5));
    QVERIFY(m_pTest->Find<CFloatDlg>()->isVisible());
    MoveTo(QPoint(30, 200));
    QVERIFY(!m_pTest->Find<CFloatDlg>()->isVisible());
}

void CFullScreenTest::ADoubleClickOnTheVideoToggles() {
    QWidget* pView = m_pTest->Find<CViewWidget>();
    QTest::mouseDClick(pView, Qt::LeftButton);
    QVERIFY(!m_pTest->Dlg().GetFullScreenStatus());
    m_pTest->Play();
    QTest::mouseDClick(pView, Qt::LeftButton);
    QVERIFY(m_pTest->Dlg().GetFullScreenStatus());
    QTest::mouseDClick(pView, Qt::LeftButton);
    QVERIFY(!m_pTest->Dlg().GetFullScreenStatus());
}

void CFullScreenTest::OnlyTheFlagFlipsForAnUnknownMode() {
    QVERIFY(m_pTest->Dlg().SetFullScreen(5));
    QVERIFY(m_pTest->Dlg().GetFullScreenStatus());
    QVERIFY(!m_pTest->Dlg().isFullScreen());
    QVERIFY(m_pTest->Dlg().SetFullScreen(5));
    QVERIFY(!m_pTest->Dlg().GetFullScreenStatus());
}

void CFullScreenTest::TheWindowCanBeStretchedAndPutBack() {
    const QRect rcBefore = m_pTest->Dlg().frameGeometry();
    m_pTest->Dlg().ShowFullScreen();
    QCOMPARE(m_pTest->Dlg().geometry(), QGuiApplication::primaryScreen()->geometry());
    m_pTest->Dlg().ShowNormalScreen();
    QCOMPARE(m_pTest->Dlg().geometry(), rcBefore);
}

void CFullScreenTest::FilesDroppedOnTheVideoAreAdded() {
    QMimeData data;
    data.setUrls({QUrl::fromLocalFile(QStringLiteral("/rec/d.mp4"))});
    DropOnVideo(data);
    QCOMPARE(m_pTest->Playlist(), QStringList({"/rec/d.mp4"}));
    QCOMPARE(m_pTest->State(), 1);
}

void CFullScreenTest::TextDroppedOnTheVideoDoesNothing() {
    QMimeData data;
    data.setText(QStringLiteral("/rec/d.mp4"));
    DropOnVideo(data);
    QVERIFY(!m_bAccepted);
    QVERIFY(m_pTest->Playlist().isEmpty());
}

QTEST_MAIN(CFullScreenTest)
#include "test_FullScreen.moc"

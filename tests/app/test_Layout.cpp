// The main window's layout, skin and sizes.
#include "playlist/ListBox.h"
#include "playlist/ListTitleBarWidget.h"
#include "tests/app/DlgTest.h"
#include "tests/app/TestScreen.h"
#include "widgets/ControlsBarWidget.h"
#include "widgets/FloatDlg.h"
#include "widgets/PlayerTitle.h"
#include "widgets/PlayStatusWidget.h"
#include "widgets/SkinButton.h"
#include "widgets/StaticTitle.h"
#include "widgets/VideoWidget.h"
#include "widgets/ViewContainer.h"

#include <QApplication>
#include <QGridLayout>
#include <QScreen>
#include <QSplitter>
#include <QTest>

#include <algorithm>

namespace {

QRect Available() {
    return QGuiApplication::primaryScreen()->availableGeometry();
}

} // namespace

class CLayoutTest : public QObject {
    Q_OBJECT

  private slots:
    void init() { m_pTest = std::make_unique<CDlgTest>(); }
    void cleanup() { m_pTest.reset(); }

    void TheStripsStandOneAboveTheOther();
    void TheStatusStripLiesOverTheVideosBottomAndThePanelOverItsTop();
    void ThePlaylistStartsAt180AndOnlyTheVideoGrows();
    void TheListStandsAboveItsTitleBar();
    void TheSplittersPanesDoNotCollapse();
    void EveryButtonHasItsImagesInEveryState();
    void EveryTextHasItsGround();
    void TheFrameIsPaintedFromTheSkin();
    void NothingIsPaintedInFullScreen();

    void WithNothingOpenTheWindowHasItsStartSize();
    void TheWindowFollowsThePictureSize_data();
    void TheWindowFollowsThePictureSize();
    void TheWindowIsNotMovedForAPicture_data();
    void TheWindowIsNotMovedForAPicture();
    void TheListsWidthOfTheMomentCounts();
    void TheNormalRectangleOfALargePictureIsCapped_data();
    void TheNormalRectangleOfALargePictureIsCapped();
    void AMaximisedWindowKeepsItsSize();
    void InFullScreenTheWindowKeepsItsSize();
    void ClosingTheFileReturnsToTheStartSizeEvenMaximised();
    void TheNormalRectangleOfASmallPictureIsTheSmallestWindow();
    void AChangedPictureSizeIsFollowed();

    void TwoTimesSizeDoublesTheNormalRectangle();
    void TwoTimesSizeFallsBackToTheWholeScreen_data();
    void TwoTimesSizeFallsBackToTheWholeScreen();
    void OnlyTheWidthsAreComparedForTwoTimesSize();
    void NormalSizeReturnsToTheNormalRectangle();
    void AZoomIsNotAppliedTwice();
    void TheZoomOutlivesTheFile();
    void APausedFilmIsZoomedToo();
    void ZoomIsRefusedWithNothingPlayingOrMaximised();
    void NormalSizeOfAFilmFirstOpenedMaximisedIsItsOwn();
    void ZoomIsRefusedInFullScreen();

  private:
    void PlaySize(long nWidth, long nHeight) {
        m_pTest->Fake().SetPictureSize(nWidth, nHeight);
        m_pTest->Play();
    }

    std::unique_ptr<CDlgTest> m_pTest;
};

void CLayoutTest::TheStripsStandOneAboveTheOther() {
    CTalvioDlg& dlg = m_pTest->Dlg();
    dlg.show();
    const QRect rcTitle = m_pTest->Find<CPlayerTitle>()->geometry();
    const QRect rcSplitter = m_pTest->Find<QSplitter>()->geometry();
    const QRect rcBar = m_pTest->Find<CControlsBarWidget>()->geometry();
    QCOMPARE(rcTitle, QRect(0, 0, 750, 31));
    QCOMPARE(rcBar, QRect(4, 480 - 4 - 64, 742, 64));
    QCOMPARE(rcSplitter, QRect(4, 32, 742, 480 - 4 - 64 - 1 - 32));
}

void CLayoutTest::TheStatusStripLiesOverTheVideosBottomAndThePanelOverItsTop() {
    m_pTest->Dlg().show();
    QWidget* pContainer = m_pTest->Find<CViewContainer>();
    QWidget* pView = m_pTest->Find<CViewWidget>();
    QWidget* pStatus = m_pTest->Find<CPlayStatusWidget>();
    QWidget* pFloat = m_pTest->Find<CFloatDlg>();
    pFloat->show();
    QCoreApplication::processEvents();
    QCOMPARE(pView->geometry(), pContainer->rect());
    QCOMPARE(pStatus->geometry(), QRect(0, pContainer->height() - 20, pContainer->width(), 20));
    QCOMPARE(pFloat->geometry(), QRect(0, 0, pContainer->width(), 21));
    const auto* pGrid = qobject_cast<QGridLayout*>(pContainer->layout());
    QCOMPARE(pGrid->columnCount(), 4);
    // Both lie above the surface.
    const QObjectList& children = pContainer->children();
    QVERIFY(children.indexOf(pStatus) > children.indexOf(pView));
    QVERIFY(children.indexOf(pFloat) > children.indexOf(pView));
}

void CLayoutTest::ThePlaylistStartsAt180AndOnlyTheVideoGrows() {
    CTalvioDlg& dlg = m_pTest->Dlg();
    dlg.show();
    QWidget* pList = m_pTest->Find<CListBox>();
    QCOMPARE(pList->width(), 180);
    QCOMPARE(pList->minimumWidth(), 150);
    dlg.resize(900, 600);
    QCOMPARE(pList->width(), 180);
}

void CLayoutTest::TheListStandsAboveItsTitleBar() {
    m_pTest->Dlg().show();
    QWidget* pList = m_pTest->Find<CListBox>();
    QWidget* pBar = m_pTest->Find<CListTitleBar>();
    QCOMPARE(pList->parentWidget(), pBar->parentWidget());
    QCOMPARE(pBar->y(), pList->y() + pList->height());
    QCOMPARE(pBar->y() + pBar->height(), pBar->parentWidget()->height());
}

void CLayoutTest::TheSplittersPanesDoNotCollapse() {
    const QSplitter* pSplitter = m_pTest->Find<QSplitter>();
    QVERIFY(!pSplitter->childrenCollapsible());
    QCOMPARE(pSplitter->handleWidth(), 1);
    QCOMPARE(pSplitter->widget(0), m_pTest->Find<CViewContainer>());
}

void CLayoutTest::EveryButtonHasItsImagesInEveryState() {
    const auto* pBar = m_pTest->Find<CControlsBarWidget>();
    const auto* pList = m_pTest->Find<CListTitleBar>();
    const auto* pFloat = m_pTest->Find<CFloatDlg>();
    const QList<std::pair<CSkinButton*, const char*>> images = {
        {pBar->m_pPlayBtn, "play"},
        {pBar->m_pPlaylistBtn, "openplaylist"},
        {pBar->m_pStopBtn, "stop"},
        {pBar->m_pStartBtn, "ToFront"},
        {pBar->m_pSlowBtn, "SlowlyForward"},
        {pBar->m_pFastBtn, "FastForward"},
        {pBar->m_pEndBtn, "tolast"},
        {pBar->m_pLastFrameBtn, "FrameBack"},
        {pBar->m_pNextFrameBtn, "NextFrame"},
        {pBar->m_pSoundBtn, "volumeon"},
        {pBar->m_pOpenFileBtn, "openfile"},
        {pBar->m_pToolBoxBtn, "tool"},
        {pList->m_pCloseBtn, "playlist-close"},
        {pList->m_pAddBtn, "add"},
        {pList->m_pDeleteBtn, "delete"},
        {pList->m_pModeBtn, "playorder"},
        {pList->m_pClearBtn, "clear"},
        {pFloat->m_pFullScreenBtn, "frame-fullscreen"},
        {pFloat->m_pNormalSizeBtn, "frame-1x"},
        {pFloat->m_pDoubleSizeBtn, "frame-2x"}};
    for (const auto& [pButton, pName] : images)
        QVERIFY2(WrongStates(pButton, pName).isEmpty(), pName);
    pBar->m_pBackBtn->setEnabled(true); // never in the program; only so can it be pressed
    QCOMPARE(WrongStatesOfOne(pBar->m_pBackBtn, "back"), QString());
    QCOMPARE(WrongStatesOfOne(pBar->m_pLanguageBtn, "en"), QString());
}

void CLayoutTest::EveryTextHasItsGround() {
    const auto* pStatus = m_pTest->Find<CPlayStatusWidget>();
    const std::pair<CStaticText*, const char*> texts[] = {
        {m_pTest->Find<CListTitleBar>()->m_pTitle, "frame-toolbar"},
        {pStatus->m_pLeftText, "status-bar"},
        {pStatus->m_pRightText, "status-bar"}};
    for (const auto& [pText, pName] : texts) {
        pText->SetStaticText(QStringLiteral(""), 0);
        QVERIFY2(PaintsSkin(pText, pName), pName);
    }
}

void CLayoutTest::TheFrameIsPaintedFromTheSkin() {
    CTalvioDlg& dlg = m_pTest->Dlg();
    dlg.show();
    const QImage window = dlg.grab().toImage();
    const auto colour = [](const char* pName) {
        return QImage(QString(":/Resources/%1.bmp").arg(pName)).pixelColor(0, 0);
    };
    QCOMPARE(window.pixelColor(2, 200), colour("toolbar"));
    QCOMPARE(window.pixelColor(747, 200), colour("toolbar"));
    QCOMPARE(window.pixelColor(300, 478), colour("frame-toolbar"));
    // Between title bar and splitter the ground shows.
    QCOMPARE(window.pixelColor(300, 31), colour("bitmap12"));
}

void CLayoutTest::NothingIsPaintedInFullScreen() {
    CTalvioDlg& dlg = m_pTest->Dlg();
    dlg.show();
    m_pTest->Play();
    QVERIFY(dlg.FullScreen());
    QImage image(dlg.size(), QImage::Format_RGB32);
    image.fill(Qt::magenta);
    dlg.render(&image, QPoint(), QRegion(), QWidget::RenderFlags());
    QCOMPARE(image.pixelColor(5, 5), QColor(Qt::magenta));
}

void CLayoutTest::WithNothingOpenTheWindowHasItsStartSize() {
    CTalvioDlg& dlg = m_pTest->Dlg();
    QCOMPARE(dlg.size(), QSize(750, 480));
    QCOMPARE(dlg.minimumSize(), QSize(530, 355));
    QCOMPARE(dlg.pos(), QPoint((Available().width() - 800) / 2, (Available().height() - 500) / 2));
}

void CLayoutTest::TheWindowFollowsThePictureSize_data() {
    QTest::addColumn<int>("width");
    QTest::addColumn<int>("height");
    QTest::addColumn<QSize>("window");
    // A list 180 wide and a title bar 31 high.
    QTest::newRow("the largest that fits the smallest window") << 341 << 234 << QSize(530, 355);
    QTest::newRow("one row more") << 341 << 235 << QSize(180 + 341 + 9, 31 + 235 + 90);
    QTest::newRow("one column more") << 342 << 234 << QSize(180 + 342 + 9, 355);
    QTest::newRow("352 x 288") << 352 << 288 << QSize(541, 409);
    QTest::newRow("704 x 288 is shown as 704 x 576") << 704 << 288 << QSize(893, 31 + 576 + 90);
    QTest::newRow("704 x 240 is shown as 704 x 480") << 704 << 240 << QSize(893, 31 + 480 + 90);
    QTest::newRow("704 x 289 is shown as it is") << 704 << 289 << QSize(893, 31 + 289 + 90);
    QTest::newRow("too wide for the screen") << 3000 << 500 << QSize(1280, 31 + 500 + 90);
    QTest::newRow("too high for the screen") << 600 << 2000 << QSize(180 + 600 + 9, 1024);
    QTest::newRow("too large for the screen") << 3840 << 2160 << QSize(0, 0);
}

void CLayoutTest::TheWindowFollowsThePictureSize() {
    QFETCH(int, width);
    QFETCH(int, height);
    QFETCH(QSize, window);
    m_pTest->Dlg().show();
    PlaySize(width, height);
    QCOMPARE(m_pTest->Dlg().size(), window.isNull() ? Available().size() : window);
}

void CLayoutTest::TheWindowIsNotMovedForAPicture_data() {
    QTest::addColumn<QSize>("picture");
    QTest::newRow("larger than the smallest window") << QSize(352, 288);
    QTest::newRow("in the smallest window") << QSize(100, 100);
    QTest::newRow("larger than the screen") << QSize(3840, 2160);
}

void CLayoutTest::TheWindowIsNotMovedForAPicture() {
    QFETCH(QSize, picture);
    CTalvioDlg& dlg = m_pTest->Dlg();
    dlg.show();
    dlg.move(3, 5);
    PlaySize(picture.width(), picture.height());
    QVERIFY(dlg.size() != QSize(750, 480));
    QCOMPARE(dlg.pos(), QPoint(3, 5));
}

void CLayoutTest::TheListsWidthOfTheMomentCounts() {
    CTalvioDlg& dlg = m_pTest->Dlg();
    dlg.show();
    auto* pSplitter = m_pTest->Find<QSplitter>();
    const auto* pList = m_pTest->Find<CListBox>();
    // The splitter shrinks both panes with the window, so that each width holds for one picture.
    const auto setList = [&](int nWidth) {
        dlg.resize(750, 480);
        pSplitter->setSizes({pSplitter->width() - 1 - nWidth, nWidth});
        return pList->width() == nWidth;
    };
    QVERIFY(setList(261));
    PlaySize(352, 288);
    QCOMPARE(dlg.size(), QSize(261 + 352 + 9, 409));
    // What fits the smallest window goes by it too.
    QVERIFY(setList(261));
    PlaySize(521 - 261, 234);
    QCOMPARE(dlg.size(), QSize(530, 355));
    QVERIFY(setList(261));
    PlaySize(521 - 261 + 1, 234);
    QCOMPARE(dlg.size(), QSize(531, 355));
    // Where the window grows, the list keeps its width and the video gets that of the picture.
    QVERIFY(setList(201));
    PlaySize(640, 288);
    QCOMPARE(dlg.size(), QSize(201 + 640 + 9, 409));
    QCOMPARE(pList->width(), 201);
    QCOMPARE(m_pTest->Find<CViewWidget>()->width(), 640);
    // Hidden, the list keeps its width, and the picture gets that too.
    QVERIFY(dlg.IsViewPlaylist());
    QVERIFY(!pList->isVisible());
    PlaySize(400, 288);
    QCOMPARE(dlg.size(), QSize(201 + 400 + 9, 409));
    QTRY_COMPARE(m_pTest->Find<CViewWidget>()->width(), 201 + 400 + 1);
}

void CLayoutTest::TheNormalRectangleOfALargePictureIsCapped_data() {
    QTest::addColumn<QSize>("picture");
    QTest::addColumn<QRect>("normal");
    QTest::newRow("too wide") << QSize(3000, 500) << QRect(0, (1024 - 621) / 2, 1280, 621);
    QTest::newRow("too high") << QSize(600, 2000) << QRect((1280 - 789) / 2, 0, 789, 1024);
    QTest::newRow("both") << QSize(3840, 2160) << QRect(0, 0, 1280, 1024);
}

void CLayoutTest::TheNormalRectangleOfALargePictureIsCapped() {
    QFETCH(QSize, picture);
    QFETCH(QRect, normal);
    CTalvioDlg& dlg = m_pTest->Dlg();
    dlg.show();
    PlaySize(picture.width(), picture.height());
    dlg.setGeometry(30, 40, 600, 400);
    QVERIFY(dlg.OnClickOneZoomButton());
    QCOMPARE(dlg.geometry(), normal);
}

void CLayoutTest::AMaximisedWindowKeepsItsSize() {
    CTalvioDlg& dlg = m_pTest->Dlg();
    dlg.show();
    QVERIFY(m_pTest->Find<CPlayerTitle>()->ShowMaxScreen());
    const QRect rcMax = dlg.geometry();
    PlaySize(352, 288);
    QCOMPARE(dlg.geometry(), rcMax);
}

void CLayoutTest::InFullScreenTheWindowKeepsItsSize() {
    CTalvioDlg& dlg = m_pTest->Dlg();
    dlg.show();
    PlaySize(352, 288);
    QVERIFY(dlg.FullScreen());
    const QRect rcFull = dlg.geometry();
    m_pTest->Fake().SetPictureSize(100, 100);
    dlg.InitMainWinSize();
    QCOMPARE(dlg.geometry(), rcFull);
    QVERIFY(dlg.CloseFile());
    QCOMPARE(dlg.geometry(), rcFull);
}

void CLayoutTest::ClosingTheFileReturnsToTheStartSizeEvenMaximised() {
    CTalvioDlg& dlg = m_pTest->Dlg();
    dlg.show();
    PlaySize(352, 288);
    dlg.move(3, 5);
    QVERIFY(dlg.CloseFile());
    const QRect rcStart(QPoint((Available().width() - 800) / 2, (Available().height() - 500) / 2),
                        QSize(750, 480));
    QCOMPARE(dlg.geometry(), rcStart);
    PlaySize(352, 288);
    QVERIFY(m_pTest->Find<CPlayerTitle>()->ShowMaxScreen());
    QVERIFY(dlg.CloseFile());
    QCOMPARE(dlg.geometry(), rcStart);
}

void CLayoutTest::TheNormalRectangleOfASmallPictureIsTheSmallestWindow() {
    CTalvioDlg& dlg = m_pTest->Dlg();
    dlg.show();
    PlaySize(100, 100);
    dlg.ChangeDlgSize(1);
    QCOMPARE(dlg.geometry(), QRect(QPoint((Available().width() - 530) / 2, (Available().height() - 355) / 2),
                                   QSize(530, 355)));
}

void CLayoutTest::AChangedPictureSizeIsFollowed() {
    CTalvioDlg& dlg = m_pTest->Dlg();
    dlg.show();
    PlaySize(352, 288);
    m_pTest->Fake().SetPictureSize(100, 100);
    m_pTest->Fake().FireEncChange(m_pTest->Fake().OpenPort());
    QTRY_COMPARE(dlg.size(), QSize(530, 355));
}

void CLayoutTest::TwoTimesSizeDoublesTheNormalRectangle() {
    CTalvioDlg& dlg = m_pTest->Dlg();
    dlg.show();
    PlaySize(341, 235);
    const QSize normal = dlg.size();
    QVERIFY2(normal.width() * 2 < Available().width(), "the test's screen is too small");
    QVERIFY(dlg.OnClickTwoZoomButton());
    const QPoint topLeft((Available().width() - normal.width()) / 2,
                         (Available().height() - normal.height()) / 2);
    QCOMPARE(dlg.size(), normal * 2);
    QCOMPARE(dlg.pos(), QPoint(std::max(0, topLeft.x() - normal.width() / 2),
                               std::max(0, topLeft.y() - normal.height() / 2)));
}

void CLayoutTest::TwoTimesSizeFallsBackToTheWholeScreen_data() {
    QTest::addColumn<int>("picture");
    QTest::addColumn<QRect>("twice");
    // The list and the frame take 189.
    const int nTop = (1024 - 409) / 2 - 409 / 2;
    QTest::newRow("just narrower") << 639 - 189 << QRect(320 - 319, nTop, 1278, 818);
    QTest::newRow("exactly as wide") << 640 - 189 << QRect(0, 0, 1280, 1024);
    QTest::newRow("wider") << 641 - 189 << QRect(0, 0, 1280, 1024);
}

void CLayoutTest::TwoTimesSizeFallsBackToTheWholeScreen() {
    QFETCH(int, picture);
    QFETCH(QRect, twice);
    CTalvioDlg& dlg = m_pTest->Dlg();
    dlg.show();
    QCOMPARE(Available(), QRect(0, 0, 1280, 1024));
    PlaySize(picture, 288);
    QVERIFY(dlg.OnClickTwoZoomButton());
    QCOMPARE(dlg.geometry(), twice);
}

void CLayoutTest::OnlyTheWidthsAreComparedForTwoTimesSize() {
    CTalvioDlg& dlg = m_pTest->Dlg();
    dlg.show();
    PlaySize(400, 500);
    const QSize normal(180 + 400 + 9, 31 + 500 + 90);
    QCOMPARE(dlg.size(), normal);
    QVERIFY(normal.width() * 2 < Available().width());
    QVERIFY(normal.height() * 2 > Available().height());
    dlg.ChangeDlgSize(2);
    // Its top would be above the screen.
    QVERIFY((1024 - normal.height()) / 2 < normal.height() / 2);
    QCOMPARE(dlg.geometry(), QRect(QPoint((1280 - normal.width()) / 2 - normal.width() / 2, 0), normal * 2));
}

void CLayoutTest::NormalSizeReturnsToTheNormalRectangle() {
    CTalvioDlg& dlg = m_pTest->Dlg();
    dlg.show();
    PlaySize(352, 288);
    dlg.ChangeDlgSize(2);
    QVERIFY(dlg.OnClickOneZoomButton());
    QCOMPARE(dlg.geometry(), QRect(QPoint((Available().width() - 541) / 2, (Available().height() - 409) / 2),
                                   QSize(541, 409)));
}

void CLayoutTest::AZoomIsNotAppliedTwice() {
    CTalvioDlg& dlg = m_pTest->Dlg();
    dlg.show();
    PlaySize(352, 288);
    dlg.ChangeDlgSize(1);
    dlg.resize(600, 500);
    dlg.ChangeDlgSize(1);
    QCOMPARE(dlg.size(), QSize(600, 500));
    dlg.ChangeDlgSize(3);
    QCOMPARE(dlg.size(), QSize(600, 500));
    dlg.ChangeDlgSize(2);
    const QSize twice = dlg.size();
    QVERIFY(twice != QSize(600, 500));
    dlg.resize(600, 500);
    dlg.ChangeDlgSize(2);
    QCOMPARE(dlg.size(), QSize(600, 500));
    dlg.ChangeDlgSize(1);
    QCOMPARE(dlg.size(), QSize(541, 409));
}

void CLayoutTest::TheZoomOutlivesTheFile() {
    CTalvioDlg& dlg = m_pTest->Dlg();
    dlg.show();
    PlaySize(352, 288);
    dlg.ChangeDlgSize(2);
    // The next file's window takes that file's size, and stands as twice the size already.
    PlaySize(100, 100);
    QCOMPARE(dlg.size(), QSize(530, 355));
    dlg.ChangeDlgSize(2);
    QCOMPARE(dlg.size(), QSize(530, 355));
    QVERIFY(dlg.CloseFile());
    PlaySize(352, 288);
    dlg.ChangeDlgSize(2);
    QCOMPARE(dlg.size(), QSize(541, 409));
    dlg.move(3, 5);
    dlg.ChangeDlgSize(1);
    QCOMPARE(dlg.pos(), QPoint((Available().width() - 541) / 2, (Available().height() - 409) / 2));
    dlg.ChangeDlgSize(2);
    QCOMPARE(dlg.size(), QSize(541, 409) * 2);
}

void CLayoutTest::APausedFilmIsZoomedToo() {
    CTalvioDlg& dlg = m_pTest->Dlg();
    dlg.show();
    m_pTest->Fake().SetPictureSize(352, 288);
    m_pTest->PlayInto(2);
    QVERIFY(dlg.OnClickTwoZoomButton());
    QCOMPARE(dlg.size(), QSize(541, 409) * 2);
    QVERIFY(dlg.OnClickOneZoomButton());
    QCOMPARE(dlg.size(), QSize(541, 409));
    QCOMPARE(m_pTest->State(), 2);
}

void CLayoutTest::ZoomIsRefusedWithNothingPlayingOrMaximised() {
    CTalvioDlg& dlg = m_pTest->Dlg();
    dlg.show();
    const QRect rcStart = dlg.geometry();
    dlg.ChangeDlgSize(1);
    QCOMPARE(dlg.geometry(), rcStart);
    PlaySize(352, 288);
    dlg.Stop();
    const QRect rcStopped = dlg.geometry();
    dlg.ChangeDlgSize(2);
    QCOMPARE(dlg.geometry(), rcStopped);
    dlg.PlayOrPause();
    dlg.SetMaxScreen(true);
    dlg.ChangeDlgSize(2);
    QCOMPARE(dlg.geometry(), rcStopped);
}

void CLayoutTest::NormalSizeOfAFilmFirstOpenedMaximisedIsItsOwn() {
    CTalvioDlg& dlg = m_pTest->Dlg();
    dlg.show();
    dlg.SetMaxScreen(true);
    const QRect rcMax = dlg.geometry();
    PlaySize(352, 288);
    QCOMPARE(dlg.geometry(), rcMax);
    // The next one leaves it at that.
    PlaySize(400, 300);
    QCOMPARE(dlg.geometry(), rcMax);
    dlg.SetMaxScreen(false);
    QVERIFY(dlg.OnClickOneZoomButton());
    QCOMPARE(dlg.geometry(), QRect(QPoint((Available().width() - 541) / 2, (Available().height() - 409) / 2),
                                   QSize(541, 409)));
}

void CLayoutTest::ZoomIsRefusedInFullScreen() {
    m_pTest->Dlg().show();
    PlaySize(352, 288);
    QVERIFY(m_pTest->Dlg().FullScreen());
    QVERIFY(!m_pTest->Dlg().OnClickOneZoomButton());
    QVERIFY(!m_pTest->Dlg().OnClickTwoZoomButton());
}

// A screen of a known size, large enough for twice the smallest window.
int main(int nArgs, char** ppArgs) {
    const support::TemporaryFolder folder;
    UseScreen(folder, 1280, 1024);
    const QApplication app(nArgs, ppArgs);
    CLayoutTest test;
    return QTest::qExec(&test, nArgs, ppArgs);
}

#include "test_Layout.moc"

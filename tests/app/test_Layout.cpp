// The main window's layout, skin, sizes, edge resizing and top modes.
#include "playlist/ListBox.h"
#include "playlist/ListTitleBarWidget.h"
#include "tests/app/DlgTest.h"
#include "widgets/ControlsBarWidget.h"
#include "widgets/FloatDlg.h"
#include "widgets/PlayerTitle.h"
#include "widgets/PlayStatusWidget.h"
#include "widgets/SkinButton.h"
#include "widgets/StaticTitle.h"
#include "widgets/VideoWidget.h"
#include "widgets/ViewContainer.h"

#include <QAction>
#include <QApplication>
#include <QFile>
#include <QGridLayout>
#include <QMouseEvent>
#include <QScreen>
#include <QSplitter>
#include <QTest>
#include <QWindow>

#include <algorithm>

namespace {

QRect Available() {
    return QGuiApplication::primaryScreen()->availableGeometry();
}

void Send(QWidget& widget, QEvent::Type type, const QPoint& pos, Qt::MouseButton button,
          Qt::MouseButtons buttons) {
    QMouseEvent event(type, pos, widget.mapToGlobal(pos), button, buttons, Qt::NoModifier);
    QCoreApplication::sendEvent(&widget, &event);
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
    void EveryWidgetHasItsImages();
    void TheFrameIsPaintedFromTheSkin();
    void NothingIsPaintedInFullScreen();

    void WithNothingOpenTheWindowHasItsStartSize();
    void TheWindowFollowsThePictureSize_data();
    void TheWindowFollowsThePictureSize();
    void TheWindowIsNotMovedForAPicture();
    void AMaximisedWindowKeepsItsSize();
    void AChangedPictureSizeIsFollowed();

    void TwoTimesSizeDoublesTheNormalRectangle();
    void TwoTimesSizeFallsBackToTheWholeScreen();
    void OnlyTheWidthsAreComparedForTwoTimesSize();
    void NormalSizeReturnsToTheNormalRectangle();
    void AZoomIsNotAppliedTwice();
    void ZoomIsRefusedWithNothingPlayingOrMaximised();
    void ZoomIsRefusedInFullScreen();

    void TheRightEdgeAndTheBottomEdgeResize();
    void OnlyTheLeftButtonResizes();
    void TheLeftEdgeDoesNotResize();
    void AStepThatMakesBothSidesTooSmallIsIgnored();
    void ReleasingEndsTheResizing();
    void TheCursorShowsTheEdge_data();
    void TheCursorShowsTheEdge();
    void AMaximisedWindowIsNotResized();

    void TheTopModesSetTheWindowFlags();
    void OnlyPlayingIsOnTopWhilePlaying();
    void TheActionsChooseTheTopMode();
    void ATopModeKeepsTheVideosNativeWindow();
    void TheToggleSkipsOnlyPlaying();
    void TopModesAreRefusedInFullScreen();

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

void CLayoutTest::EveryWidgetHasItsImages() {
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
        {pBar->m_pBackBtn, "back"},
        {pBar->m_pSoundBtn, "volumeon"},
        {pBar->m_pOpenFileBtn, "openfile"},
        {pBar->m_pLanguageBtn, "en"},
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
        QVERIFY2(PaintsSkin(pButton, pName), pName);
    const auto* pStatus = m_pTest->Find<CPlayStatusWidget>();
    QVERIFY(PaintsSkin(pStatus->m_pRightText, QStringLiteral("status-bar")));
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

void CLayoutTest::TheWindowIsNotMovedForAPicture() {
    CTalvioDlg& dlg = m_pTest->Dlg();
    dlg.show();
    dlg.move(3, 5);
    PlaySize(352, 288);
    QCOMPARE(dlg.pos(), QPoint(3, 5));
}

void CLayoutTest::AMaximisedWindowKeepsItsSize() {
    CTalvioDlg& dlg = m_pTest->Dlg();
    dlg.show();
    QVERIFY(m_pTest->Find<CPlayerTitle>()->ShowMaxScreen());
    const QRect rcMax = dlg.geometry();
    PlaySize(352, 288);
    QCOMPARE(dlg.geometry(), rcMax);
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

void CLayoutTest::TwoTimesSizeFallsBackToTheWholeScreen() {
    CTalvioDlg& dlg = m_pTest->Dlg();
    dlg.show();
    PlaySize(640, 480);
    QVERIFY(dlg.width() * 2 >= Available().width());
    QVERIFY(dlg.OnClickTwoZoomButton());
    QCOMPARE(dlg.geometry(), Available());
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
    QCOMPARE(dlg.size(), normal * 2);
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

void CLayoutTest::ZoomIsRefusedInFullScreen() {
    m_pTest->Dlg().show();
    PlaySize(352, 288);
    QVERIFY(m_pTest->Dlg().FullScreen());
    QVERIFY(!m_pTest->Dlg().OnClickOneZoomButton());
    QVERIFY(!m_pTest->Dlg().OnClickTwoZoomButton());
}

void CLayoutTest::TheRightEdgeAndTheBottomEdgeResize() {
    CTalvioDlg& dlg = m_pTest->Dlg();
    dlg.show();
    const QRect rcStart = dlg.geometry();
    Send(dlg, QEvent::MouseButtonPress, QPoint(748, 200), Qt::LeftButton, Qt::LeftButton);
    Send(dlg, QEvent::MouseMove, QPoint(768, 250), Qt::NoButton, Qt::LeftButton);
    QCOMPARE(dlg.geometry(), rcStart.adjusted(0, 0, 20, 0));
    Send(dlg, QEvent::MouseMove, QPoint(763, 250), Qt::NoButton, Qt::LeftButton);
    QCOMPARE(dlg.geometry(), rcStart.adjusted(0, 0, 15, 0));
    Send(dlg, QEvent::MouseButtonRelease, QPoint(763, 250), Qt::LeftButton, Qt::NoButton);

    Send(dlg, QEvent::MouseButtonPress, QPoint(763, 478), Qt::LeftButton, Qt::LeftButton);
    Send(dlg, QEvent::MouseMove, QPoint(773, 508), Qt::NoButton, Qt::LeftButton);
    QCOMPARE(dlg.geometry(), rcStart.adjusted(0, 0, 25, 30));
}

void CLayoutTest::OnlyTheLeftButtonResizes() {
    CTalvioDlg& dlg = m_pTest->Dlg();
    dlg.show();
    const QRect rcStart = dlg.geometry();
    Send(dlg, QEvent::MouseButtonPress, QPoint(748, 200), Qt::RightButton, Qt::RightButton);
    Send(dlg, QEvent::MouseMove, QPoint(768, 250), Qt::NoButton, Qt::RightButton);
    QCOMPARE(dlg.geometry(), rcStart);
}

void CLayoutTest::TheLeftEdgeDoesNotResize() {
    CTalvioDlg& dlg = m_pTest->Dlg();
    dlg.show();
    const QRect rcStart = dlg.geometry();
    Send(dlg, QEvent::MouseButtonPress, QPoint(2, 200), Qt::LeftButton, Qt::LeftButton);
    Send(dlg, QEvent::MouseMove, QPoint(-40, 260), Qt::NoButton, Qt::LeftButton);
    QCOMPARE(dlg.geometry(), rcStart);
}

void CLayoutTest::AStepThatMakesBothSidesTooSmallIsIgnored() {
    CTalvioDlg& dlg = m_pTest->Dlg();
    dlg.show();
    // One side too small alone is applied, as far as the window's smallest size lets it.
    Send(dlg, QEvent::MouseButtonPress, QPoint(748, 200), Qt::LeftButton, Qt::LeftButton);
    Send(dlg, QEvent::MouseMove, QPoint(518, 200), Qt::NoButton, Qt::LeftButton);
    QCOMPARE(dlg.size(), QSize(530, 480));
    Send(dlg, QEvent::MouseButtonRelease, QPoint(518, 200), Qt::LeftButton, Qt::NoButton);
    dlg.resize(560, 380);
    const QRect rc = dlg.geometry();
    Send(dlg, QEvent::MouseButtonPress, QPoint(558, 378), Qt::LeftButton, Qt::LeftButton);
    Send(dlg, QEvent::MouseMove, QPoint(518, 338), Qt::NoButton, Qt::LeftButton);
    QCOMPARE(dlg.geometry(), rc);
    // The step counts from where the last applied one was.
    Send(dlg, QEvent::MouseMove, QPoint(568, 388), Qt::NoButton, Qt::LeftButton);
    QCOMPARE(dlg.geometry(), rc.adjusted(0, 0, 10, 10));
}

void CLayoutTest::ReleasingEndsTheResizing() {
    CTalvioDlg& dlg = m_pTest->Dlg();
    dlg.show();
    const QRect rcStart = dlg.geometry();
    Send(dlg, QEvent::MouseButtonPress, QPoint(748, 200), Qt::LeftButton, Qt::LeftButton);
    Send(dlg, QEvent::MouseButtonRelease, QPoint(748, 200), Qt::LeftButton, Qt::NoButton);
    Send(dlg, QEvent::MouseMove, QPoint(778, 200), Qt::NoButton, Qt::NoButton);
    QCOMPARE(dlg.geometry(), rcStart);
}

void CLayoutTest::TheCursorShowsTheEdge_data() {
    QTest::addColumn<QPoint>("pos");
    QTest::addColumn<int>("shape");
    QTest::newRow("bottom") << QPoint(300, 475) << int(Qt::SizeVerCursor);
    QTest::newRow("right") << QPoint(745, 200) << int(Qt::SizeHorCursor);
    QTest::newRow("right and bottom") << QPoint(749, 479) << int(Qt::SizeFDiagCursor);
    QTest::newRow("left") << QPoint(4, 200) << int(Qt::ArrowCursor);
    QTest::newRow("left and bottom") << QPoint(0, 479) << int(Qt::ArrowCursor);
    QTest::newRow("none") << QPoint(5, 474) << int(Qt::ArrowCursor);
}

void CLayoutTest::TheCursorShowsTheEdge() {
    QFETCH(QPoint, pos);
    QFETCH(int, shape);
    CTalvioDlg& dlg = m_pTest->Dlg();
    dlg.show();
    dlg.setCursor(Qt::WaitCursor);
    Send(dlg, QEvent::MouseMove, pos, Qt::NoButton, Qt::NoButton);
    QCOMPARE(int(dlg.cursor().shape()), shape);
}

void CLayoutTest::AMaximisedWindowIsNotResized() {
    CTalvioDlg& dlg = m_pTest->Dlg();
    dlg.show();
    dlg.SetMaxScreen(true);
    const QRect rcStart = dlg.geometry();
    Send(dlg, QEvent::MouseButtonPress, QPoint(748, 200), Qt::LeftButton, Qt::LeftButton);
    Send(dlg, QEvent::MouseMove, QPoint(768, 250), Qt::NoButton, Qt::LeftButton);
    QCOMPARE(dlg.geometry(), rcStart);
}

void CLayoutTest::TheTopModesSetTheWindowFlags() {
    CTalvioDlg& dlg = m_pTest->Dlg();
    dlg.TopDisplay(2);
    QCOMPARE(dlg.windowFlags(), Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint | Qt::Window);
    QVERIFY(dlg.isVisible());
    dlg.hide();
    dlg.TopDisplay(7);
    QCOMPARE(dlg.windowFlags(), Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint | Qt::Window);
    QVERIFY(dlg.isVisible());
    dlg.TopDisplay(0);
    QCOMPARE(dlg.windowFlags(), Qt::FramelessWindowHint | Qt::Window);
    QVERIFY(dlg.isVisible());
}

void CLayoutTest::OnlyPlayingIsOnTopWhilePlaying() {
    CTalvioDlg& dlg = m_pTest->Dlg();
    dlg.show();
    QVERIFY(dlg.SwithTopDisplay(m_pTest->Action(QStringLiteral("Only Playing"))));
    const auto onTop = [&] { return dlg.windowFlags().testFlag(Qt::WindowStaysOnTopHint); };
    QVERIFY(!onTop());
    m_pTest->Play();
    QVERIFY(onTop());
    dlg.PlayOrPause();
    QVERIFY(!onTop());
    dlg.PlayOrPause();
    QVERIFY(onTop());
    dlg.Stop();
    QVERIFY(!onTop());
    QVERIFY(dlg.isVisible());
}

void CLayoutTest::TheActionsChooseTheTopMode() {
    CTalvioDlg& dlg = m_pTest->Dlg();
    QVERIFY(!dlg.SwithTopDisplay(nullptr));
    m_pTest->Action(QStringLiteral("Always"))->trigger();
    QVERIFY(dlg.windowFlags().testFlag(Qt::WindowStaysOnTopHint));
    // Another action keeps the mode and applies it.
    QVERIFY(dlg.SwithTopDisplay(m_pTest->Action(QStringLiteral("About"))));
    QVERIFY(dlg.windowFlags().testFlag(Qt::WindowStaysOnTopHint));
    m_pTest->Action(QStringLiteral("Never"))->trigger();
    QVERIFY(!dlg.windowFlags().testFlag(Qt::WindowStaysOnTopHint));
}

void CLayoutTest::ATopModeKeepsTheVideosNativeWindow() {
    CTalvioDlg& dlg = m_pTest->Dlg();
    dlg.show();
    m_pTest->Play();
    const WId nVideo = m_pTest->Find<CViewWidget>()->winId();
    const QRect rc = dlg.geometry();
    m_pTest->Action(QStringLiteral("Always"))->trigger();
    QVERIFY(dlg.windowFlags().testFlag(Qt::WindowStaysOnTopHint));
    QVERIFY(dlg.windowHandle()->flags().testFlag(Qt::WindowStaysOnTopHint));
    QVERIFY(dlg.isVisible());
    QCOMPARE(m_pTest->Find<CViewWidget>()->winId(), nVideo);
    QCOMPARE(dlg.geometry(), rc);
}

void CLayoutTest::TheToggleSkipsOnlyPlaying() {
    CTalvioDlg& dlg = m_pTest->Dlg();
    QVERIFY(dlg.OnClickTopDiaPlayButton());
    QVERIFY(m_pTest->Action(QStringLiteral("Always"))->isChecked());
    QVERIFY(dlg.windowFlags().testFlag(Qt::WindowStaysOnTopHint));
    QVERIFY(dlg.OnClickTopDiaPlayButton());
    QVERIFY(m_pTest->Action(QStringLiteral("Never"))->isChecked());
    QVERIFY(!dlg.windowFlags().testFlag(Qt::WindowStaysOnTopHint));
    dlg.SwithTopDisplay(m_pTest->Action(QStringLiteral("Only Playing")));
    QVERIFY(dlg.OnClickTopDiaPlayButton());
    QVERIFY(m_pTest->Action(QStringLiteral("Never"))->isChecked());
}

void CLayoutTest::TopModesAreRefusedInFullScreen() {
    CTalvioDlg& dlg = m_pTest->Dlg();
    dlg.show();
    m_pTest->Play();
    QVERIFY(dlg.FullScreen());
    QVERIFY(!dlg.SwithTopDisplay(m_pTest->Action(QStringLiteral("Always"))));
    QVERIFY(!dlg.OnClickTopDiaPlayButton());
    QVERIFY(!dlg.windowFlags().testFlag(Qt::WindowStaysOnTopHint));
}

// A screen of a known size, large enough for twice the smallest window.
int main(int nArgs, char** ppArgs) {
    const support::TemporaryFolder folder;
    const QString strScreens = QString::fromStdString(folder / "screens.json");
    QFile file(strScreens);
    if (!file.open(QIODevice::WriteOnly)) return 1;
    file.write(R"({"screens": [{"name": "test", "x": 0, "y": 0, "width": 1280, "height": 1024,
                                "logicalDpi": 96, "logicalBaseDpi": 96, "dpr": 1}]})");
    file.close();
    qputenv("QT_QPA_PLATFORM", "offscreen:configfile=" + strScreens.toUtf8());
    const QApplication app(nArgs, ppArgs);
    CLayoutTest test;
    return QTest::qExec(&test, nArgs, ppArgs);
}

#include "test_Layout.moc"

#include "tests/widgets/FakeWindow.h"
#include "tests/widgets/PaintCounter.h"
#include "tests/widgets/ShownSkin.h"
#include "widgets/FloatDlg.h"
#include "widgets/SkinButton.h"
#include "widgets/VideoWidget.h"
#include "widgets/ViewContainer.h"

#include <QCursor>
#include <QDragEnterEvent>
#include <QMimeData>
#include <QMouseEvent>
#include <QPaintEngine>
#include <QScreen>
#include <QTest>

#include <memory>

class VideoViewTest : public QObject {
    Q_OBJECT

  private slots:
    void init() {
        m_pWindow = std::make_unique<CFakeWindow>();
        m_pWindow->setGeometry(50, 40, 640, 480);
        m_pWindow->m_pFloat = new QWidget(m_pWindow.get());
        m_pWindow->m_pBar = new QWidget(m_pWindow.get());
        m_pWindow->m_pSplitter = new QWidget(m_pWindow.get());
        m_pContainer = new CViewContainer(m_pWindow.get());
        m_pContainer->setGeometry(10, 20, 600, 400);
        m_pSurface = new CViewWidget(m_pContainer);
        m_pSurface->setGeometry(0, 0, 600, 400);
        m_pWindow->show();
        QVERIFY(QTest::qWaitForWindowExposed(m_pWindow.get()));
        m_pWindow->m_pFloat->hide();
        m_pWindow->m_pBar->hide();
        m_szScreen = QGuiApplication::primaryScreen()->geometry().size();
    }
    void cleanup() { m_pWindow.reset(); }

    void theSurfaceIsANativeLeafUnderAlienAncestors() {
        QVERIFY(m_pSurface->testAttribute(Qt::WA_NativeWindow));
        QVERIFY(m_pSurface->internalWinId());
        QVERIFY(!m_pContainer->internalWinId());
        QVERIFY(m_pSurface->testAttribute(Qt::WA_OpaquePaintEvent));
        QVERIFY(m_pSurface->testAttribute(Qt::WA_NoSystemBackground));
        QVERIFY(m_pSurface->hasMouseTracking());
        QVERIFY(m_pSurface->acceptDrops());
        QCOMPARE(m_pSurface->cursor().shape(), Qt::ArrowCursor);
    }

    void atFirstTheIdlePictureIsShownWithTheLogoInTheMiddle() { CompareIdle(true); }

    void blankShowsTheGroundAlone() {
        m_pSurface->SetStatus(false, true, false);
        CompareIdle(false);
    }

    void theLogoWinsOverBlank() {
        m_pSurface->SetStatus(true, true, false);
        CompareIdle(true);
    }

    void settingTheStatusRepaintsAtOnce() {
        CPaintCounter counter(m_pSurface);
        m_pSurface->SetStatus(false, true, false);
        QVERIFY(counter.Taken() >= 1);
    }

    void whileTheLibraryDrawsQtPaintsNothing() {
        m_pSurface->SetStatus(false, false, true);
        QVERIFY(!m_pSurface->updatesEnabled());
        QVERIFY(!m_pSurface->paintEngine());
        CPaintCounter counter(m_pSurface);
        m_pSurface->repaint();
        m_pWindow->update();
        QApplication::processEvents();
        QCOMPARE(counter.Taken(), 0);
    }

    void afterTheLibraryTheIdlePictureIsBackAtOnce() {
        m_pSurface->SetStatus(false, false, true);
        CPaintCounter counter(m_pSurface);
        m_pSurface->SetStatus(true, false, false);
        QVERIFY(counter.Taken() >= 1);
        QVERIFY(m_pSurface->updatesEnabled());
        CompareIdle(true);
    }

    void aRightPressOpensTheContextMenuThereAndOtherPressesDoNothing() {
        const QPoint posGlobal = m_pSurface->mapToGlobal(QPoint(30, 40));
        QTest::mousePress(m_pSurface, Qt::RightButton, {}, QPoint(30, 40));
        QCOMPARE(m_pWindow->Taken(),
                 QStringList({QString("showContextMenu %1 %2").arg(posGlobal.x()).arg(posGlobal.y())}));
        QTest::mousePress(m_pSurface, Qt::LeftButton, {}, QPoint(30, 40));
        QTest::mousePress(m_pSurface, Qt::MiddleButton, {}, QPoint(30, 40));
        QCOMPARE(m_pWindow->Taken(), QStringList());
    }

    void aRightPressSoonAfterAnotherOpensTheContextMenuToo() {
        const QPointF pos(30, 40);
        const QPointF posGlobal = m_pSurface->mapToGlobal(pos);
        QMouseEvent second(QEvent::MouseButtonDblClick, pos, posGlobal, Qt::RightButton, Qt::RightButton, {});
        QCoreApplication::sendEvent(m_pSurface, &second);
        QCOMPARE(m_pWindow->Taken(),
                 QStringList({QString("showContextMenu %1 %2").arg(posGlobal.x()).arg(posGlobal.y())}));
    }

    void onlyALeftDoubleClickAsksForFullScreen() {
        QTest::mouseDClick(m_pSurface, Qt::RightButton, {}, QPoint(30, 40));
        QVERIFY(!m_pWindow->Taken().contains("FullScreen"));
        QTest::mouseDClick(m_pSurface, Qt::LeftButton, {}, QPoint(30, 40));
        QCOMPARE(m_pWindow->Taken(), QStringList({"FullScreen"}));
    }

    void inFullScreenTheLowest64RowsShowTheControlBarOnce() {
        EnterFullScreen();
        const int nBand = m_szScreen.height() - 64;
        Hover(QPoint(100, nBand - 1));
        QVERIFY(!m_pWindow->m_pBar->isVisible());
        Hover(QPoint(100, nBand));
        QVERIFY(m_pWindow->m_pBar->isVisible());
        m_pWindow->m_pBar->hide();
        Hover(QPoint(200, m_szScreen.height() - 1)); // still in the band: not shown again
        QVERIFY(!m_pWindow->m_pBar->isVisible());
        Hover(QPoint(200, nBand - 1));
        Hover(QPoint(200, nBand));
        QVERIFY(m_pWindow->m_pBar->isVisible());
        Hover(QPoint(0, nBand - 1));
        QVERIFY(!m_pWindow->m_pBar->isVisible());
    }

    // A window manager need not make it as large as the screen.
    void inAWindowThatStayedSmallItsLowest64RowsDo() {
        m_pWindow->m_bFullScreen = true;
        m_pWindow->setGeometry(50, 40, 640, 480);
        m_pContainer->setGeometry(m_pWindow->rect());
        m_pSurface->setGeometry(m_pContainer->rect());
        Hover(QPoint(100, 480 - 65));
        QVERIFY(!m_pWindow->m_pBar->isVisible());
        Hover(QPoint(100, 480 - 64));
        QVERIFY(m_pWindow->m_pBar->isVisible());
        // The bar takes its rows from the surface, and stays until the pointer is above where it began.
        m_pSurface->setGeometry(0, 0, 640, 480 - 64);
        Hover(QPoint(100, 480 - 65));
        QVERIFY(!m_pWindow->m_pBar->isVisible());
        Hover(QPoint(100, 480 - 66));
        QVERIFY(!m_pWindow->m_pBar->isVisible());
    }

    void inNormalDisplayTheLowestRowsShowNothing() {
        Hover(QPoint(100, m_szScreen.height() - 10));
        QVERIFY(!m_pWindow->m_pBar->isVisible());
    }

    void theTop21RowsShowTheFloatingPanelOnce_data() {
        QTest::addColumn<bool>("bFullScreen");
        QTest::newRow("normal display") << false;
        QTest::newRow("full screen") << true;
    }
    void theTop21RowsShowTheFloatingPanelOnce() {
        QFETCH(bool, bFullScreen);
        if (bFullScreen) EnterFullScreen();
        Hover(QPoint(100, 21));
        QVERIFY(!m_pWindow->m_pFloat->isVisible());
        Hover(QPoint(100, 20));
        QVERIFY(m_pWindow->m_pFloat->isVisible());
        m_pWindow->m_pFloat->hide();
        Hover(QPoint(100, 5));
        QVERIFY(!m_pWindow->m_pFloat->isVisible());
        Hover(QPoint(100, 21));
        Hover(QPoint(0, 0));
        QVERIFY(m_pWindow->m_pFloat->isVisible());
        Hover(QPoint(100, 21));
        QVERIFY(!m_pWindow->m_pFloat->isVisible());
    }

    void thePanelGoesWhenThePointerLeavesTheVideoOverItsTopEdge() {
        Hover(QPoint(100, 5));
        QVERIFY(m_pWindow->m_pFloat->isVisible());
        QEvent leave(QEvent::Leave);
        // From the surface to the panel is not out of the video.
        QCursor::setPos(m_pContainer->mapToGlobal(QPoint(100, 5)));
        QApplication::sendEvent(m_pContainer, &leave);
        QVERIFY(m_pWindow->m_pFloat->isVisible());
        QCursor::setPos(m_pContainer->mapToGlobal(QPoint(100, -5)));
        QApplication::sendEvent(m_pContainer, &leave);
        QVERIFY(!m_pWindow->m_pFloat->isVisible());
        Hover(QPoint(100, 5)); // and comes back with the pointer
        QVERIFY(m_pWindow->m_pFloat->isVisible());
    }

    void thePanelStaysWhenNewsOfAnEnteringFollow() {
        Hover(QPoint(100, 5));
        QCursor::setPos(m_pContainer->mapToGlobal(QPoint(100, 5)));
        QEvent leave(QEvent::Leave);
        QApplication::sendEvent(m_pContainer, &leave);
        m_pContainer->setAttribute(Qt::WA_UnderMouse);
        QTest::qWait(200);
        QVERIFY(m_pWindow->m_pFloat->isVisible());
    }

    void inNormalDisplayTheBandFollowsTheSurfacesPlaceInItsParent() {
        m_pSurface->setGeometry(50, 30, 500, 300);
        Hover(QPoint(49, 30)); // in the surface's coordinates, though the band is in its parent's
        QVERIFY(!m_pWindow->m_pFloat->isVisible());
        Hover(QPoint(50, 30));
        QVERIFY(m_pWindow->m_pFloat->isVisible());
        Hover(QPoint(100, 10));
        QVERIFY(!m_pWindow->m_pFloat->isVisible());
        Hover(QPoint(100, 50));
        QVERIFY(m_pWindow->m_pFloat->isVisible());
        Hover(QPoint(100, 51));
        QVERIFY(!m_pWindow->m_pFloat->isVisible());
    }

    void movesWithAButtonHeldCountToo() {
        QMouseEvent move(QEvent::MouseMove, QPointF(100, 5), QPointF(100, 5), Qt::NoButton, Qt::LeftButton,
                         {});
        QApplication::sendEvent(m_pSurface, &move);
        QVERIFY(m_pWindow->m_pFloat->isVisible());
    }

    void aDragOfFilesIsAcceptedAndOneOfTextIsNot() {
        QMimeData files;
        files.setUrls({QUrl::fromLocalFile("/rec/a.mp4")});
        QDragEnterEvent enterFiles(QPoint(5, 5), Qt::CopyAction, &files, Qt::LeftButton, {});
        enterFiles.ignore();
        Give(enterFiles);
        QVERIFY(enterFiles.isAccepted());
        QCOMPARE(enterFiles.dropAction(), Qt::CopyAction);
        QMimeData text;
        text.setText("plain");
        QDragEnterEvent enterText(QPoint(5, 5), Qt::CopyAction, &text, Qt::LeftButton, {});
        enterText.accept();
        Give(enterText);
        QVERIFY(!enterText.isAccepted());
    }

    void aDropGoesToTheWindow() {
        QMimeData files;
        files.setUrls({QUrl::fromLocalFile("/rec/a.mp4")});
        QDropEvent drop(QPointF(5, 5), Qt::CopyAction, &files, Qt::LeftButton, {});
        Give(drop);
        QCOMPARE(m_pWindow->Taken(), QStringList({"HandleDrop file:///rec/a.mp4"}));
    }

    void withoutAContainerTheMouseDoesNothing() {
        CViewWidget surface(nullptr);
        QTest::mousePress(&surface, Qt::RightButton);
        QTest::mouseDClick(&surface, Qt::LeftButton);
        QMouseEvent move(QEvent::MouseMove, QPointF(1, 1), QPointF(1, 1), Qt::NoButton, Qt::NoButton, {});
        QApplication::sendEvent(&surface, &move);
        QVERIFY(!move.isAccepted()); // the base handling ran
    }

    void theContainerFillsTheScreenAndReturnsToWhereItWas() {
        m_pWindow->m_pSplitter->setGeometry(1, 2, 30, 40);
        m_pContainer->ShowFullScreen();
        const QRect rcScreen = QGuiApplication::primaryScreen()->geometry();
        QCOMPARE(m_pContainer->geometry(), rcScreen);
        QCOMPARE(m_pWindow->m_pSplitter->geometry(), rcScreen);
        m_pContainer->ShowNormal();
        QCOMPARE(m_pContainer->geometry(), QRect(10, 20, 600, 400));
        QCOMPARE(m_pWindow->m_pSplitter->geometry(), QRect(10, 20, 600, 400));
    }

    void theContainerKnowsFullScreenFromTheWindow() {
        QVERIFY(!m_pContainer->GetFullScreenStatus());
        m_pWindow->m_bFullScreen = true;
        QVERIFY(m_pContainer->GetFullScreenStatus());
    }

    void aContainerWithoutAMainWindowRefusesQuietly() {
        QWidget plain;
        CViewContainer container(&plain);
        CViewWidget surface(&container);
        QVERIFY(!container.GetFullScreenStatus());
        container.ShowFloatDlg();
        container.HideFloatDlg();
        container.ShowCtrlsFloatDlg();
        container.HideCtrlsFloatDlg();
        container.ShowFullScreen();
        container.ShowNormal();
        QTest::mousePress(&surface, Qt::RightButton);
        QTest::mouseDClick(&surface, Qt::LeftButton);
    }

    void missingPartsOfTheWindowAreTolerated() {
        m_pWindow->m_pFloat = nullptr;
        m_pWindow->m_pBar = nullptr;
        m_pWindow->m_pSplitter = nullptr;
        EnterFullScreen();
        Hover(QPoint(100, 5));
        Hover(QPoint(100, m_szScreen.height() - 5));
        m_pContainer->ShowFullScreen();
        m_pContainer->ShowNormal();
    }

    void theFloatingPanelHoldsThreeButtonsAtTheLeft() {
        CFloatDlg panel(nullptr);
        panel.setGeometry(300, 300, 300, 21); // away from the mouse
        QCursor::setPos(5, 5);
        panel.show();
        QVERIFY(QTest::qWaitForWindowExposed(&panel));
        QCOMPARE(panel.minimumHeight(), 21);
        QCOMPARE(panel.maximumHeight(), 21);
        QCOMPARE(panel.cursor().shape(), Qt::ArrowCursor);
        int nX = 0;
        for (CSkinButton* pButton :
             {panel.m_pFullScreenBtn, panel.m_pNormalSizeBtn, panel.m_pDoubleSizeBtn}) {
            QCOMPARE(pButton->size(), QSize(18, 17));
            QCOMPARE(pButton->x(), nX);
            nX += 18;
        }
        const QImage image = panel.grab().toImage();
        QCOMPARE(image.pixelColor(299, 0), QColor("#26282C"));
        QCOMPARE(image.pixelColor(299, 20), QColor("#26282C"));
        QCOMPARE(WrongStates(panel.m_pFullScreenBtn, "frame-fullscreen"), QString());
        QCOMPARE(WrongStates(panel.m_pNormalSizeBtn, "frame-1x"), QString());
        QCOMPARE(WrongStates(panel.m_pDoubleSizeBtn, "frame-2x"), QString());
    }

  private:
    // Past QApplication, which delivers a drop only at the end of a drag of its own.
    void Give(QEvent& event) { static_cast<QObject*>(m_pSurface)->event(&event); }

    void EnterFullScreen() {
        m_pWindow->m_bFullScreen = true;
        m_pWindow->setGeometry(QRect(QPoint(0, 0), m_szScreen));
        m_pContainer->setGeometry(QRect(QPoint(0, 0), m_szScreen));
        m_pSurface->setGeometry(QRect(QPoint(0, 0), m_szScreen));
    }

    void Hover(const QPoint& pos) {
        QMouseEvent move(QEvent::MouseMove, pos, m_pSurface->mapToGlobal(pos), Qt::NoButton, Qt::NoButton,
                         {});
        QApplication::sendEvent(m_pSurface, &move);
    }

    void CompareIdle(bool bLogo) {
        const QImage image = m_pSurface->grab().toImage();
        const QColor ground("#141517");
        for (const QPoint& pos : {QPoint(0, 0), QPoint(599, 0), QPoint(0, 399), QPoint(599, 399)}) {
            QCOMPARE(image.pixelColor(pos), ground);
        }
        const QImage logo = QImage(":/Resources/background.bmp")
                                .scaled(400, 228, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
        int nDifferent = 0;
        int nMark = 0;
        for (int y = 0; y < 228; ++y) {
            for (int x = 0; x < 400; ++x) {
                const QColor shown = image.pixelColor(100 + x, 86 + y);
                nDifferent += shown != (bLogo ? logo.pixelColor(x, y) : ground);
                nMark += logo.pixelColor(x, y) != ground;
            }
        }
        QCOMPARE(nDifferent, 0);
        QVERIFY(nMark > 500);
    }

    std::unique_ptr<CFakeWindow> m_pWindow;
    CViewContainer* m_pContainer = nullptr;
    CViewWidget* m_pSurface = nullptr;
    QSize m_szScreen;
};

QTEST_MAIN(VideoViewTest)
#include "test_VideoView.moc"

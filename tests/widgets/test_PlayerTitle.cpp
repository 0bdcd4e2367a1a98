#include "tests/widgets/FakeWindow.h"
#include "tests/widgets/PaintCounter.h"
#include "widgets/PlayerTitle.h"
#include "widgets/SkinButton.h"

#include <QAccessible>
#include <QCursor>
#include <QLayout>
#include <QMouseEvent>
#include <QScreen>
#include <QTest>

#include <memory>

class PlayerTitleTest : public QObject {
    Q_OBJECT

  private slots:
    void init() {
        m_pWindow = std::make_unique<CFakeWindow>();
        m_pWindow->setWindowFlags(Qt::FramelessWindowHint);
        m_pWindow->setGeometry(100, 80, 600, 300);
        m_pTitle = new CPlayerTitle(m_pWindow.get());
        m_pTitle->setGeometry(0, 0, 600, 31);
        m_pWindow->show();
        QVERIFY(QTest::qWaitForWindowExposed(m_pWindow.get()));
        QCOMPARE(m_pWindow->geometry(), QRect(100, 80, 600, 300));
    }
    void cleanup() { m_pWindow.reset(); }

    void theButtonsSitAtTheRightEndInTheirOrder() {
        QCOMPARE(m_pTitle->height(), 31);
        QCOMPARE(m_pTitle->minimumHeight(), 31);
        QCOMPARE(m_pTitle->maximumHeight(), 31);
        for (CSkinButton* pButton : Buttons()) {
            QCOMPARE(pButton->size(), QSize(19, 18));
            QCOMPARE(pButton->parentWidget(), m_pTitle);
            QVERIFY(pButton->IsTitleButton());
        }
        QCOMPARE(600 - m_pTitle->m_pCloseBtn->geometry().right() - 1, 4);
        QVERIFY(m_pTitle->m_pMaxBtn->x() > m_pTitle->m_pMinBtn->geometry().right());
        QVERIFY(m_pTitle->m_pCloseBtn->x() > m_pTitle->m_pMaxBtn->geometry().right());
        QCOMPARE(m_pTitle->m_pMinBtn->x() - m_pTitle->m_pMenuBtn->geometry().right() - 1,
                 21 + m_pTitle->layout()->spacing());
    }

    void everyButtonHasAnAccessibleName() {
        for (CSkinButton* pButton : Buttons()) {
            QVERIFY(!QAccessible::queryAccessibleInterface(pButton)->text(QAccessible::Name).isEmpty());
        }
    }

    void theBarIsDrawnInFourPieces() {
        // The pieces' places, told by where the skin's logo is and is not.
        const QImage image = m_pTitle->grab().toImage();
        QImage logo =
            QImage(":/Resources/logo.bmp").scaled(95, 30, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
        int nDifferent = 0;
        for (int y = 0; y < 30; ++y) {
            for (int x = 0; x < 95; ++x) {
                nDifferent += image.pixelColor(4 + x, y) != logo.pixelColor(x, y);
            }
        }
        QCOMPARE(nDifferent, 0);
        const QColor ground("#26282C");
        QCOMPARE(image.pixelColor(0, 0), ground);
        QCOMPARE(image.pixelColor(100, 5), ground);
        QCOMPARE(image.pixelColor(599, 29), ground);
        QCOMPARE(image.pixelColor(0, 30), QColor("#1B1D20")); // the line under the bar
        QCOMPARE(image.pixelColor(300, 30), QColor("#1B1D20"));
        QCOMPARE(image.pixelColor(599, 30), QColor("#1B1D20"));
    }

    void aPathEstimatedToFitIsCentredAndALongerOneShowsItsBeginning_data() {
        QTest::addColumn<int>("nCharacters");
        QTest::addColumn<bool>("bCentred");
        QTest::newRow("20 x 12 is at most 326") << 20 << true;
        QTest::newRow("27 x 12 is 324") << 27 << true;
        QTest::newRow("28 x 12 is 336") << 28 << false;
        QTest::newRow("30 x 12 is more than 326") << 30 << false;
    }
    void aPathEstimatedToFitIsCentredAndALongerOneShowsItsBeginning() {
        QFETCH(int, nCharacters);
        QFETCH(bool, bCentred);
        QVERIFY(m_pTitle->SetShowFilePath(
            QString(nCharacters, 'i'))); // narrow letters: far from what is estimated
        const QRect rcInk = PathInk();
        QVERIFY(!rcInk.isNull());
        const int nLeft = rcInk.left() - 137;
        const int nRight = 600 - 138 - rcInk.right();
        if (bCentred) {
            QVERIFY2(qAbs(nLeft - nRight) <= 4, qPrintable(QString("%1 %2").arg(nLeft).arg(nRight)));
        } else {
            QVERIFY2(nLeft <= 3, qPrintable(QString::number(nLeft)));
        }
        QVERIFY(qAbs(rcInk.top() - (30 - rcInk.bottom())) <= 6); // in the middle of the height
    }

    void thePathStaysBetweenItsMargins() {
        m_pTitle->SetShowFilePath(QString(200, 'W'));
        const QRect rcInk = PathInk();
        QVERIFY(rcInk.left() >= 137);
        QVERIFY(rcInk.right() <= 600 - 138);
    }

    void settingThePathRepaintsAtOnce() {
        CPaintCounter counter(m_pTitle);
        m_pTitle->SetShowFilePath("a.mp4");
        QCOMPARE(counter.Taken(), 1);
    }

    void draggingTheBarMovesTheWindow() {
        Press(QPoint(200, 10));
        Drag(QPoint(230, 25), Qt::LeftButton);
        QCOMPARE(m_pWindow->pos(), QPoint(130, 95));
        Drag(QPoint(200, 10), Qt::LeftButton); // relative to the moved bar
        QCOMPARE(m_pWindow->pos(), QPoint(130, 95));
    }

    void otherButtonsHeldDoNotMoveTheWindow() {
        Press(QPoint(200, 10));
        Drag(QPoint(230, 25), Qt::RightButton);
        Drag(QPoint(230, 25), Qt::LeftButton | Qt::RightButton);
        Drag(QPoint(230, 25), Qt::NoButton);
        QCOMPARE(m_pWindow->pos(), QPoint(100, 80));
    }

    void aPressWithAnotherButtonDoesNotBeginADrag() {
        Press(QPoint(200, 10));
        Press(QPoint(300, 20), Qt::RightButton); // keeps the offset of the first
        Drag(QPoint(230, 25), Qt::LeftButton);
        QCOMPARE(m_pWindow->pos(), QPoint(130, 95));
    }

    void aHeldTitleButtonKeepsTheWindowWhereItIs() {
        Press(QPoint(200, 10));
        QTest::mousePress(m_pTitle->m_pMinBtn, Qt::LeftButton);
        Drag(QPoint(230, 25), Qt::LeftButton);
        QCOMPARE(m_pWindow->pos(), QPoint(100, 80));
        QTest::mouseRelease(m_pTitle->m_pMinBtn, Qt::LeftButton, {}, QPoint(-50, -50));
        Drag(QPoint(230, 25), Qt::LeftButton);
        QCOMPARE(m_pWindow->pos(), QPoint(130, 95));
    }

    void everyButtonReportsItselfHeld() {
        for (CSkinButton* pButton : Buttons()) {
            m_pWindow->move(100, 80);
            Press(QPoint(200, 10));
            emit pButton->SetTitleButtonStatus(true);
            Drag(QPoint(230, 25), Qt::LeftButton);
            QCOMPARE(m_pWindow->pos(), QPoint(100, 80));
            emit pButton->SetTitleButtonStatus(false);
        }
    }

    void aDoubleClickFillsTheAvailableScreenAndAnotherRestoresExactly() {
        QTest::mouseDClick(m_pTitle, Qt::LeftButton, {}, QPoint(300, 10));
        QCOMPARE(m_pWindow->geometry(), QGuiApplication::primaryScreen()->availableGeometry());
        QCOMPARE(m_pWindow->Taken(), QStringList({"SetMaxScreen true"}));
        QVERIFY(!m_pWindow->isMaximized());
        QTest::mouseDClick(m_pTitle, Qt::LeftButton, {}, QPoint(300, 10));
        QCOMPARE(m_pWindow->geometry(), QRect(100, 80, 600, 300));
        QCOMPARE(m_pWindow->Taken(), QStringList({"SetMaxScreen false"}));
    }

    void aDoubleClickWithAnotherButtonDoesNothing() {
        QTest::mouseDClick(m_pTitle, Qt::RightButton, {}, QPoint(300, 10));
        QCOMPARE(m_pWindow->geometry(), QRect(100, 80, 600, 300));
        QCOMPARE(m_pWindow->Taken(), QStringList());
    }

    void whileMaximisedTheBarDoesNotDragTheWindow() {
        QVERIFY(m_pTitle->ShowMaxScreen());
        const QRect rcMax = m_pWindow->geometry();
        Press(QPoint(200, 10));
        Drag(QPoint(230, 25), Qt::LeftButton);
        QCOMPARE(m_pWindow->geometry(), rcMax);
    }

    void theMaximiseButtonShowsWhatItWillDo() {
        QTest::mouseClick(m_pTitle->m_pMaxBtn, Qt::LeftButton);
        QCOMPARE(m_pWindow->Taken(), QStringList({"SetMaxScreen true"}));
        QCOMPARE(Difference(":/Resources/max_zoom.bmp"), 0);
        QTest::mouseClick(m_pTitle->m_pMaxBtn, Qt::LeftButton);
        QCOMPARE(m_pWindow->Taken(), QStringList({"SetMaxScreen false"}));
        QCOMPARE(Difference(":/Resources/max.bmp"), 0);
        QVERIFY(Difference(":/Resources/max_zoom.bmp") > 0);
    }

    void theMenuButtonAsksForTheMenuAtTheMouse() {
        QCursor::setPos(321, 123);
        QTest::mouseClick(m_pTitle->m_pMenuBtn, Qt::LeftButton);
        QCOMPARE(m_pWindow->Taken(),
                 QStringList({QString("ShowTopMenu %1 %2").arg(QCursor::pos().x()).arg(QCursor::pos().y())}));
    }

    void theMinimiseButtonMinimisesTheWindow() {
        QTest::mouseClick(m_pTitle->m_pMinBtn, Qt::LeftButton);
        QTRY_VERIFY(m_pWindow->isMinimized());
    }

    void theCloseButtonIsLeftToTheWindowAndTheSlotExits() {
        QTest::mouseClick(m_pTitle->m_pCloseBtn, Qt::LeftButton);
        QCOMPARE(m_pWindow->Taken(), QStringList());
        QVERIFY(m_pTitle->CloseWindow());
        QCOMPARE(m_pWindow->Taken(), QStringList({"Exit"}));
    }

    void withoutAMainWindowEveryCommandIsRefused() {
        QWidget plain;
        CPlayerTitle title(&plain);
        const QRect rcBefore = plain.geometry();
        QVERIFY(!title.OnClickToolButton());
        QVERIFY(!title.ShowMaxScreen());
        QVERIFY(!title.CloseWindow());
        QTest::mousePress(&title, Qt::LeftButton);
        QTest::mouseClick(title.m_pMinBtn, Qt::LeftButton);
        QCOMPARE(plain.geometry(), rcBefore);
    }

  private:
    QList<CSkinButton*> Buttons() const {
        return {m_pTitle->m_pMenuBtn, m_pTitle->m_pMinBtn, m_pTitle->m_pMaxBtn, m_pTitle->m_pCloseBtn};
    }

    void Press(const QPoint& pos, Qt::MouseButton eButton = Qt::LeftButton) {
        QMouseEvent press(QEvent::MouseButtonPress, pos, m_pTitle->mapToGlobal(pos), eButton, eButton, {});
        QApplication::sendEvent(m_pTitle, &press);
    }

    void Drag(const QPoint& pos, Qt::MouseButtons eButtons) {
        QMouseEvent move(QEvent::MouseMove, pos, m_pTitle->mapToGlobal(pos), Qt::NoButton, eButtons, {});
        QApplication::sendEvent(m_pTitle, &move);
    }

    // Where the bar differs from one without a path.
    QRect PathInk() {
        const QImage with = m_pTitle->grab().toImage();
        CPlayerTitle bare(nullptr);
        bare.setGeometry(m_pTitle->geometry());
        const QImage without = bare.grab().toImage();
        QRect rcInk;
        for (int y = 0; y < with.height(); ++y) {
            for (int x = 100; x < 500; ++x) {
                if (with.pixel(x, y) != without.pixel(x, y)) rcInk |= QRect(x, y, 1, 1);
            }
        }
        return rcInk;
    }

    // Number of pixels in which the maximise button at rest differs from the image.
    int Difference(const QString& strPath) {
        const QImage shown = m_pTitle->m_pMaxBtn->grab().toImage();
        const QImage wanted = QImage(strPath).scaled(19, 18, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
        int nDifferent = 0;
        for (int y = 0; y < 18; ++y) {
            for (int x = 0; x < 19; ++x) {
                nDifferent += shown.pixelColor(x, y) != wanted.pixelColor(x, y);
            }
        }
        return nDifferent;
    }

    std::unique_ptr<CFakeWindow> m_pWindow;
    CPlayerTitle* m_pTitle = nullptr;
};

QTEST_MAIN(PlayerTitleTest)
#include "test_PlayerTitle.moc"

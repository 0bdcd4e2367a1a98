#include "tests/widgets/FakeWindow.h"
#include "tests/widgets/PaintCounter.h"
#include "tests/widgets/ShownSkin.h"
#include "widgets/PlayerTitle.h"
#include "widgets/SkinButton.h"

#include <QAccessible>
#include <QCursor>
#include <QLayout>
#include <QMouseEvent>
#include <QScreen>
#include <QTest>
#include <QTranslator>

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

    void everyButtonIsNamedForSightAndForScreenReaders() {
        const auto Names = [this] {
            QStringList lstNames;
            for (CSkinButton* pButton : Buttons()) {
                lstNames << QAccessible::queryAccessibleInterface(pButton)->text(QAccessible::Name);
                if (lstNames.last() != pButton->toolTip()) lstNames << "but " + pButton->toolTip();
            }
            return lstNames;
        };
        QCOMPARE(Names(), QStringList({"Menu", "Minimize", "Maximize", "Close"}));
        m_pTitle->ShowMaxScreen();
        QCOMPARE(Names(), QStringList({"Menu", "Minimize", "Restore", "Close"}));
        QTranslator translator;
        QVERIFY(translator.load(":/talvio_zh.qm"));
        QCoreApplication::installTranslator(&translator);
        QApplication::processEvents();
        QCOMPARE(Names(), QStringList({"菜单", "最小化", "还原", "关闭"}));
        QCoreApplication::removeTranslator(&translator);
        QApplication::processEvents();
        QCOMPARE(Names(), QStringList({"Menu", "Minimize", "Restore", "Close"}));
    }

    void everyButtonHasItsImagesInEveryState() {
        QCOMPARE(WrongStates(m_pTitle->m_pMenuBtn, "menu"), QString());
        QCOMPARE(WrongStates(m_pTitle->m_pMinBtn, "min"), QString());
        QCOMPARE(WrongStates(m_pTitle->m_pMaxBtn, "max"), QString());
        QCOMPARE(WrongStates(m_pTitle->m_pCloseBtn, "close"), QString());
        QCOMPARE(m_pWindow->Taken(), QStringList());
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

    void thePathsHeightCountsFromTheBarsOwnPlace() {
        m_pTitle->SetShowFilePath("a.mp4");
        const QRect rcInk = PathInk();
        m_pTitle->move(0, 7);
        QCOMPARE(PathInk(), rcInk.translated(0, 7));
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

    void aPressIsNotPassedOnToTheWindow() {
        for (const Qt::MouseButton eButton : {Qt::LeftButton, Qt::RightButton}) {
            QMouseEvent press(QEvent::MouseButtonPress, QPointF(598, 1),
                              m_pTitle->mapToGlobal(QPointF(598, 1)), eButton, eButton, {});
            press.ignore();
            static_cast<QObject*>(m_pTitle)->event(&press);
            QVERIFY(press.isAccepted());
        }
    }

    // A move that the bar takes no part in is left as it came; the base handling would pass it on.
    void onlyAMoveThatMayDragGetsTheBaseHandling() {
        const auto PassedOn = [](CPlayerTitle* pTitle, Qt::MouseButtons buttons) {
            QMouseEvent move(QEvent::MouseMove, QPointF(200, 10), pTitle->mapToGlobal(QPointF(200, 10)),
                             Qt::NoButton, buttons, {});
            move.accept();
            static_cast<QObject*>(pTitle)->event(&move);
            return !move.isAccepted();
        };
        Press(QPoint(200, 10));
        QVERIFY(PassedOn(m_pTitle, Qt::LeftButton));
        QVERIFY(PassedOn(m_pTitle, Qt::RightButton));
        QVERIFY(PassedOn(m_pTitle, Qt::NoButton));
        m_pTitle->SetTitleButtonStatus(true);
        QVERIFY(!PassedOn(m_pTitle, Qt::LeftButton));
        QVERIFY(!PassedOn(m_pTitle, Qt::NoButton));
        m_pTitle->SetTitleButtonStatus(false);
        QVERIFY(m_pTitle->ShowMaxScreen());
        QVERIFY(!PassedOn(m_pTitle, Qt::LeftButton));
        QVERIFY(!PassedOn(m_pTitle, Qt::NoButton));
        QVERIFY(m_pTitle->ShowMaxScreen());
        QVERIFY(PassedOn(m_pTitle, Qt::NoButton));
        CPlayerTitle alone(nullptr);
        QVERIFY(!PassedOn(&alone, Qt::LeftButton));
        QVERIFY(!PassedOn(&alone, Qt::NoButton));
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

    void anUnsteadyDoubleClickRestoresExactlyToo() {
        QTest::mouseDClick(m_pTitle, Qt::LeftButton, {}, QPoint(300, 10));
        QTest::mouseDClick(m_pTitle, Qt::LeftButton, {}, QPoint(300, 10));
        Drag(QPoint(301, 10), Qt::LeftButton); // the button is still held
        QCOMPARE(m_pWindow->geometry(), QRect(100, 80, 600, 300));
        Press(QPoint(200, 10));
        Drag(QPoint(230, 25), Qt::LeftButton);
        QCOMPARE(m_pWindow->pos(), QPoint(130, 95));
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
        QCOMPARE(WrongStates(m_pTitle->m_pMaxBtn, "max_zoom", "max-hover_zoom", "max-sel_zoom"), QString());
        QTest::mouseClick(m_pTitle->m_pMaxBtn, Qt::LeftButton);
        QCOMPARE(m_pWindow->Taken(), QStringList({"SetMaxScreen false"}));
        QCOMPARE(WrongStates(m_pTitle->m_pMaxBtn, "max"), QString());
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

    std::unique_ptr<CFakeWindow> m_pWindow;
    CPlayerTitle* m_pTitle = nullptr;
};

QTEST_MAIN(PlayerTitleTest)
#include "test_PlayerTitle.moc"

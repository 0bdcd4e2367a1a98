// Resizing the main window by its edges.
#include "tests/app/DlgTest.h"

#include <QMouseEvent>
#include <QTest>

namespace {

void Send(QWidget& widget, QEvent::Type type, const QPoint& pos, Qt::MouseButton button,
          Qt::MouseButtons buttons) {
    QMouseEvent event(type, pos, widget.mapToGlobal(pos), button, buttons, Qt::NoModifier);
    QCoreApplication::sendEvent(&widget, &event);
}

} // namespace

class CEdgesTest : public QObject {
    Q_OBJECT

  private slots:
    void init() { m_pTest = std::make_unique<CDlgTest>(); }
    void cleanup() { m_pTest.reset(); }

    void TheRightEdgeAndTheBottomEdgeResize();
    void AnEdgeIsFivePixelsWide_data();
    void AnEdgeIsFivePixelsWide();
    void OnlyTheLeftButtonResizes();
    void TheLeftEdgeDoesNotResize();
    void AStepThatMakesBothSidesTooSmallIsIgnored();
    void TheSmallestStepIsCountedFromEdgeToEdge_data();
    void TheSmallestStepIsCountedFromEdgeToEdge();
    void ReleasingEndsTheResizing();
    void TheCursorShowsTheEdge_data();
    void TheCursorShowsTheEdge();
    void AMaximisedWindowIsNotResized();
    void NorIsOneInFullScreen();

  private:
    std::unique_ptr<CDlgTest> m_pTest;
};

void CEdgesTest::TheRightEdgeAndTheBottomEdgeResize() {
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

void CEdgesTest::AnEdgeIsFivePixelsWide_data() {
    QTest::addColumn<QPoint>("pos");
    QTest::addColumn<QSize>("grown");
    QTest::newRow("right") << QPoint(745, 200) << QSize(20, 0);
    QTest::newRow("before the right") << QPoint(744, 200) << QSize(0, 0);
    QTest::newRow("bottom") << QPoint(300, 475) << QSize(0, 10);
    QTest::newRow("before the bottom") << QPoint(300, 474) << QSize(0, 0);
    QTest::newRow("both") << QPoint(745, 475) << QSize(20, 10);
}

void CEdgesTest::AnEdgeIsFivePixelsWide() {
    QFETCH(QPoint, pos);
    QFETCH(QSize, grown);
    CTalvioDlg& dlg = m_pTest->Dlg();
    dlg.show();
    const QRect rcStart = dlg.geometry();
    Send(dlg, QEvent::MouseButtonPress, pos, Qt::LeftButton, Qt::LeftButton);
    Send(dlg, QEvent::MouseMove, pos + QPoint(20, 10), Qt::NoButton, Qt::LeftButton);
    QCOMPARE(dlg.geometry(), QRect(rcStart.topLeft(), rcStart.size() + grown));
}

void CEdgesTest::OnlyTheLeftButtonResizes() {
    CTalvioDlg& dlg = m_pTest->Dlg();
    dlg.show();
    const QRect rcStart = dlg.geometry();
    Send(dlg, QEvent::MouseButtonPress, QPoint(748, 200), Qt::RightButton, Qt::RightButton);
    Send(dlg, QEvent::MouseMove, QPoint(768, 250), Qt::NoButton, Qt::RightButton);
    QCOMPARE(dlg.geometry(), rcStart);
}

void CEdgesTest::TheLeftEdgeDoesNotResize() {
    CTalvioDlg& dlg = m_pTest->Dlg();
    dlg.show();
    const QRect rcStart = dlg.geometry();
    Send(dlg, QEvent::MouseButtonPress, QPoint(2, 200), Qt::LeftButton, Qt::LeftButton);
    Send(dlg, QEvent::MouseMove, QPoint(-40, 260), Qt::NoButton, Qt::LeftButton);
    QCOMPARE(dlg.geometry(), rcStart);
}

void CEdgesTest::AStepThatMakesBothSidesTooSmallIsIgnored() {
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

// Right less left and bottom less top: one less than width and height. What is too small on one side alone is
// applied, as far as the window's smallest size lets it.
void CEdgesTest::TheSmallestStepIsCountedFromEdgeToEdge_data() {
    QTest::addColumn<QSize>("wanted");
    QTest::addColumn<QSize>("given");
    QTest::newRow("530 x 355 is ignored") << QSize(530, 355) << QSize(560, 380);
    QTest::newRow("531 x 355") << QSize(531, 355) << QSize(531, 355);
    QTest::newRow("530 x 356") << QSize(530, 356) << QSize(530, 356);
    QTest::newRow("520 x 340 is ignored") << QSize(520, 340) << QSize(560, 380);
    QTest::newRow("520 x 400") << QSize(520, 400) << QSize(530, 400);
    QTest::newRow("531 x 340") << QSize(531, 340) << QSize(531, 355);
}

void CEdgesTest::TheSmallestStepIsCountedFromEdgeToEdge() {
    QFETCH(QSize, wanted);
    QFETCH(QSize, given);
    CTalvioDlg& dlg = m_pTest->Dlg();
    dlg.show();
    dlg.resize(560, 380);
    Send(dlg, QEvent::MouseButtonPress, QPoint(558, 378), Qt::LeftButton, Qt::LeftButton);
    Send(dlg, QEvent::MouseMove, QPoint(wanted.width() - 2, wanted.height() - 2), Qt::NoButton,
         Qt::LeftButton);
    QCOMPARE(dlg.size(), given);
}

void CEdgesTest::ReleasingEndsTheResizing() {
    CTalvioDlg& dlg = m_pTest->Dlg();
    dlg.show();
    const QRect rcStart = dlg.geometry();
    Send(dlg, QEvent::MouseButtonPress, QPoint(748, 200), Qt::LeftButton, Qt::LeftButton);
    Send(dlg, QEvent::MouseButtonRelease, QPoint(748, 200), Qt::LeftButton, Qt::NoButton);
    Send(dlg, QEvent::MouseMove, QPoint(778, 200), Qt::NoButton, Qt::NoButton);
    QCOMPARE(dlg.geometry(), rcStart);
}

void CEdgesTest::TheCursorShowsTheEdge_data() {
    QTest::addColumn<QPoint>("pos");
    QTest::addColumn<int>("shape");
    QTest::newRow("bottom") << QPoint(300, 475) << int(Qt::SizeVerCursor);
    QTest::newRow("right") << QPoint(745, 200) << int(Qt::SizeHorCursor);
    QTest::newRow("one pixel before the right") << QPoint(744, 200) << int(Qt::ArrowCursor);
    QTest::newRow("one pixel before the bottom") << QPoint(300, 474) << int(Qt::ArrowCursor);
    QTest::newRow("right and bottom") << QPoint(749, 479) << int(Qt::SizeFDiagCursor);
    QTest::newRow("left") << QPoint(4, 200) << int(Qt::ArrowCursor);
    QTest::newRow("left and bottom") << QPoint(0, 479) << int(Qt::ArrowCursor);
    QTest::newRow("none") << QPoint(5, 474) << int(Qt::ArrowCursor);
}

void CEdgesTest::TheCursorShowsTheEdge() {
    QFETCH(QPoint, pos);
    QFETCH(int, shape);
    CTalvioDlg& dlg = m_pTest->Dlg();
    dlg.show();
    dlg.setCursor(Qt::WaitCursor);
    Send(dlg, QEvent::MouseMove, pos, Qt::NoButton, Qt::NoButton);
    QCOMPARE(int(dlg.cursor().shape()), shape);
}

void CEdgesTest::AMaximisedWindowIsNotResized() {
    CTalvioDlg& dlg = m_pTest->Dlg();
    dlg.show();
    dlg.SetMaxScreen(true);
    const QRect rcStart = dlg.geometry();
    Send(dlg, QEvent::MouseButtonPress, QPoint(748, 200), Qt::LeftButton, Qt::LeftButton);
    Send(dlg, QEvent::MouseMove, QPoint(768, 250), Qt::NoButton, Qt::LeftButton);
    QCOMPARE(dlg.geometry(), rcStart);
}

void CEdgesTest::NorIsOneInFullScreen() {
    CTalvioDlg& dlg = m_pTest->Dlg();
    dlg.show();
    m_pTest->Play();
    QVERIFY(dlg.FullScreen());
    const QRect rcFull = dlg.geometry();
    dlg.setCursor(Qt::WaitCursor);
    const QPoint posEdge(dlg.width() - 2, 200);
    Send(dlg, QEvent::MouseMove, posEdge, Qt::NoButton, Qt::NoButton);
    QCOMPARE(dlg.cursor().shape(), Qt::WaitCursor);
    Send(dlg, QEvent::MouseButtonPress, posEdge, Qt::LeftButton, Qt::LeftButton);
    Send(dlg, QEvent::MouseMove, posEdge - QPoint(60, 0), Qt::NoButton, Qt::LeftButton);
    QCOMPARE(dlg.geometry(), rcFull);
}

QTEST_MAIN(CEdgesTest)
#include "test_Edges.moc"

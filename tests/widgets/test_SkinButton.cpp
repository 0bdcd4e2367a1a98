#include "tests/widgets/PaintCounter.h"
#include "tests/widgets/TestImages.h"
#include "widgets/SkinButton.h"

#include <QAccessible>
#include <QBackingStore>
#include <QEnterEvent>
#include <QFile>
#include <QLineEdit>
#include <QSignalSpy>
#include <QTest>
#include <QWindow>

#include <memory>

class SkinButtonTest : public QObject {
    Q_OBJECT

  private slots:
    void init() {
        m_pWindow = std::make_unique<QWidget>();
        m_pWindow->resize(200, 200);
        m_pButton = new CSkinButton(m_pWindow.get());
        m_pButton->setGeometry(50, 50, 40, 30);
        m_pButton->SetBitMap(m_images.Path(Qt::red), m_images.Path(Qt::green), m_images.Path(Qt::blue));
        m_pWindow->show();
        QVERIFY(QTest::qWaitForWindowExposed(m_pWindow.get()));
        QTest::mouseMove(m_pWindow->windowHandle(), QPoint(5, 5));
        QApplication::processEvents();
    }
    void cleanup() { m_pWindow.reset(); }

    void aNewButtonNeverTakesTheKeyboard() {
        QCOMPARE(m_pButton->focusPolicy(), Qt::NoFocus);
        QLineEdit* pEdit = new QLineEdit(m_pWindow.get());
        pEdit->show();
        pEdit->setFocus();
        QTest::mouseClick(m_pButton, Qt::LeftButton);
        QCOMPARE(m_pWindow->focusWidget(), pEdit);
    }

    void theNormalImageIsStretchedOverTheWholeButton() {
        const QImage image = Shown();
        for (const QPoint& pos :
             {QPoint(0, 0), QPoint(39, 0), QPoint(0, 29), QPoint(39, 29), QPoint(20, 15)}) {
            QCOMPARE(image.pixelColor(pos), QColor(Qt::red));
        }
    }

    void anEmptyHoverOrNormalPathDrawsNoBitmapAtAll() {
        m_pButton->SetBitMap(m_images.Path(Qt::red), "", m_images.Path(Qt::blue));
        QVERIFY(Shown().pixelColor(20, 15) != QColor(Qt::red));
        QTest::mousePress(m_pButton, Qt::LeftButton);
        QVERIFY(Shown().pixelColor(20, 15) != QColor(Qt::blue));
        QTest::mouseRelease(m_pButton, Qt::LeftButton);
        m_pButton->SetBitMap("", m_images.Path(Qt::green), m_images.Path(Qt::blue));
        QVERIFY(Shown().pixelColor(20, 15) != QColor(Qt::green));
    }

    void aPathThatIsNoImageLeavesThePlainButton() {
        m_pButton->SetBitMap("/nowhere/a.bmp", "/nowhere/b.bmp", "/nowhere/c.bmp");
        QVERIFY(Shown().pixelColor(20, 15) != QColor(Qt::red));
    }

    void aBrokenImageLeavesThePlainButton() {
        QTemporaryDir dir;
        const QImage plain = PlainButton();
        for (const char* pContent : {"", "BM", "BM this is no image at all, whatever it begins with"}) {
            QFile file(dir.filePath("broken.bmp"));
            QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
            file.write(pContent);
            file.close();
            m_pButton->SetBitMap(file.fileName(), file.fileName(), file.fileName());
            QCOMPARE(Shown(), plain);
        }
    }

    void settingImagesRepaintsAtOnce() {
        CPaintCounter counter(m_pButton);
        m_pButton->SetBitMap(m_images.Path(Qt::cyan), m_images.Path(Qt::green), m_images.Path(Qt::blue));
        QCOMPARE(counter.Taken(), 1); // without any return to the event loop
        QCOMPARE(OnScreen(), QColor(Qt::cyan));
    }

    void enteringShowsTheHoverImageAndThePointingHand() {
        QTest::mouseMove(m_pWindow->windowHandle(), QPoint(70, 65));
        QApplication::processEvents();
        QCOMPARE(Shown().pixelColor(20, 15), QColor(Qt::green));
        QCOMPARE(m_pButton->cursor().shape(), Qt::PointingHandCursor);
    }

    // Without any return to the event loop in between.
    void enteringShowsTheHoverImageAtOnceAndLeavingKeepsIt() {
        QCOMPARE(OnScreen(), QColor(Qt::red));
        Enter();
        QCOMPARE(OnScreen(), QColor(Qt::green));
        QEvent leave(QEvent::Leave);
        QApplication::sendEvent(m_pButton, &leave);
        QCOMPARE(OnScreen(), QColor(Qt::green));
        m_pButton->repaint();
        QCOMPARE(OnScreen(), QColor(Qt::red));
    }

    void leavingPutsTheArrowBackButDoesNotRepaint() {
        QTest::mouseMove(m_pWindow->windowHandle(), QPoint(70, 65));
        QApplication::processEvents();
        CPaintCounter counter(m_pButton);
        QTest::mouseMove(m_pWindow->windowHandle(), QPoint(5, 5));
        QApplication::processEvents();
        QCOMPARE(counter.Taken(), 0);
        QCOMPARE(m_pButton->cursor().shape(), Qt::ArrowCursor);
        // The next repaint, for whatever reason, shows that the mouse is gone.
        m_pButton->repaint();
        QCOMPARE(counter.Taken(), 1);
        QCOMPARE(Shown().pixelColor(20, 15), QColor(Qt::red));
    }

    void pressingShowsThePressedImageEvenWhenTheMouseHasLeft() {
        QTest::mouseMove(m_pWindow->windowHandle(), QPoint(70, 65));
        QTest::mousePress(m_pButton, Qt::LeftButton);
        QCOMPARE(Shown().pixelColor(20, 15), QColor(Qt::blue));
        QEvent leave(QEvent::Leave);
        QApplication::sendEvent(m_pButton, &leave);
        QCOMPARE(Shown().pixelColor(20, 15), QColor(Qt::blue));
        QTest::mouseRelease(m_pButton, Qt::LeftButton);
        QCOMPARE(Shown().pixelColor(20, 15), QColor(Qt::red));
    }

    void releasingOverTheButtonReturnsToTheHoverImage() {
        QTest::mouseMove(m_pWindow->windowHandle(), QPoint(70, 65));
        QTest::mouseClick(m_pButton, Qt::LeftButton);
        QCOMPARE(Shown().pixelColor(20, 15), QColor(Qt::green));
    }

    // Each change is on the screen before anybody is told of it, and without any return to the event loop.
    void pressAndReleaseAreShownAtOnce() {
        QList<QColor> lstShown;
        connect(m_pButton, &QAbstractButton::clicked, this, [&] { lstShown << OnScreen(); });
        connect(m_pButton, &CSkinButton::ReleaseButton, this, [&] { lstShown << OnScreen(); });
        Enter();
        QTest::mousePress(m_pButton, Qt::LeftButton);
        QCOMPARE(OnScreen(), QColor(Qt::blue));
        QTest::mouseRelease(m_pButton, Qt::LeftButton);
        QCOMPARE(OnScreen(), QColor(Qt::green));
        QCOMPARE(lstShown, QList<QColor>({Qt::blue, Qt::green}));
    }

    void theSignalsComeInTheirOrder() {
        QStringList lstSignals;
        connect(m_pButton, &CSkinButton::SetTitleButtonStatus, this,
                [&](bool bFlag) { lstSignals << (bFlag ? "held" : "free"); });
        connect(m_pButton, &QAbstractButton::clicked, this, [&] { lstSignals << "clicked"; });
        connect(m_pButton, &CSkinButton::ReleaseButton, this, [&] { lstSignals << "released"; });
        QTest::mousePress(m_pButton, Qt::LeftButton);
        QCOMPARE(lstSignals, QStringList({"held"}));
        QTest::mouseRelease(m_pButton, Qt::LeftButton);
        QCOMPARE(lstSignals, QStringList({"held", "clicked", "free", "released"}));
    }

    void aReleaseOffTheButtonIsStillReported() {
        QSignalSpy spyRelease(m_pButton, &CSkinButton::ReleaseButton);
        QSignalSpy spyClick(m_pButton, &QAbstractButton::clicked);
        QTest::mousePress(m_pButton, Qt::LeftButton);
        QTest::mouseRelease(m_pButton, Qt::LeftButton, {}, QPoint(-30, -30));
        QCOMPARE(spyRelease.count(), 1);
        QCOMPARE(spyClick.count(), 0);
    }

    // Assistive technology presses a button without a mouse.
    void aPressWithoutAMouseIsReportedAsAReleaseToo() {
        QSignalSpy spyRelease(m_pButton, &CSkinButton::ReleaseButton);
        QSignalSpy spyClick(m_pButton, &QAbstractButton::clicked);
        m_pButton->click();
        QCOMPARE(spyClick.count(), 1);
        QCOMPARE(spyRelease.count(), 1);
    }

    void anEmptyToolTipPutsTheEarlierOneBack() {
        m_pButton->SetToolTipText("");
        QCOMPARE(m_pButton->toolTip(), QString());
        m_pButton->SetToolTipText("Stop");
        m_pButton->setToolTip("something else");
        m_pButton->SetToolTipText("");
        QCOMPARE(m_pButton->toolTip(), QString("Stop"));
    }

    void theToolTipIsTheAccessibleNameOfAButton() {
        m_pButton->SetToolTipText("Pause");
        QAccessibleInterface* pAccessible = QAccessible::queryAccessibleInterface(m_pButton);
        QCOMPARE(pAccessible->text(QAccessible::Name), QString("Pause"));
        QCOMPARE(pAccessible->role(), QAccessible::Button);
        m_pButton->SetToolTipText("Play");
        QCOMPARE(pAccessible->text(QAccessible::Name), QString("Play"));
    }

    void theTitleButtonFlagIsKept() {
        QVERIFY(!m_pButton->IsTitleButton());
        m_pButton->SetTitleButton(true);
        QVERIFY(m_pButton->IsTitleButton());
    }

    void aLargeImageIsAveragedDownNotSampled() {
        // Columns one pixel wide in turn black and white: every fourth one alone would be plain black.
        QTemporaryDir dir;
        QImage image(160, 120, QImage::Format_RGB32);
        for (int y = 0; y < image.height(); ++y) {
            for (int x = 0; x < image.width(); ++x) {
                image.setPixelColor(x, y, x % 2 ? Qt::white : Qt::black);
            }
        }
        const QString strPath = dir.filePath("columns.bmp");
        QVERIFY(image.save(strPath));
        m_pButton->SetBitMap(strPath, strPath, strPath);
        const int nGrey = Shown().pixelColor(20, 15).red();
        QVERIFY2(nGrey > 110 && nGrey < 145, qPrintable(QString::number(nGrey)));
    }

  private:
    QImage PlainButton() {
        m_pButton->SetBitMap("", "", "");
        return Shown();
    }
    QImage Shown() { return m_pButton->grab().toImage(); }

    void Enter() {
        QEnterEvent enter(QPointF(20, 15), QPointF(70, 65), m_pButton->mapToGlobal(QPointF(20, 15)));
        QApplication::sendEvent(m_pButton, &enter);
    }

    // What the button's last painting left in the window. Paints nothing itself.
    QColor OnScreen() {
        QPaintDevice* pDevice = m_pWindow->backingStore()->paintDevice();
        if (pDevice->devType() != QInternal::Image) qFatal("the window is not painted in memory");
        const auto* pImage = static_cast<const QImage*>(pDevice);
        return pImage->pixelColor(QPoint(70, 65) * qRound(pImage->devicePixelRatio()));
    }

    CTestImages m_images;
    std::unique_ptr<QWidget> m_pWindow;
    CSkinButton* m_pButton = nullptr;
};

QTEST_MAIN(SkinButtonTest)
#include "test_SkinButton.moc"

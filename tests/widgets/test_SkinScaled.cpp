// The skin on a screen of another scale, which QT_SCALE_FACTOR gives: every physical pixel is drawn from the
// images, none is made by stretching.
#include "tests/widgets/FakeWindow.h"
#include "widgets/ControlsBarWidget.h"
#include "widgets/PlaySlider.h"
#include "widgets/SkinButton.h"
#include "widgets/SoundSlider.h"

#include <QApplication>
#include <QLayout>
#include <QPainter>
#include <QPalette>
#include <QTest>

class SkinScaledTest : public QObject {
    Q_OBJECT

  private slots:
    void aButtonShowsItsImageAveragedToThePhysicalPixels_data() {
        QTest::addColumn<QSize>("size");
        QTest::newRow("play") << QSize(38, 39);
        QTest::newRow("stop-hover") << QSize(38, 39);
        QTest::newRow("tolast") << QSize(24, 22);
        QTest::newRow("volumeon") << QSize(35, 25);
        QTest::newRow("en") << QSize(34, 17);
        QTest::newRow("max") << QSize(19, 18);
        QTest::newRow("frame-1x") << QSize(18, 17);
        QTest::newRow("logo") << QSize(95, 30);
    }
    void aButtonShowsItsImageAveragedToThePhysicalPixels() {
        QFETCH(QSize, size);
        CSkinButton button(nullptr);
        button.setFixedSize(size);
        const QString strPath = QString(":/Resources/%1.bmp").arg(QTest::currentDataTag());
        button.SetBitMap(strPath, strPath, strPath);
        const QImage shown = button.grab().toImage().convertToFormat(QImage::Format_RGB32);
        QCOMPARE(shown.size(), QSize(Physical(size.width()), Physical(size.height())));
        QImage wanted = QImage(strPath).scaled(shown.size(), Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
        wanted.setDevicePixelRatio(shown.devicePixelRatio());
        QCOMPARE(shown, wanted.convertToFormat(QImage::Format_RGB32));
    }

    // Where the edges fall between two pixels too: the image is averaged to just the pixels that the button
    // gets, so that no row or column is left out, and nothing of the plain button is seen beside it.
    void everyRowAndColumnIsThereWhereverTheButtonLies() {
        QWidget window;
        window.resize(60, 60);
        window.setAutoFillBackground(true);
        window.setPalette(QPalette(Qt::magenta));
        CSkinButton button(&window);
        const std::pair<const char*, QSize> buttons[] = {{"max", QSize(19, 18)},
                                                         {"volumeon", QSize(35, 25)},
                                                         {"en", QSize(34, 17)},
                                                         {"frame-1x", QSize(18, 17)}};
        for (const auto& [pName, size] : buttons) {
            const QString strPath = QString(":/Resources/%1.bmp").arg(pName);
            button.SetBitMap(strPath, strPath, strPath);
            for (const QPoint& pos : {QPoint(0, 0), QPoint(1, 2), QPoint(2, 1), QPoint(3, 5)}) {
                button.setGeometry(QRect(pos, size));
                const QPoint first(Physical(pos.x()), Physical(pos.y()));
                const QPoint end(Physical(pos.x() + size.width()), Physical(pos.y() + size.height()));
                const QImage image = QImage(strPath).scaled(end.x() - first.x(), end.y() - first.y(),
                                                            Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
                const QImage shown = window.grab().toImage().convertToFormat(QImage::Format_RGB32);
                QImage wanted(shown.size(), QImage::Format_RGB32);
                wanted.fill(Qt::magenta);
                QPainter(&wanted).drawImage(first, image);
                wanted.setDevicePixelRatio(shown.devicePixelRatio());
                QVERIFY2(shown == wanted,
                         qPrintable(QString("%1 at %2, %3").arg(pName).arg(pos.x()).arg(pos.y())));
            }
        }
    }

    void theSlidersGroovesAreOneSharpBarEachBehindTheHandle() {
        CFakeWindow window;
        CControlsBarWidget bar(&window);
        window.resize(750, 64);
        bar.resize(750, 64);
        bar.m_pPlaySlider->setValue(65535 / 2);
        bar.m_pSoundSlider->setValue(65535 / 2);
        bar.ensurePolished();
        bar.layout()->activate();
        for (QWidget* pSlider :
             {static_cast<QWidget*>(bar.m_pPlaySlider), static_cast<QWidget*>(bar.m_pSoundSlider)}) {
            const QImage image = bar.grab(pSlider->geometry()).toImage();
            QCOMPARE(image.height(), Physical(pSlider->height()));
            const Rows handle =
                RowsOf(image, image.width() / 2, [](QColor c) { return c.lightness() > 150; });
            for (const auto& [nColumn, pColour] :
                 {std::pair{image.width() / 4, "#3C87FF"}, std::pair{image.width() * 7 / 8, "#1B1D20"}}) {
                const QColor ink(pColour);
                const Rows bright = RowsOf(image, nColumn, [&](QColor c) { return c == ink; });
                const Rows any = RowsOf(image, nColumn, [](QColor c) { return c != QColor("#26282C"); });
                // Nothing but the bar, without a gap; the stretching itself blends two rows at either side.
                QVERIFY(bright.nCount >= Ratio() * 2.5 && bright.nCount <= Ratio() * 4.5);
                QCOMPARE(bright.nLast - bright.nFirst + 1, bright.nCount);
                QCOMPARE(any.nLast - any.nFirst + 1, any.nCount);
                QVERIFY(bright.nFirst - any.nFirst <= 2 && any.nLast - bright.nLast <= 2);
                // As at 100 %, at the height of the handle.
                QVERIFY(qAbs(any.nFirst + any.nLast - handle.nFirst - handle.nLast) <= 4);
            }
        }
    }

  private:
    static double Ratio() { return qApp->devicePixelRatio(); }
    // Physical pixels of a length or a place.
    static int Physical(int nLogical) { return qRound(nLogical * Ratio()); }

    struct Rows {
        int nFirst = -1;
        int nLast = -1;
        int nCount = 0;
    };

    template <typename Counts>
    static Rows RowsOf(const QImage& image, int nColumn, Counts counts) {
        Rows rows;
        for (int y = 0; y < image.height(); ++y) {
            if (!counts(image.pixelColor(nColumn, y))) continue;
            if (rows.nCount++ == 0) rows.nFirst = y;
            rows.nLast = y;
        }
        return rows;
    }
};

QTEST_MAIN(SkinScaledTest)
#include "test_SkinScaled.moc"

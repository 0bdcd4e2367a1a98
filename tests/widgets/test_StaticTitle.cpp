#include "tests/widgets/PaintCounter.h"
#include "tests/widgets/TestImages.h"
#include "widgets/StaticTitle.h"

#include <QSignalSpy>
#include <QTest>

#include <memory>

class StaticTitleTest : public QObject {
    Q_OBJECT

  private slots:
    void init() {
        m_pLabel = std::make_unique<CStaticText>(nullptr);
        m_pLabel->setFixedSize(200, 40);
        m_pLabel->SetStaticTextBitMap(m_images.Path(Qt::black));
        m_pLabel->show();
        QVERIFY(QTest::qWaitForWindowExposed(m_pLabel.get()));
    }
    void cleanup() { m_pLabel.reset(); }

    void theBackgroundIsStretchedOverTheLabel() {
        m_pLabel->SetStaticTextBitMap(m_images.Path(Qt::blue));
        const QImage image = m_pLabel->grab().toImage();
        QCOMPARE(image.pixelColor(0, 0), QColor(Qt::blue));
        QCOMPARE(image.pixelColor(199, 39), QColor(Qt::blue));
    }

    void aNullPathIsIgnoredAndAnEmptyOneTakesTheBackgroundAway() {
        m_pLabel->SetStaticTextBitMap(QString());
        QCOMPARE(m_pLabel->grab().toImage().pixelColor(0, 0), QColor(Qt::black));
        m_pLabel->SetStaticTextBitMap("");
        QVERIFY(m_pLabel->grab().toImage().pixelColor(0, 0) != QColor(Qt::black));
    }

    void theAlignmentModesPutTheTextWhereTheySay_data() {
        QTest::addColumn<int>("nAlign");
        QTest::addColumn<bool>("bHeading");
        QTest::addColumn<QString>("strWhere");
        QTest::newRow("centred both ways") << 0 << false << "centre middle";
        QTest::newRow("left, at the top") << 1 << false << "left top";
        QTest::newRow("right, at the top") << 2 << false << "right top";
        QTest::newRow("any other draws none") << 3 << false << "none";
        QTest::newRow("a heading, at the top left") << 0 << true << "left top";
        QTest::newRow("a heading whatever the mode") << 2 << true << "left top";
        QTest::newRow("a heading even in mode 3") << 3 << true << "left top";
    }
    void theAlignmentModesPutTheTextWhereTheySay() {
        QFETCH(int, nAlign);
        QFETCH(bool, bHeading);
        QFETCH(QString, strWhere);
        m_pLabel->m_bHeading = bHeading;
        m_pLabel->SetStaticText("HHHH", nAlign);
        QCOMPARE(m_pLabel->GetStaticText(), QString("HHHH"));
        QCOMPARE(Where(), strWhere);
    }

    void theTextIsWhiteInTenPointsWhateverTheLabelsOwnFont() {
        QFont fontLarge;
        fontLarge.setPointSize(22);
        m_pLabel->SetStaticText("HHHH", 1);
        const QRect rcPlain = Ink();
        m_pLabel->setFont(fontLarge);
        QCOMPARE(Ink(), rcPlain);
        m_pLabel->m_bHeading = true; // drawn in the label's font
        QVERIFY(Ink().height() > rcPlain.height());
        QVERIFY(m_nWhitest > 250);
    }

    void negativeAlignmentsAndNullTextsAreIgnored() {
        m_pLabel->SetStaticText("HHHH", 1);
        m_pLabel->SetStaticText("other", -1);
        m_pLabel->SetStaticText(QString(), 2);
        QCOMPARE(m_pLabel->GetStaticText(), QString("HHHH"));
        QCOMPARE(Where(), QString("left top"));
    }

    void anEmptyTextClears() {
        m_pLabel->SetStaticText("HHHH", 1);
        m_pLabel->SetStaticText("", 1);
        QCOMPARE(Where(), QString("none"));
    }

    void settersRepaintAtOnce() {
        CPaintCounter counter(m_pLabel.get());
        m_pLabel->SetStaticText("HHHH", 0);
        QCOMPARE(counter.Taken(), 1);
        m_pLabel->SetStaticTextBitMap(m_images.Path(Qt::red));
        QCOMPARE(counter.Taken(), 1);
    }

    void theLabelsOwnTextIsStillDrawn() {
        m_pLabel->SetStaticTextBitMap("");
        m_pLabel->setStyleSheet("background-color: black; color: white;");
        m_pLabel->setText("HHHH");
        QVERIFY(Where() != "none");
    }

    void aReleaseAfterAPressSendsTheTypeWhereverItIs() {
        QSignalSpy spy(m_pLabel.get(), &CStaticText::StaticCliecked);
        m_pLabel->m_nType = 7;
        QTest::mousePress(m_pLabel.get(), Qt::LeftButton);
        QCOMPARE(spy.count(), 0);
        QTest::mouseRelease(m_pLabel.get(), Qt::LeftButton, {}, QPoint(-40, 300));
        QCOMPARE(spy.count(), 1);
        QCOMPARE(spy.at(0).at(0).toInt(), 7);
    }

    void aReleaseWithoutAPressSendsNothing() {
        QSignalSpy spy(m_pLabel.get(), &CStaticText::StaticCliecked);
        QTest::mouseRelease(m_pLabel.get(), Qt::LeftButton);
        QTest::mouseClick(m_pLabel.get(), Qt::RightButton);
        QCOMPARE(spy.count(), 1);
        QTest::mouseRelease(m_pLabel.get(), Qt::LeftButton);
        QCOMPARE(spy.count(), 1);
        QCOMPARE(spy.at(0).at(0).toInt(), 0); // the type unless the owner sets one
    }

  private:
    // The rectangle of everything brighter than the background; remembers the brightest value in it.
    QRect Ink() {
        const QImage image = m_pLabel->grab().toImage();
        QRect rcInk;
        m_nWhitest = 0;
        for (int y = 0; y < image.height(); ++y) {
            for (int x = 0; x < image.width(); ++x) {
                const int nValue = qGray(image.pixel(x, y));
                m_nWhitest = qMax(m_nWhitest, nValue);
                if (nValue > 100) rcInk |= QRect(x, y, 1, 1);
            }
        }
        return rcInk;
    }

    QString Where() {
        const QRect rcInk = Ink();
        if (rcInk.isNull()) return "none";
        const int nLeft = rcInk.left();
        const int nRight = 199 - rcInk.right();
        const int nTop = rcInk.top();
        const int nBottom = 39 - rcInk.bottom();
        const QString strAcross = qAbs(nLeft - nRight) <= 4 ? "centre" : nLeft < nRight ? "left" : "right";
        return strAcross + (qAbs(nTop - nBottom) <= 4 ? " middle" : nTop < nBottom ? " top" : " bottom");
    }

    CTestImages m_images;
    std::unique_ptr<CStaticText> m_pLabel;
    int m_nWhitest = 0;
};

QTEST_MAIN(StaticTitleTest)
#include "test_StaticTitle.moc"

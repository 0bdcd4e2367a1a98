#include "playlist/ListTitleBarWidget.h"
#include "widgets/SkinButton.h"
#include "widgets/StaticTitle.h"

#include <QTest>

class ListTitleBarTest : public QObject {
    Q_OBJECT

  private slots:
    void theCaptionTakesWhatTheFiveButtonsLeave() {
        CListTitleBar bar(nullptr);
        bar.resize(180, 20);
        bar.show();
        QVERIFY(QTest::qWaitForWindowExposed(&bar));
        QCOMPARE(bar.minimumHeight(), 20);
        QCOMPARE(bar.maximumHeight(), 20);
        QCOMPARE(bar.sizePolicy(), QSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding));
        QCOMPARE(bar.cursor().shape(), Qt::ArrowCursor);
        QCOMPARE(bar.m_pTitle->geometry(), QRect(0, 0, 90, 20));
        QVERIFY(bar.m_pTitle->m_bHeading);
        int nX = 90;
        for (CSkinButton* pButton :
             {bar.m_pAddBtn, bar.m_pDeleteBtn, bar.m_pClearBtn, bar.m_pModeBtn, bar.m_pCloseBtn}) {
            QCOMPARE(pButton->size(), QSize(18, 18));
            QCOMPARE(pButton->x(), nX);
            QCOMPARE(pButton->parentWidget(), &bar);
            nX += 18;
        }
    }

    void theStripIsPaintedUnderItsButtons() {
        CListTitleBar bar(nullptr);
        bar.resize(180, 20);
        const QImage image = bar.grab().toImage();
        QCOMPARE(image.pixelColor(0, 0), QColor("#26282C"));
        QCOMPARE(image.pixelColor(179, 19), QColor("#26282C"));
    }
};

QTEST_MAIN(ListTitleBarTest)
#include "test_ListTitleBar.moc"

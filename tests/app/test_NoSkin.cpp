// The window without any of its images: this test carries no resources.
#include "playlist/ListTitleBarWidget.h"
#include "tests/app/DlgTest.h"
#include "widgets/ControlsBarWidget.h"
#include "widgets/FloatDlg.h"
#include "widgets/PlayerTitle.h"
#include "widgets/PlayStatusWidget.h"
#include "widgets/SkinButton.h"
#include "widgets/SoundSlider.h"
#include "widgets/VideoWidget.h"

#include <QFile>
#include <QImage>
#include <QTest>

class CNoSkinTest : public QObject {
    Q_OBJECT

  private slots:
    void EverythingIsShownAndWorks() {
        QVERIFY(!QFile::exists(QStringLiteral(":/Resources/play.bmp")));
        CDlgTest test;
        test.Dlg().show();
        QVERIFY(QTest::qWaitForWindowExposed(&test.Dlg()));
        QCOMPARE(test.Dlg().size(), QSize(750, 480));
        QCOMPARE(test.Find<CPlayerTitle>()->height(), 31);
        test.Find<CFloatDlg>()->show();
        QVERIFY(!test.Dlg().grab().isNull());

        test.Play();
        QVERIFY(!test.Dlg().grab().isNull());
        const auto* pBar = test.Find<CControlsBarWidget>();
        QTest::mouseClick(pBar->m_pPlayBtn, Qt::LeftButton);
        QCOMPARE(test.State(), 2);
        QTest::mouseClick(pBar->m_pSoundBtn, Qt::LeftButton);
        QVERIFY(!test.Dlg().GetSoundStatus());
        QTest::mouseClick(pBar->m_pStopBtn, Qt::LeftButton);
        QCOMPARE(test.State(), 3);
        QVERIFY(test.Find<CPlayerTitle>()->ShowMaxScreen());
        QVERIFY(!test.Dlg().grab().isNull());
    }

    void NothingIsDrawnWhereAnImageIsMissing() {
        CDlgTest test;
        test.Dlg().show();
        QVERIFY(QTest::qWaitForWindowExposed(&test.Dlg()));
        for (QWidget* pGround : {static_cast<QWidget*>(test.Find<CViewWidget>()),
                                 static_cast<QWidget*>(test.Find<CControlsBarWidget>()),
                                 static_cast<QWidget*>(test.Find<CPlayStatusWidget>()),
                                 static_cast<QWidget*>(test.Find<CFloatDlg>()),
                                 static_cast<QWidget*>(test.Find<CListTitleBar>()),
                                 static_cast<QWidget*>(test.Find<CPlayerTitle>())}) {
            QImage image(pGround->size(), QImage::Format_RGB32);
            image.fill(Qt::magenta);
            const QImage before = image.copy();
            pGround->render(&image, QPoint(), QRegion(), QWidget::RenderFlags());
            QVERIFY2(image == before, pGround->metaObject()->className());
        }
        // A slider shows nothing of its groove and handle, and moves all the same.
        auto* pSlider = test.Find<CSoundSlider>();
        QTest::mouseClick(pSlider, Qt::LeftButton, {}, QPoint(35, 4));
        QCOMPARE(pSlider->value(), 32767);
    }
};

QTEST_MAIN(CNoSkinTest)
#include "test_NoSkin.moc"

#include "tests/widgets/FakeWindow.h"
#include "widgets/ControlsBarWidget.h"
#include "widgets/PlaySlider.h"
#include "widgets/PlayStatusWidget.h"
#include "widgets/SkinButton.h"
#include "widgets/SoundSlider.h"
#include "widgets/StaticTitle.h"

#include <QLayout>
#include <QTest>

#include <memory>

class ControlsBarTest : public QObject {
    Q_OBJECT

  private slots:
    void init() {
        m_pWindow = std::make_unique<CFakeWindow>();
        m_pBar = new CControlsBarWidget(m_pWindow.get());
        m_pBar->setGeometry(0, 0, 740, 64);
        m_pWindow->resize(740, 64);
        m_pWindow->show();
        QVERIFY(QTest::qWaitForWindowExposed(m_pWindow.get()));
    }
    void cleanup() { m_pWindow.reset(); }

    void eachButtonHasItsSizeAndItsCommand_data() {
        QTest::addColumn<CSkinButton * CControlsBarWidget::*>("pButton");
        QTest::addColumn<QSize>("szButton");
        QTest::addColumn<QString>("strCommand");
        const auto Row = [](const char* pCommand, CSkinButton* CControlsBarWidget::*pButton, int nWidth,
                            int nHeight) {
            QTest::newRow(pCommand) << pButton << QSize(nWidth, nHeight) << QString(pCommand);
        };
        Row("PlayOrPause", &CControlsBarWidget::m_pPlayBtn, 38, 39);
        Row("Stop", &CControlsBarWidget::m_pStopBtn, 38, 39);
        Row("Start", &CControlsBarWidget::m_pStartBtn, 24, 22);
        Row("End", &CControlsBarWidget::m_pEndBtn, 24, 22);
        Row("Fast", &CControlsBarWidget::m_pFastBtn, 24, 22);
        Row("Slow", &CControlsBarWidget::m_pSlowBtn, 24, 22);
        Row("NextFrame", &CControlsBarWidget::m_pNextFrameBtn, 24, 22);
        Row("LastFrame", &CControlsBarWidget::m_pLastFrameBtn, 24, 22);
        Row("Back", &CControlsBarWidget::m_pBackBtn, 24, 22);
        Row("Sound", &CControlsBarWidget::m_pSoundBtn, 35, 25);
        Row("OpenFile", &CControlsBarWidget::m_pOpenFileBtn, 24, 22);
        Row("ChangeLanguage", &CControlsBarWidget::m_pLanguageBtn, 34, 17);
        Row("ShowToolBoxMenu", &CControlsBarWidget::m_pToolBoxBtn, 24, 22);
        Row("IsViewPlaylist", &CControlsBarWidget::m_pPlaylistBtn, 24, 22);
    }
    void eachButtonHasItsSizeAndItsCommand() {
        QFETCH(CSkinButton * CControlsBarWidget::*, pButton);
        QFETCH(QSize, szButton);
        QFETCH(QString, strCommand);
        m_pWindow->Taken();
        CSkinButton* pFound = m_pBar->*pButton;
        QCOMPARE(pFound->size(), szButton);
        QCOMPARE(pFound->minimumSize(), szButton);
        QCOMPARE(pFound->maximumSize(), szButton);
        QTest::mouseClick(pFound, Qt::LeftButton);
        QCOMPARE(m_pWindow->Taken(), QStringList({strCommand}));
    }

    void theReversePlayButtonExistsButIsHidden() {
        QVERIFY(!m_pBar->m_pBackBtn->isVisible());
        m_pBar->m_pBackBtn->setVisible(true);
        QVERIFY(m_pBar->m_pBackBtn->isVisible());
    }

    void theButtonsStandInTheirOrderWithTheirGaps() {
        const QList<QWidget*> lstLeft = {
            m_pBar->m_pPlayBtn,  m_pBar->m_pStopBtn,    m_pBar->m_pStartBtn,     m_pBar->m_pSlowBtn,
            m_pBar->m_pFastBtn,  m_pBar->m_pEndBtn,     m_pBar->m_pLastFrameBtn, m_pBar->m_pNextFrameBtn,
            m_pBar->m_pSoundBtn, m_pBar->m_pSoundSlider};
        QCOMPARE(lstLeft.first()->x(), 19);
        CompareGaps(lstLeft);
        const QList<QWidget*> lstRight = {m_pBar->m_pLanguageBtn, m_pBar->m_pOpenFileBtn,
                                          m_pBar->m_pPlaylistBtn, m_pBar->m_pToolBoxBtn};
        QCOMPARE(740 - lstRight.last()->geometry().right() - 1, 9);
        CompareGaps(lstRight);
    }

    void shownTheReversePlayButtonStandsBeforeTheSoundButton() {
        m_pBar->m_pBackBtn->setVisible(true);
        m_pBar->layout()->activate();
        CompareGaps({m_pBar->m_pNextFrameBtn, m_pBar->m_pBackBtn, m_pBar->m_pSoundBtn});
    }

    void thePlaySliderSpansTheBarAboveTheButtons() {
        const QRect rcSlider = m_pBar->m_pPlaySlider->geometry();
        QCOMPARE(rcSlider.x(), 18);
        QCOMPARE(rcSlider.size(), QSize(740 - 36, 10));
        // Four rows are left over; the layout shares them out.
        QVERIFY(rcSlider.y() >= 4 && rcSlider.y() <= 8);
        QVERIFY(m_pBar->m_pPlayBtn->y() >= rcSlider.bottom() + 1 + 7);
        QCOMPARE(m_pBar->m_pPlayBtn->geometry().center().y(), m_pBar->m_pStopBtn->geometry().center().y());
        QCOMPARE(m_pBar->height(), 64);
        QCOMPARE(m_pBar->minimumHeight(), 64);
        QCOMPARE(m_pBar->maximumHeight(), 64);
        QCOMPARE(m_pBar->sizePolicy(), QSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding));
        QCOMPARE(m_pBar->cursor().shape(), Qt::ArrowCursor);
    }

    void bothSlidersRunFromZeroToFullAndTheVolumeStartsFull() {
        for (QSlider* pSlider :
             {static_cast<QSlider*>(m_pBar->m_pPlaySlider), static_cast<QSlider*>(m_pBar->m_pSoundSlider)}) {
            QCOMPARE(pSlider->minimum(), 0);
            QCOMPARE(pSlider->maximum(), 65535);
            QCOMPARE(pSlider->orientation(), Qt::Horizontal);
        }
        QCOMPARE(m_pBar->m_pSoundSlider->value(), 65535);
        QCOMPARE(m_pBar->m_pSoundSlider->size(), QSize(70, 8));
        QCOMPARE(m_pBar->m_pPlaySlider->value(), 0);
    }

    void aPositionChosenOnTheSliderReachesTheWindow() {
        m_pWindow->Taken();
        const int nMiddle = m_pBar->m_pPlaySlider->width() / 2;
        QTest::mouseClick(m_pBar->m_pPlaySlider, Qt::LeftButton, {}, QPoint(nMiddle, 5));
        QCOMPARE(m_pWindow->Taken(), QStringList({"SetPlaySlider 32767"}));
    }

    void theSlotsForwardToTheWindow() {
        m_pWindow->Taken();
        m_pBar->SetPlaySlider(7);
        m_pBar->SetVolumeSlider(8);
        QVERIFY(m_pBar->GetSoundStatus());
        m_pBar->Sound();
        QVERIFY(!m_pBar->GetSoundStatus());
        QCOMPARE(m_pWindow->Taken(), QStringList({"SetPlaySlider 7", "SetVolumeSlider 8", "Sound"}));
    }

    void withoutAMainWindowNothingHappens() {
        QWidget plain;
        CControlsBarWidget bar(&plain);
        bar.SetPlaySlider(7);
        bar.SetVolumeSlider(8);
        bar.Sound();
        QVERIFY(!bar.GetSoundStatus());
        for (CSkinButton* pButton : bar.findChildren<CSkinButton*>()) {
            QTest::mouseClick(pButton, Qt::LeftButton);
        }
        bar.m_pSoundSlider->setValue(9);
        QCOMPARE(bar.m_pSoundSlider->toolTip(), QString("0"));
    }

    void theBarIsPaintedUnderItsButtons() {
        const QImage image = m_pBar->grab().toImage();
        for (const QPoint& pos : {QPoint(0, 0), QPoint(739, 0), QPoint(0, 63), QPoint(739, 63)}) {
            QCOMPARE(image.pixelColor(pos), QColor("#26282C"));
        }
    }

    void theStatusStripHoldsAnEndFieldAtEachSide() {
        CPlayStatusWidget strip(nullptr);
        strip.resize(600, 20);
        strip.show();
        QVERIFY(QTest::qWaitForWindowExposed(&strip));
        QCOMPARE(strip.m_pLeftText->geometry(), QRect(0, 0, 100, 20));
        QCOMPARE(strip.m_pRightText->geometry(), QRect(320, 0, 280, 20));
        QCOMPARE(strip.minimumHeight(), 20);
        QCOMPARE(strip.maximumHeight(), 20);
        QCOMPARE(strip.sizePolicy(), QSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding));
        QCOMPARE(strip.cursor().shape(), Qt::ArrowCursor);
        const QImage image = strip.grab().toImage();
        QCOMPARE(image.pixelColor(200, 0), QColor("#1B1D20"));
        QCOMPARE(image.pixelColor(200, 19), QColor("#1B1D20"));
    }

  private:
    static void CompareGaps(const QList<QWidget*>& lstWidgets) {
        for (int i = 1; i < lstWidgets.size(); ++i) {
            QCOMPARE(lstWidgets[i]->x() - lstWidgets[i - 1]->geometry().right() - 1, 5);
        }
    }

    std::unique_ptr<CFakeWindow> m_pWindow;
    CControlsBarWidget* m_pBar = nullptr;
};

QTEST_MAIN(ControlsBarTest)
#include "test_ControlsBar.moc"

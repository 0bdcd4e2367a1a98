#include "tests/widgets/FakeWindow.h"
#include "tests/widgets/TestImages.h"
#include "widgets/ControlsBarWidget.h"
#include "widgets/JumpSlider.h"
#include "widgets/PlaySlider.h"
#include "widgets/SettingSlider.h"
#include "widgets/SoundSlider.h"

#include <QAccessible>
#include <QEnterEvent>
#include <QFile>
#include <QLayout>
#include <QMouseEvent>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTest>

class SlidersTest : public QObject {
    Q_OBJECT

  private slots:
    void theValueUnderTheMouseIsSpanTimesXOverWidthTruncated_data() {
        QTest::addColumn<int>("nMinimum");
        QTest::addColumn<int>("nMaximum");
        QTest::addColumn<int>("nX");
        QTest::addColumn<int>("nValue");
        QTest::newRow("the middle of 0 to 65535") << 0 << 65535 << 100 << 32767;
        QTest::newRow("the left end") << 0 << 65535 << 0 << 0;
        QTest::newRow("the right edge") << 0 << 65535 << 200 << 65535;
        QTest::newRow("left of the slider") << 0 << 65535 << -1 << -327;
        QTest::newRow("the minimum is not added back") << 20 << 120 << 100 << 50;
        QTest::newRow("an empty range") << 0 << 0 << 100 << 0;
        QTest::newRow("a product past 32 bits wraps") << 0 << 65535 << 40000 << -8367836;
    }
    void theValueUnderTheMouseIsSpanTimesXOverWidthTruncated() {
        QFETCH(int, nMinimum);
        QFETCH(int, nMaximum);
        QFETCH(int, nX);
        QSlider slider(Qt::Horizontal);
        slider.setFixedWidth(200);
        slider.setRange(nMinimum, nMaximum);
        QTEST(SliderValueAt(slider, nX), "nValue");
    }

    void aSliderOfNoWidthGivesNoValue() {
        QSlider slider(Qt::Horizontal);
        slider.setRange(0, 65535);
        slider.resize(0, 10);
        QCOMPARE(slider.width(), 0);
        QCOMPARE(SliderValueAt(slider, 5), 0);
    }

    // --- the play slider
    void thePlaySliderSeeksWhenTheButtonIsLetGoAndNotBefore() {
        CPlaySlider slider(nullptr);
        Prepare(slider);
        QSignalSpy spy(&slider, &CPlaySlider::SetPlaySlider);
        QTest::mousePress(&slider, Qt::LeftButton, {}, QPoint(100, 5));
        QCOMPARE(spy.count(), 0);
        QTest::mouseRelease(&slider, Qt::LeftButton, {}, QPoint(100, 5));
        QCOMPARE(spy.count(), 1);
        QCOMPARE(spy.at(0).at(0).toInt(), 32767);
    }

    void draggingThePlaySlidersHandleEmitsNothingUntilTheRelease() {
        CPlaySlider slider(nullptr);
        Prepare(slider);
        slider.setValue(0);
        QSignalSpy spy(&slider, &CPlaySlider::SetPlaySlider);
        QTest::mousePress(&slider, Qt::LeftButton, {}, QPoint(3, 5)); // on the handle
        Move(slider, QPoint(60, 5));
        Move(slider, QPoint(120, 5));
        QVERIFY2(slider.value() > 30000, "the handle follows the mouse");
        QCOMPARE(spy.count(), 0);
        QTest::mouseRelease(&slider, Qt::LeftButton, {}, QPoint(50, 5));
        QCOMPARE(spy.count(), 1);
        QCOMPARE(spy.at(0).at(0).toInt(), 16383); // where it was let go, not where the handle was
    }

    void letGoLeftOfItThePlaySliderSeeksNowhere() {
        CPlaySlider slider(nullptr);
        Prepare(slider);
        QSignalSpy spy(&slider, &CPlaySlider::SetPlaySlider);
        QTest::mousePress(&slider, Qt::LeftButton, {}, QPoint(100, 5));
        QTest::mouseRelease(&slider, Qt::LeftButton, {}, QPoint(-10, 5));
        QCOMPARE(spy.count(), 0);
        QVERIFY(!slider.ChangePlaySlider(-1));
        QVERIFY(slider.ChangePlaySlider(0));
        QCOMPARE(spy.count(), 1);
    }

    void movingThePlaySliderByProgramNeverSeeks() {
        CPlaySlider slider(nullptr);
        Prepare(slider);
        QSignalSpy spy(&slider, &CPlaySlider::SetPlaySlider);
        slider.setValue(5000);
        QCOMPARE(spy.count(), 0);
    }

    void onlyTheSettingSliderTakesTheKeyboard() {
        CFakeWindow window;
        CControlsBarWidget bar(&window);
        QCOMPARE(bar.m_pPlaySlider->focusPolicy(), Qt::NoFocus);
        QCOMPARE(bar.m_pSoundSlider->focusPolicy(), Qt::NoFocus);
        QCOMPARE(CSetingSlider(nullptr).focusPolicy(), QSlider().focusPolicy());
    }

    // --- the settings slider
    void aClickOnASettingSliderJumpsThere() {
        CSetingSlider slider(nullptr);
        Prepare(slider);
        slider.setRange(0, 128);
        CompareClicks(slider);
    }

    void heldBesideItsHandleASliderStays() {
        class COpenSlider : public CSetingSlider {
          public:
            using CSetingSlider::CSetingSlider;
            using QAbstractSlider::repeatAction;
        };
        COpenSlider slider(nullptr);
        Prepare(slider);
        slider.setRange(0, 128);
        QTest::mousePress(&slider, Qt::LeftButton, {}, QPoint(195, 5));
        QCOMPARE(slider.repeatAction(), QAbstractSlider::SliderNoAction);
        QCOMPARE(slider.pageStep(), 10); // for the keys
        QTest::mouseRelease(&slider, Qt::LeftButton, {}, QPoint(195, 5));
    }

    void aPressOnTheHandleStartsADrag() {
        CSetingSlider slider(nullptr);
        Prepare(slider);
        slider.setRange(0, 128);
        QTest::mousePress(&slider, Qt::LeftButton, {}, QPoint(100, 5));
        Move(slider, QPoint(60, 5));
        QVERIFY2(slider.value() < 50, qPrintable(QString::number(slider.value())));
        QTest::mouseRelease(&slider, Qt::LeftButton, {}, QPoint(60, 5));
    }

    void withAMinimumASettingSliderStopsShortAtTheRight() {
        CSetingSlider slider(nullptr);
        Prepare(slider);
        slider.setRange(20, 120);
        QTest::mouseClick(&slider, Qt::LeftButton, {}, QPoint(10, 5)); // 5, clamped
        QCOMPARE(slider.value(), 20);
        QTest::mouseClick(&slider, Qt::LeftButton, {}, QPoint(199, 5));
        QCOMPARE(slider.value(), 99);
    }

    // --- the volume slider
    void aClickOnTheVolumeSliderJumpsThereAtOnce() {
        CFakeWindow window;
        CControlsBarWidget bar(&window);
        window.Taken();
        QTest::mousePress(bar.m_pSoundSlider, Qt::LeftButton, {}, QPoint(35, 4));
        QCOMPARE(bar.m_pSoundSlider->value(), 32767);
        QCOMPARE(window.Taken(), QStringList({"SetVolumeSlider 32767"}));
        QTest::mouseRelease(bar.m_pSoundSlider, Qt::LeftButton, {}, QPoint(35, 4));
        CompareClicks(*bar.m_pSoundSlider);
    }

    void movingTheVolumeWhileMutedTurnsTheSoundOn() {
        CFakeWindow window;
        CControlsBarWidget bar(&window);
        window.Taken();
        window.m_bSound = false;
        bar.m_pSoundSlider->setValue(32768);
        QCOMPARE(window.Taken(), QStringList({"SetVolumeSlider 32768", "Sound"}));
        QVERIFY(window.m_bSound);
        QCOMPARE(bar.m_pSoundSlider->toolTip(), QString("50"));
        bar.m_pSoundSlider->setValue(0);
        QCOMPARE(window.Taken(), QStringList({"SetVolumeSlider 0"}));
        QCOMPARE(bar.m_pSoundSlider->toolTip(), QString("0"));
    }

    void theVolumeIsAppliedBeforeTheToolTipSaysSo() {
        class CLookingWindow : public CFakeWindow {
          public:
            bool SetVolumeSlider(int nValue) override {
                if (m_pSlider) m_strSeen = m_pSlider->toolTip();
                return CFakeWindow::SetVolumeSlider(nValue);
            }
            QWidget* m_pSlider = nullptr;
            QString m_strSeen;
        };
        CLookingWindow window;
        CControlsBarWidget bar(&window);
        bar.m_pSoundSlider->setValue(32768);
        window.m_pSlider = bar.m_pSoundSlider;
        bar.m_pSoundSlider->setValue(0);
        QCOMPARE(window.m_strSeen, QString("50"));
        QCOMPARE(bar.m_pSoundSlider->toolTip(), QString("0"));
    }

    void theVolumeSlotsRefuseNegativesAndAMissingBar() {
        CFakeWindow window;
        CControlsBarWidget bar(&window);
        window.Taken();
        QVERIFY(!bar.m_pSoundSlider->SetVolumeValue(-1));
        QVERIFY(!bar.m_pSoundSlider->SetToolTip(-1));
        QVERIFY(bar.m_pSoundSlider->SetVolumeValue(5));
        QVERIFY(bar.m_pSoundSlider->SetToolTip(65535));
        QCOMPARE(window.Taken(), QStringList({"SetVolumeSlider 5"}));
        QWidget stranger;
        CSoundSlider slider(&stranger);
        QVERIFY(!slider.SetVolumeValue(5));
        QVERIFY(!slider.SetToolTip(5));
        QCOMPARE(slider.toolTip(), QString());
    }

    void enteringTheVolumeSliderRenewsItsToolTip() {
        CFakeWindow window;
        CControlsBarWidget bar(&window);
        bar.m_pSoundSlider->setToolTip("stale");
        QEnterEvent enter(QPointF(1, 1), QPointF(1, 1), QPointF(1, 1));
        QApplication::sendEvent(bar.m_pSoundSlider, &enter);
        QCOMPARE(bar.m_pSoundSlider->toolTip(), QString("100"));
    }

    void theVolumesToolTipIsItsAccessibleName() {
        CFakeWindow window;
        CControlsBarWidget bar(&window);
        QAccessibleInterface* pAccessible = QAccessible::queryAccessibleInterface(bar.m_pSoundSlider);
        bar.m_pSoundSlider->setValue(32768);
        QCOMPARE(pAccessible->text(QAccessible::Name), QString("50"));
        QCOMPARE(pAccessible->text(QAccessible::Description), QString("Volume"));
        QCOMPARE(pAccessible->role(), QAccessible::Slider);
        pAccessible = QAccessible::queryAccessibleInterface(bar.m_pPlaySlider);
        QVERIFY(!pAccessible->text(QAccessible::Name).isEmpty());
        QCOMPARE(pAccessible->role(), QAccessible::Slider);
    }

    void theVolumeSlidersBitmapsLieUnderItAtTheirOwnSize() {
        CTestImages images;
        CSoundSlider slider(nullptr);
        slider.setFixedSize(70, 30);
        slider.setOrientation(Qt::Horizontal);
        slider.SetBitMapPath(images.Path(Qt::red), "");
        QVERIFY(slider.grab().toImage().pixelColor(1, 1) != QColor(Qt::red)); // both or none
        slider.SetBitMapPath(images.Path(Qt::red), images.Path(Qt::green));
        QCOMPARE(slider.grab().toImage().pixelColor(1, 1), QColor(Qt::red));
        QVERIFY(slider.grab().toImage().pixelColor(60, 1) != QColor(Qt::red)); // the image is 16 wide
        QEnterEvent enter(QPointF(1, 1), QPointF(1, 1), QPointF(1, 1));
        QApplication::sendEvent(&slider, &enter);
        QCOMPARE(slider.grab().toImage().pixelColor(1, 1), QColor(Qt::green));
        QEvent leave(QEvent::Leave);
        QApplication::sendEvent(&slider, &leave);
        QCOMPARE(slider.grab().toImage().pixelColor(1, 1), QColor(Qt::red));
    }

    void brokenBitmapsUnderTheVolumeSliderDrawNothing() {
        CSoundSlider slider(nullptr);
        slider.setFixedSize(70, 30);
        slider.setOrientation(Qt::Horizontal);
        const QImage plain = slider.grab().toImage();
        QTemporaryDir dir;
        QFile broken(dir.filePath("broken.bmp"));
        QVERIFY(broken.open(QIODevice::WriteOnly));
        broken.write("BM this is no image");
        broken.close();
        for (const QString& strPath : {broken.fileName(), QString("/nowhere/a.bmp")}) {
            slider.SetBitMapPath(strPath, strPath);
            QCOMPARE(slider.grab().toImage(), plain);
        }
    }

    // --- the looks of the two bars
    void thePlayedPartIsAccentAndTheRestIsDark() {
        CFakeWindow window;
        CControlsBarWidget bar(&window);
        window.resize(750, 64);
        bar.resize(750, 64);
        bar.m_pPlaySlider->setValue(65535 / 2);
        bar.ensurePolished();
        bar.layout()->activate();
        const QImage image = bar.m_pPlaySlider->grab().toImage();
        QVERIFY(image.width() > 600);
        const int nRow = 6;
        QCOMPARE(image.pixelColor(image.width() / 4, nRow), QColor("#3C87FF"));
        QCOMPARE(image.pixelColor(image.width() * 3 / 4, nRow), QColor("#1B1D20"));
        QVERIFY(image.pixelColor(image.width() / 2, nRow).lightness() > 180); // the handle
    }

    void theLoudPartIsAccentAndTheRestIsDark() {
        CFakeWindow window;
        CControlsBarWidget bar(&window);
        bar.m_pSoundSlider->setValue(65535 / 2);
        const QImage image = bar.m_pSoundSlider->grab().toImage();
        QCOMPARE(image.size(), QSize(70, 8));
        QCOMPARE(image.pixelColor(15, 3), QColor("#3C87FF"));
        QCOMPARE(image.pixelColor(60, 3), QColor("#1B1D20"));
        QVERIFY(image.pixelColor(35, 3).lightness() > 180);
    }

    void theStyleSheetsHoldEveryRuleAndProperty_data() {
        QTest::addColumn<bool>("bPlay");
        QTest::addColumn<QString>("strWanted");
        QTest::newRow("volume") << false
                                << "QSlider::add-page:horizontal{border-width:8px;border-image:url(:/"
                                   "Resources/volumebar.bmp) 8 8 8 8 "
                                   "stretch stretch;left:0px;right:0px;}"
                                   "QSlider::handle:horizontal{height:4px;width:4px;border-image:url(:/"
                                   "Resources/thumb.bmp);left:0px;"
                                   "right:4px;top:0px;bottom:0px;}"
                                   "QSlider::handle:pressed{height:4px;width:4px;border-image:url(:/"
                                   "Resources/thumb-sel.bmp);left:0px;"
                                   "right:0px;top:0px;bottom:0px;}"
                                   "QSlider::sub-page:horizontal{border-width:8px;border-image:url(:/"
                                   "Resources/volumebar-sel.bmp) 8 8 8 8 "
                                   "stretch stretch;left:0px;right:0px;}";
        QTest::newRow("position") << true
                                  << "QSlider::add-page:horizontal{border-width:8px;border-image:url(:/"
                                     "Resources/controlbar.bmp) 8 8 8 8 "
                                     "stretch stretch;left:0px;right:0px;}"
                                     "QSlider::handle:horizontal{height:6px;width:6px;border-image:url(:/"
                                     "Resources/controlthumb.bmp);"
                                     "left:0px;right:0px;top:0px;bottom:0px;}"
                                     "QSlider::handle:pressed{height:6px;width:6px;border-image:url(:/"
                                     "Resources/controlthumb-sel.bmp);"
                                     "left:0px;right:0px;top:0px;bottom:0px;}"
                                     "QSlider::sub-page:horizontal{border-width:8px;border-image:url(:/"
                                     "Resources/controlbar-sel.bmp) 8 8 8 8 "
                                     "stretch stretch;left:0px;right:0px;}";
    }
    void theStyleSheetsHoldEveryRuleAndProperty() {
        QFETCH(bool, bPlay);
        QFETCH(QString, strWanted);
        CFakeWindow window;
        CControlsBarWidget bar(&window);
        QString strSheet = bPlay ? bar.m_pPlaySlider->styleSheet() : bar.m_pSoundSlider->styleSheet();
        strSheet.remove(QRegularExpression("/\\*.*?\\*/"));
        const auto Plain = [](QString str) { return str.simplified().remove(' '); };
        QCOMPARE(Plain(strSheet), Plain(strWanted));
    }

  private:
    static void Prepare(QSlider& slider) {
        slider.setOrientation(Qt::Horizontal);
        slider.setRange(0, 65535);
        slider.setFixedSize(200, 10);
        slider.show();
        QVERIFY(QTest::qWaitForWindowExposed(&slider));
    }

    // A click at every place gives the value of that place: no step of a page comes on top.
    static void CompareClicks(QSlider& slider) {
        QStringList lstWrong;
        for (int x = 0; x < slider.width(); ++x) {
            const QPoint pos(x, slider.height() / 2);
            QTest::mouseClick(&slider, Qt::LeftButton, {}, pos);
            if (slider.value() != SliderValueAt(slider, x))
                lstWrong << QString("%1: %2 for %3").arg(x).arg(slider.value()).arg(SliderValueAt(slider, x));
        }
        QVERIFY2(lstWrong.isEmpty(), qPrintable(lstWrong.join(", ")));
    }

    static void Move(QWidget& widget, const QPoint& pos) {
        QMouseEvent move(QEvent::MouseMove, pos, widget.mapToGlobal(pos), Qt::NoButton, Qt::LeftButton, {});
        QApplication::sendEvent(&widget, &move);
    }
};

QTEST_MAIN(SlidersTest)
#include "test_Sliders.moc"

// The pages that act at once, the arithmetic of speed, and the table of keys.
#include "tests/app/DlgTest.h"
#include "tests/settings/SettingsTest.h"
#include "widgets/SettingSlider.h"

#include <QAccessible>
#include <QHeaderView>
#include <QLineEdit>
#include <QPushButton>
#include <QTableWidget>
#include <QTest>
#include <QTranslator>
#include <QWindow>

namespace {

constexpr const char* kSliders[] = {"m_pLightSlider1", "m_pHueSlider", "m_pConstrastSlider",
                                    "m_pChroSlider1"};

} // namespace

class TestPlayerSettingPages : public QObject {
    Q_OBJECT

  private slots:
    void AColourSliderChangesThePictureAtOnce() {
        CDlgTest test;
        test.PlayInto(2);
        CTalvioDlg& window = test.Dlg();
        window.SetContrast(70);
        window.SetChromaticity(80);
        window.SetHue(90);
        const CPlayerSetting dlg(&window);
        Named<CSetingSlider>(dlg, "m_pLightSlider1")->setValue(100);
        Named<CSetingSlider>(dlg, "m_pConstrastSlider")->setValue(101);
        Named<CSetingSlider>(dlg, "m_pChroSlider1")->setValue(102);
        Named<CSetingSlider>(dlg, "m_pHueSlider")->setValue(103);
        QCOMPARE(test.Commands(), QStringList({"Dravo_SetColor(2, 0, 100, 70, 80, 90)",
                                               "Dravo_SetColor(2, 0, 100, 101, 80, 90)",
                                               "Dravo_SetColor(2, 0, 100, 101, 102, 90)",
                                               "Dravo_SetColor(2, 0, 100, 101, 102, 103)"}));
        QCOMPARE(window.GetBrightness(), 100);
        QCOMPARE(window.GetContrast(), 101);
        QCOMPARE(window.GetChromaticity(), 102);
        QCOMPARE(window.GetHue(), 103);
    }

    void EverySliderIsNamedByItsLabel() {
        const std::pair<const char*, const char*> names[] = {{"m_pLightSlider1", "Lightness"},
                                                             {"m_pHueSlider", "Hue"},
                                                             {"m_pConstrastSlider", "Constrast"},
                                                             {"m_pChroSlider1", "Chromaticity"},
                                                             {"m_pSpeedSlider", "Play Speed"}};
        const CPlayerSetting dlg(nullptr);
        QCOMPARE(dlg.findChildren<CSetingSlider*>().size(), std::size(names));
        for (const auto& [pSlider, pName] : names) {
            QAccessibleInterface* pTold =
                QAccessible::queryAccessibleInterface(Named<CSetingSlider>(dlg, pSlider));
            QCOMPARE(pTold->role(), QAccessible::Slider);
            QCOMPARE(pTold->text(QAccessible::Name), QString(pName));
        }
    }

    void WithNoFileEveryColourSliderSnapsBack() {
        CDlgTest test;
        test.Dlg().SetHue(20);
        test.Dlg().SetBrightness(30);
        const CPlayerSetting dlg(&test.Dlg());
        test.Fake().TakeCalls();
        Named<CSetingSlider>(dlg, "m_pConstrastSlider")->setValue(100);
        for (const char* pName : kSliders)
            QCOMPARE(Named<CSetingSlider>(dlg, pName)->value(), 64);
        QCOMPARE(test.Dlg().GetHue(), 20);
        QCOMPARE(test.Dlg().GetBrightness(), 30);
        QCOMPARE(test.Dlg().GetContrast(), 64);
        QCOMPARE(test.Commands(), QStringList());
    }

    void ANegativeColourIsRefused() {
        CDlgTest test;
        test.PlayInto(1);
        CPlayerSetting dlg(&test.Dlg());
        QVERIFY(!dlg.ChangeLightness(-1));
        QVERIFY(!dlg.ChangeHue(-1));
        QVERIFY(!dlg.ChangeConstract(-1));
        QVERIFY(!dlg.ChangeChromaticity(-1));
        QCOMPARE(test.Commands(), QStringList());
    }

    void AStoppedFileTakesColoursToo() {
        CDlgTest test;
        test.PlayInto(3);
        const CPlayerSetting dlg(&test.Dlg());
        Named<CSetingSlider>(dlg, "m_pHueSlider")->setValue(9);
        QCOMPARE(test.Dlg().GetHue(), 9);
        Named<QPushButton>(dlg, "m_pResetButton")->click();
        QCOMPARE(test.Dlg().GetHue(), 64);
        QCOMPARE(Named<CSetingSlider>(dlg, "m_pHueSlider")->value(), 64);
        QCOMPARE(test.Commands(), QStringList({"Dravo_SetColor(2, 0, 64, 64, 64, 9)",
                                               "Dravo_SetColor(2, 0, 64, 64, 64, 64)"}));
    }

    void ResetPutsTheMiddleBack() {
        CDlgTest test;
        test.PlayInto(1);
        test.Dlg().SetBrightness(100);
        test.Dlg().SetHue(64);
        test.Dlg().SetContrast(3);
        CPlayerSetting dlg(&test.Dlg());
        QVERIFY(!dlg.Reset());
        for (const char* pName : kSliders)
            QCOMPARE(Named<CSetingSlider>(dlg, pName)->value(), 64);
        QCOMPARE(test.Dlg().GetBrightness(), 64);
        QCOMPARE(test.Dlg().GetContrast(), 64);
        // Once for each slider that moved.
        QCOMPARE(test.Commands(), QStringList({"Dravo_SetColor(2, 0, 64, 64, 64, 64)",
                                               "Dravo_SetColor(2, 0, 64, 64, 64, 64)"}));
    }

    void ResetWithNoFileChangesNothing() {
        CDlgTest test;
        test.Dlg().SetHue(5);
        CPlayerSetting dlg(&test.Dlg());
        QVERIFY(!dlg.Reset());
        QCOMPARE(test.Dlg().GetHue(), 5);
        QCOMPARE(Named<CSetingSlider>(dlg, "m_pHueSlider")->value(), 5);
    }

    void ATimeIsLookedFor_data() {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("expected"); // the library's call, or the warning
        const QString strInvalid = "warning!: The value is Invalid [OK]";
        QTest::newRow("start") << "0"
                               << "Dravo_SetPlayedTimeEx(2, 0)";
        QTest::newRow("middle") << "7"
                                << "Dravo_SetPlayedTimeEx(2, 7000)";
        QTest::newRow("the very end") << "10"
                                      << "Dravo_SetPlayedTimeEx(2, 10000)";
        QTest::newRow("beyond") << "11" << strInvalid;
        QTest::newRow("empty") << ""
                               << "warning!: The Time must not null [OK]";
        QTest::newRow("letters") << "12a" << strInvalid;
        QTest::newRow("negative") << "-1" << strInvalid;
        QTest::newRow("huge") << "99999999999999999999" << strInvalid;
        QTest::newRow("hexadecimal") << "0x5" << strInvalid;
        QTest::newRow("full width") << QString::fromUtf8("５") << strInvalid;
        QTest::newRow("spaces") << "   " << strInvalid;
        QTest::newRow("a space before") << " 5" << strInvalid;
        QTest::newRow("a space after") << "5 " << strInvalid;
        QTest::newRow("a full-width space") << QString::fromUtf8("\u3000") << strInvalid;
        QTest::newRow("with a sign") << "+5" << strInvalid;
        QTest::newRow("of 5,000 digits") << QString(5000, '9') << strInvalid;
        QTest::newRow("with leading zeros") << "0007"
                                            << "Dravo_SetPlayedTimeEx(2, 7000)";
    }
    void ATimeIsLookedFor() {
        QFETCH(QString, text);
        QFETCH(QString, expected);
        CDlgTest test;
        test.PlayInto(1); // a file of 10 s and 250 frames
        CPlayerSetting dlg(&test.Dlg());
        Named<QLineEdit>(dlg, "m_pTimeLine")->setText(text);
        bool bFound = false;
        const QString strBox = BoxShownBy([&] { bFound = dlg.TimeLocate(); });
        QCOMPARE(bFound ? test.Commands().join(' ') : strBox, expected);
        QCOMPARE(bFound, strBox.isEmpty());
    }

    void AWarningBelongsToTheDialogAndLeavesItOpen() {
        CDlgTest test;
        test.PlayInto(1);
        CPlayerSetting dlg(&test.Dlg());
        dlg.OnClickStaticText(3);
        dlg.show();
        Named<QLineEdit>(dlg, "m_pTimeLine")->clear();
        const QWidget* pParent = nullptr;
        bool bModal = false;
        const CModalAnswer answer([&](QDialog* pBox) {
            pParent = pBox->parentWidget();
            bModal = pBox->isModal();
            pBox->accept();
        });
        QTest::mouseClick(Named<QPushButton>(dlg, "m_pTimeButton"), Qt::LeftButton);
        QCOMPARE(answer.Count(), 1);
        QCOMPARE(pParent, &dlg);
        QVERIFY(bModal);
        QVERIFY(dlg.isVisible());
    }

    void AFrameIsLookedFor_data() {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("expected");
        const QString strInvalid = "warning!: The frame number is Invalid [OK]";
        QTest::newRow("first") << "0"
                               << "Dravo_SetPlayPos(2, 0)";
        QTest::newRow("middle") << "125"
                                << "Dravo_SetPlayPos(2, 0.5)";
        QTest::newRow("last") << "249"
                              << "Dravo_SetPlayPos(2, 0.996)";
        QTest::newRow("the count") << "250" << strInvalid;
        QTest::newRow("empty") << ""
                               << "warning!: The frame number must not null [OK]";
        QTest::newRow("letters") << "12a" << strInvalid;
        QTest::newRow("negative") << "-1" << strInvalid;
        QTest::newRow("huge") << "4294967296" << strInvalid;
        QTest::newRow("the largest") << "4294967295" << strInvalid;
        QTest::newRow("hexadecimal") << "0x5" << strInvalid;
        QTest::newRow("hexadecimal digits") << "ff" << strInvalid;
        QTest::newRow("full width") << QString::fromUtf8("５") << strInvalid;
        QTest::newRow("spaces") << "   " << strInvalid;
        QTest::newRow("a space before") << " 5" << strInvalid;
        QTest::newRow("fraction") << "5.0" << strInvalid;
    }
    void AFrameIsLookedFor() {
        QFETCH(QString, text);
        QFETCH(QString, expected);
        CDlgTest test;
        test.PlayInto(2);
        CPlayerSetting dlg(&test.Dlg());
        Named<QLineEdit>(dlg, "m_pFrameLine")->setText(text);
        bool bFound = false;
        const QString strBox = BoxShownBy([&] { bFound = dlg.FrameLocate(); });
        QCOMPARE(bFound ? test.Commands().join(' ') : strBox, expected);
        QCOMPARE(bFound, strBox.isEmpty());
    }

    void TheFrameIsLookedForByItsButton() {
        CDlgTest test;
        test.PlayInto(1);
        const CPlayerSetting dlg(&test.Dlg());
        Named<QLineEdit>(dlg, "m_pTimeLine")->setText("7");
        Named<QLineEdit>(dlg, "m_pFrameLine")->setText("125");
        Named<QPushButton>(dlg, "m_pFrameButton")->click();
        QCOMPARE(test.Commands(), QStringList("Dravo_SetPlayPos(2, 0.5)"));
    }

    void EnterPressesTheButtonOfTheFieldThatHasTheKeyboardOrTheButtonThatHasIt_data() {
        QTest::addColumn<int>("page");
        QTest::addColumn<QString>("focus");
        QTest::addColumn<QString>("command");
        const QString strTime = "Dravo_SetPlayedTimeEx(2, 7000)";
        const QString strFrame = "Dravo_SetPlayPos(2, 0.5)";
        QTest::newRow("time field") << 3 << "m_pTimeLine" << strTime;
        QTest::newRow("frame field") << 3 << "m_pFrameLine" << strFrame;
        QTest::newRow("time button") << 3 << "m_pTimeButton" << strTime;
        QTest::newRow("frame button") << 3 << "m_pFrameButton" << strFrame;
        QTest::newRow("table") << 2 << "m_pKeyTable" << QString();
        QTest::newRow("path") << 7 << "m_pCapPathLine" << QString();
        QTest::newRow("slider") << 6 << "m_pLightSlider1" << QString();
        QTest::newRow("reset") << 6 << "m_pResetButton"
                               << "Dravo_SetColor(2, 0, 64, 64, 64, 64)";
    }
    void EnterPressesTheButtonOfTheFieldThatHasTheKeyboardOrTheButtonThatHasIt() {
        QFETCH(int, page);
        QFETCH(QString, focus);
        QFETCH(QString, command);
        for (const int nKey : {Qt::Key_Return, Qt::Key_Enter}) {
            CDlgTest test;
            test.PlayInto(1);
            test.Dlg().SetHue(20);
            CPlayerSetting dlg(&test.Dlg());
            dlg.OnClickStaticText(page);
            dlg.show();
            QVERIFY(QTest::qWaitForWindowActive(&dlg));
            for (const QPushButton* pButton : dlg.findChildren<QPushButton*>())
                QVERIFY2(!pButton->isDefault(), qPrintable(pButton->text())); // none looks as if it were
            Named<QLineEdit>(dlg, "m_pTimeLine")->setText("7");
            Named<QLineEdit>(dlg, "m_pFrameLine")->setText("125");
            Named<QWidget>(dlg, focus.toLatin1())->setFocus();
            QTest::keyClick(dlg.windowHandle(), static_cast<Qt::Key>(nKey));
            QCOMPARE(test.Commands().join(' '), command);
            QVERIFY(dlg.isVisible());
            QTest::keyClick(dlg.windowHandle(), Qt::Key_Escape);
            QVERIFY(!dlg.isVisible());
        }
    }

    void AStoppedOrClosedFileIsNotSearched_data() {
        QTest::addColumn<int>("state");
        QTest::newRow("closed") << 0;
        QTest::newRow("stopped") << 3;
    }
    void AStoppedOrClosedFileIsNotSearched() {
        QFETCH(int, state);
        CDlgTest test;
        if (state != 0) test.PlayInto(state);
        test.Fake().TakeCalls();
        CPlayerSetting dlg(&test.Dlg());
        Named<QLineEdit>(dlg, "m_pTimeLine")->setText("");
        QCOMPARE(BoxShownBy([&] { QVERIFY(!dlg.TimeLocate() && !dlg.FrameLocate()); }), QString());
        QCOMPARE(test.Commands(), QStringList());
    }

    void TheFieldsStartWithZeroAndTakeAnything() {
        CDlgTest test;
        const CPlayerSetting dlg(&test.Dlg());
        for (const char* pName : {"m_pTimeLine", "m_pFrameLine"}) {
            QCOMPARE(Named<QLineEdit>(dlg, pName)->text(), QString("0"));
            QVERIFY(Named<QLineEdit>(dlg, pName)->validator() == nullptr);
            QCOMPARE(Named<QLineEdit>(dlg, pName)->inputMask(), QString());
        }
    }

    void TheSpeedGoesByStepsAndNotBeyondTheEnds_data() {
        QTest::addColumn<int>("speed");
        QTest::addColumn<bool>("up");
        QTest::addColumn<int>("steps");
        QTest::addColumn<int>("expected");
        QTest::newRow("up to the end") << 3 << true << 1 << 4;
        QTest::newRow("beyond the end") << 3 << true << 2 << 3;
        QTest::newRow("from slow to fast") << -4 << true << 4 << 0;
        QTest::newRow("down to the end") << 0 << false << 4 << -4;
        QTest::newRow("beyond the lower end") << -1 << false << 4 << -1;
        QTest::newRow("no step") << 2 << false << 0 << 2;
    }
    void TheSpeedGoesByStepsAndNotBeyondTheEnds() {
        QFETCH(int, speed);
        QFETCH(bool, up);
        QFETCH(int, steps);
        QFETCH(int, expected);
        CDlgTest test;
        test.Dlg().SetSpeed(speed);
        CPlayerSetting dlg(&test.Dlg());
        QVERIFY(ButtonOf(dlg, "Increase Speed")->isChecked());
        ButtonOf(dlg, up ? "Increase Speed" : "Decrease Speed")->click();
        Named<CSetingSlider>(dlg, "m_pSpeedSlider")->setValue(steps);
        dlg.OnClickOKButton();
        QCOMPARE(test.Dlg().GetSpeed(), expected);
    }

    void TheKeyTableListsTheBindings() {
        CDlgTest test;
        const CPlayerSetting dlg(&test.Dlg());
        const auto* pTable = Named<QTableWidget>(dlg, "m_pKeyTable");
        QCOMPARE(pTable->geometry(), QRect(10, 60, 311, 231));
        QCOMPARE(pTable->rowCount(), 15);
        QCOMPARE(pTable->columnCount(), 3);
        QCOMPARE(pTable->editTriggers(), QAbstractItemView::NoEditTriggers);
        QCOMPARE(pTable->horizontalHeader()->defaultSectionSize(), 52);
        QCOMPARE(pTable->horizontalHeader()->minimumSectionSize(), 15);
        QCOMPARE(pTable->verticalHeader()->defaultSectionSize(), 18);
        QCOMPARE(pTable->verticalHeader()->minimumSectionSize(), 16);
        QStringList lstColumns;
        for (int n = 0; n < 3; ++n) {
            lstColumns.append(pTable->horizontalHeaderItem(n)->text());
            QCOMPARE(pTable->horizontalHeaderItem(n)->font().pointSize(), 8);
            QVERIFY((pTable->horizontalHeaderItem(n)->textAlignment() & int(Qt::AlignLeft)) != 0);
        }
        QCOMPARE(lstColumns, QStringList({"Mouse HotKey", "Combination Key", "Hot Keys"}));
        QStringList lstRows;
        int nCells = 0;
        for (int nRow = 0; nRow < 15; ++nRow) {
            QStringList lstCells(pTable->verticalHeaderItem(nRow)->text());
            if (!lstCells[0].isEmpty()) QCOMPARE(pTable->verticalHeaderItem(nRow)->font().pointSize(), 8);
            for (int nColumn = 0; nColumn < 3; ++nColumn) {
                const QTableWidgetItem* pItem = pTable->item(nRow, nColumn);
                if (pItem != nullptr) {
                    ++nCells;
                    QCOMPARE(pItem->font().pointSize(), 8);
                }
                lstCells.append(pItem != nullptr ? pItem->text() : "-");
            }
            lstRows.append(lstCells.join('|'));
        }
        QCOMPARE(nCells, 16);
        QCOMPARE(lstRows,
                 QStringList({"Nomal/Full Screen|Double Click LeftKey|-|-", "Play/Pause|-|-|Space",
                              "Stop|-|Ctrl|S", "Frame Backward|-|-|Left", "Frame Forward|-|-|Right",
                              "Volume Increase|-|-|Up", "Volume Decrease|-|-|Down", "Go to Start|-|Ctrl|Left",
                              "Go to End|-|Ctrl|Right", "Open File|-|Ctrl|O", "Close File|-|Ctrl|C", "|-|-|-",
                              "|-|-|-", "|-|-|-", "|-|-|-"}));
    }

    void ADoubleClickOnTheKeyTableEditsNothing() {
        CDlgTest test;
        CPlayerSetting dlg(&test.Dlg());
        dlg.OnClickStaticText(2);
        dlg.show();
        auto* pTable = Named<QTableWidget>(dlg, "m_pKeyTable");
        QTest::mouseDClick(pTable->viewport(), Qt::LeftButton, {},
                           pTable->visualItemRect(pTable->item(1, 2)).center());
        QTest::keyClick(pTable, Qt::Key_F2);
        QVERIFY(pTable->findChildren<QLineEdit*>().isEmpty());
        QVERIFY(!pTable->isPersistentEditorOpen(pTable->item(1, 2)));
    }

    void EveryPageIsChineseWhenTheLanguageIs() {
        CDlgTest test;
        QTranslator translator;
        QVERIFY(translator.load(":/talvio_zh.qm"));
        QCoreApplication::installTranslator(&translator);
        const CPlayerSetting dlg(&test.Dlg());
        QCoreApplication::removeTranslator(&translator);
        // What stays as it is: names of keys and of file types, and the numbers of the scale.
        const QStringList lstSame = {"1", "X2", "X4", "X8", "X16", ""};
        QCOMPARE(dlg.windowTitle(), QString::fromUtf8("播放器设置"));
        for (const QLabel* pLabel : dlg.findChildren<QLabel*>())
            QVERIFY2(lstSame.contains(pLabel->text()) || pLabel->text()[0].unicode() > 0x2E80,
                     qPrintable(pLabel->text()));
        for (const QAbstractButton* pButton : dlg.findChildren<QAbstractButton*>()) {
            QVERIFY2(lstSame.contains(pButton->text()) || pButton->text()[0].unicode() > 0x2E80,
                     qPrintable(pButton->text()));
        }
    }
};

QTEST_MAIN(TestPlayerSettingPages)
#include "test_PlayerSettingPages.moc"

// The settings dialog's frame: its list, its pages, what it takes from the window and what OK gives back.
#include "tests/app/DlgTest.h"
#include "tests/settings/SettingsTest.h"
#include "widgets/SettingSlider.h"
#include "widgets/StaticTitle.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QFileDialog>
#include <QGroupBox>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QTest>
#include <QWindow>

namespace {

// The rows of the list, from the top.
QList<CStaticText*> Rows(const CPlayerSetting& dlg) {
    QList<CStaticText*> lstRows = Named<QGroupBox>(dlg, "groupBox")->findChildren<CStaticText*>();
    std::sort(lstRows.begin(), lstRows.end(),
              [](const CStaticText* pLeft, const CStaticText* pRight) { return pLeft->y() < pRight->y(); });
    return lstRows;
}

// Texts of the visible labels and buttons on the right.
QStringList VisibleTexts(const CPlayerSetting& dlg) {
    QStringList lstTexts;
    const auto* pRight = Named<QGroupBox>(dlg, "groupBox_2");
    for (const QWidget* pWidget : pRight->findChildren<QWidget*>(Qt::FindDirectChildrenOnly)) {
        if (!pWidget->isVisibleTo(pRight)) continue;
        if (const auto* pLabel = qobject_cast<const QLabel*>(pWidget)) lstTexts.append(pLabel->text());
        if (const auto* pButton = qobject_cast<const QAbstractButton*>(pWidget))
            lstTexts.append(pButton->text());
    }
    lstTexts.sort();
    return lstTexts;
}

QString Marked(const CPlayerSetting& dlg) {
    QStringList lstMarked;
    for (const CStaticText* pRow : Rows(dlg)) {
        if (pRow->styleSheet() == "background-color: rgb(60, 135, 255);") lstMarked.append(pRow->text());
    }
    return lstMarked.join(',');
}

} // namespace

class TestPlayerSetting : public QObject {
    Q_OBJECT

  private slots:
    void TheListHasTwelveRows() {
        CDlgTest test;
        const CPlayerSetting dlg(&test.Dlg());
        QStringList lstRows;
        for (const CStaticText* pRow : Rows(dlg)) {
            lstRows.append(QString("%1,%2 %3 %4")
                               .arg(pRow->y())
                               .arg(pRow->height())
                               .arg(pRow->m_nType)
                               .arg(pRow->text()));
            QCOMPARE(pRow->x(), 0);
            QCOMPARE(pRow->width(), 120);
            QCOMPARE(pRow->alignment(), Qt::AlignHCenter | Qt::AlignVCenter);
            const bool bHeading = pRow->m_nType == 0;
            QCOMPARE(pRow->styleSheet(),
                     bHeading ? "color: rgb(38, 67, 255);\nbackground-color: rgb(199, 212, 255);" : "");
        }
        QCOMPARE(lstRows,
                 QStringList({"0,28 0 General Settings", "28,27 1 Basic", "55,27 2 Hotkey/Mouse",
                              "82,28 0 Play Settings", "110,27 3 Video Locate", "137,27 4 Play Speed",
                              "164,28 0 Picture Settings", "192,27 5 Image Control", "219,27 6 Color Adjust",
                              "246,26 0 Tool Settings", "272,27 7 Cappic", "299,27 8 Continue Cappic"}));
    }

    void TheFrameHasItsPlaces() {
        CDlgTest test;
        const CPlayerSetting dlg(&test.Dlg());
        QCOMPARE(dlg.windowTitle(), QString("Player Settings"));
        QCOMPARE(dlg.minimumSize(), QSize(470, 367));
        QCOMPARE(dlg.maximumSize(), QSize(470, 367));
        QCOMPARE(Named<QGroupBox>(dlg, "groupBox")->geometry(), QRect(0, 0, 120, 326));
        QCOMPARE(Named<QGroupBox>(dlg, "groupBox_2")->geometry(), QRect(130, 0, 331, 326));
        QCOMPARE(ButtonOf(dlg, "OK")->geometry(), QRect(310, 330, 60, 30));
        QCOMPARE(ButtonOf(dlg, "OK")->objectName(), QString("m_pOKButton"));
        QCOMPARE(ButtonOf(dlg, "Cancel")->geometry(), QRect(390, 330, 60, 30));
        QCOMPARE(ButtonOf(dlg, "OK")->focusPolicy(), Qt::NoFocus);
        QCOMPARE(ButtonOf(dlg, "Cancel")->focusPolicy(), Qt::NoFocus);
        for (const char* pName : {"groupBox", "groupBox_2"}) {
            const auto* pBox = Named<QGroupBox>(dlg, pName);
            QCOMPARE(pBox->title(), QString());
            QCOMPARE(pBox->styleSheet(), QString("#%1 {background-color: rgb(255, 255, 255);}").arg(pName));
        }
    }

    void EachPageShowsItsOwnControls_data() {
        QTest::addColumn<int>("page");
        QTest::addColumn<QStringList>("texts");
        QTest::newRow("1") << 1
                           << QStringList({"Check High Quality DisPlay", "Deflash", "Don't Throw",
                                           "Effect Priority", "Efficiency Priority", "High Precision",
                                           "Low Precision", "Option", "Play Optimization", "Player Timer",
                                           "Throw 1", "Throw 2", "Throw B-Frame"});
        QTest::newRow("2") << 2 << QStringList({"Hot Key"});
        QTest::newRow("3") << 3
                           << QStringList(
                                  {"Frame Locate", "Locate", "Locate", "Time Locate", "Video Locate"});
        QTest::newRow("4") << 4
                           << QStringList({"1", "Decrease Speed", "Increase Speed", "Play Speed", "X16", "X2",
                                           "X4", "X8"});
        QTest::newRow("5") << 5 << QStringList({"Image Control", "Low Resolution", "Normal Resolution"});
        QTest::newRow("6") << 6
                           << QStringList(
                                  {"Chromaticity", "Color Adjust", "Constrast", "Hue", "Lightness", "Reset"});
        QTest::newRow("7") << 7 << QStringList({"Browse", "Cappic", "Save Path:", "Save Type:"});
        QTest::newRow("8") << 8 << QStringList({"Browse", "Continue Cappic", "Save Path:", "Save Type:"});
    }
    void EachPageShowsItsOwnControls() {
        QFETCH(int, page);
        QFETCH(QStringList, texts);
        CDlgTest test;
        CPlayerSetting dlg(&test.Dlg());
        dlg.OnClickStaticText(page);
        QCOMPARE(VisibleTexts(dlg), texts);
    }

    void ItOpensOnBasicWithNoEntryMarkedUntilOneIsClicked() {
        CDlgTest test;
        CPlayerSetting dlg(&test.Dlg());
        QVERIFY(VisibleTexts(dlg).contains("Throw B-Frame"));
        QCOMPARE(Marked(dlg), QString());
        QTest::mouseClick(Rows(dlg)[1], Qt::LeftButton);
        QCOMPARE(Marked(dlg), QString("Basic"));
        QTest::mouseClick(Rows(dlg)[11], Qt::LeftButton);
        QCOMPARE(Marked(dlg), QString("Continue Cappic"));
        QCOMPARE(Rows(dlg)[1]->styleSheet(), QString("background-color: rgb(255, 255, 255);"));
        QVERIFY(VisibleTexts(dlg).contains("Save Path:"));
    }

    void TheTitleAndTheHeadingsAreNoPages() {
        CDlgTest test;
        CPlayerSetting dlg(&test.Dlg());
        dlg.show();
        // By the window, which finds out for itself what lies there.
        const auto clickRow = [&dlg](int nRow) {
            QTest::mouseClick(dlg.windowHandle(), Qt::LeftButton, {},
                              Rows(dlg)[nRow]->mapTo(&dlg, QPoint(60, 14)));
        };
        const auto clickHeadings = [&clickRow] {
            for (const int nRow : {0, 3, 6, 9})
                clickRow(nRow);
        };
        clickHeadings();
        QCOMPARE(Marked(dlg), QString());
        QVERIFY(VisibleTexts(dlg).contains("Throw B-Frame"));
        clickRow(8);
        QCOMPARE(Marked(dlg), QString("Color Adjust"));
        clickHeadings();
        QCOMPARE(Marked(dlg), QString("Color Adjust"));
        QVERIFY(VisibleTexts(dlg).contains("Lightness"));
    }

    void APageNumberOutOfRangeKeepsThePage() {
        CDlgTest test;
        CPlayerSetting dlg(&test.Dlg());
        dlg.OnClickStaticText(5);
        dlg.OnClickStaticText(9);
        dlg.OnClickStaticText(0);
        QCOMPARE(Marked(dlg), QString("Image Control"));
    }

    void TheControlsShowTheWindowsSettings() {
        CDlgTest test;
        CTalvioDlg& window = test.Dlg();
        window.SetHighQuality(false);
        window.SetDeflash(false);
        window.SetDeinterlaceType(1);
        window.SetThrowBNum(7);
        window.SetPlayerTimer(5);
        window.SetDisplayType(0);
        window.SetCapPath("/cap");
        window.SetCapType(3);
        window.SetConCapPath("/con");
        window.SetBrightness(10);
        window.SetContrast(20);
        window.SetChromaticity(30);
        window.SetHue(40);
        const CPlayerSetting dlg(&window);
        QVERIFY(!ButtonOf(dlg, "Check High Quality DisPlay")->isChecked());
        QVERIFY(!ButtonOf(dlg, "Deflash")->isChecked());
        QVERIFY(ButtonOf(dlg, "Effect Priority")->isChecked());
        QVERIFY(ButtonOf(dlg, "Throw 2")->isChecked());
        QVERIFY(ButtonOf(dlg, "Low Precision")->isChecked());
        QVERIFY(ButtonOf(dlg, "Low Resolution")->isChecked());
        QCOMPARE(Named<QLineEdit>(dlg, "m_pCapPathLine")->text(), QString("/cap"));
        QCOMPARE(Named<QComboBox>(dlg, "m_pCapTypeCombo")->currentText(), QString("JPEG"));
        QCOMPARE(Named<QLineEdit>(dlg, "m_pConCapPathLine")->text(), QString("/con"));
        QCOMPARE(Named<QComboBox>(dlg, "m_pConCapTypeCombo")->currentText(), QString("BMP"));
        QCOMPARE(Named<CSetingSlider>(dlg, "m_pLightSlider1")->value(), 10);
        QCOMPARE(Named<CSetingSlider>(dlg, "m_pConstrastSlider")->value(), 20);
        QCOMPARE(Named<CSetingSlider>(dlg, "m_pChroSlider1")->value(), 30);
        QCOMPARE(Named<CSetingSlider>(dlg, "m_pHueSlider")->value(), 40);
        QCOMPARE(window.GetBrightness(), 10); // moving them into place told nobody
    }

    void OkWithNoFileStoresEverythingAndAsksNothingOfTheFile() {
        CDlgTest test;
        CTalvioDlg& window = test.Dlg();
        window.SetThrowBNum(7);
        test.Fake().TakeCalls();
        CPlayerSetting dlg(&window);
        ButtonOf(dlg, "Deflash")->click();
        ButtonOf(dlg, "Effect Priority")->click();
        ButtonOf(dlg, "Low Precision")->click();
        ButtonOf(dlg, "Low Resolution")->click();
        Named<CSetingSlider>(dlg, "m_pSpeedSlider")->setValue(3);
        Named<QComboBox>(dlg, "m_pConCapTypeCombo")->setCurrentIndex(1);
        Named<QLineEdit>(dlg, "m_pCapPathLine")->setText("/typed"); // counts for nothing
        const QString strPath = window.GetCapPath();
        QVERIFY(dlg.OnClickOKButton());
        QVERIFY(window.GetHighQuality());
        QVERIFY(!window.GetDeflash());
        QCOMPARE(window.GetDeinterlaceType(), 1);
        QCOMPARE(window.GetThrowBNum(), 2);
        QCOMPARE(window.GetPlayerTimer(), 2);
        QCOMPARE(window.GetDisplayType(), 2);
        QCOMPARE(window.GetSpeed(), 3);
        QCOMPARE(window.GetCapType(), 0);
        QCOMPARE(window.GetConCapType(), 1);
        QCOMPARE(window.GetCapPath(), strPath);
        QCOMPARE(test.Commands(), QStringList());
        QCOMPARE(dlg.result(), int(QDialog::Accepted));
    }

    void OkWithAFileHandsOverTheOptionsAndStepsTheSpeed() {
        CDlgTest test;
        test.PlayInto(1);
        CPlayerSetting dlg(&test.Dlg());
        ButtonOf(dlg, "Throw 1")->click();
        ButtonOf(dlg, "Low Resolution")->click();
        Named<CSetingSlider>(dlg, "m_pSpeedSlider")->setValue(2);
        QVERIFY(dlg.OnClickOKButton());
        QCOMPARE(test.Commands(),
                 QStringList({"Dravo_SetTimerType(2, 1, 0)", "Dravo_SetDeflash(2, 1)",
                              "Dravo_SetDisplayType(2, 2)", "Dravo_SetPicQuality(2, 1)",
                              "Dravo_ThrowBFrameNum(2, 1)", "Dravo_Fast(2)", "Dravo_Fast(2)"}));
        QCOMPARE(test.Dlg().GetPreThrowBNum(), 1);

        // The same number again is not handed over again.
        CPlayerSetting again(&test.Dlg());
        QVERIFY(again.OnClickOKButton());
        QCOMPARE(test.Commands(), QStringList({"Dravo_SetTimerType(2, 1, 0)", "Dravo_SetDeflash(2, 1)",
                                               "Dravo_SetDisplayType(2, 2)", "Dravo_SetPicQuality(2, 1)"}));
    }

    void ASlowerSpeedIsSteppedDown() {
        CDlgTest test;
        test.PlayInto(1);
        CPlayerSetting dlg(&test.Dlg());
        ButtonOf(dlg, "Decrease Speed")->click();
        Named<CSetingSlider>(dlg, "m_pSpeedSlider")->setValue(3);
        QVERIFY(dlg.OnClickOKButton());
        QCOMPARE(test.Commands().filter("Slow").size(), 3);
        QCOMPARE(test.Dlg().GetSpeed(), -3);
    }

    void ARefusedStepOfSpeedEndsOkAtOnce() {
        CDlgTest test;
        test.PlayInto(1);
        test.Fake().QueueResults("Dravo_Fast", {1, 0});
        CPlayerSetting dlg(&test.Dlg());
        Named<CSetingSlider>(dlg, "m_pSpeedSlider")->setValue(4);
        QVERIFY(!dlg.OnClickOKButton());
        QCOMPARE(test.Commands().filter("Fast").size(), 2);
        QCOMPARE(test.Dlg().GetSpeed(), 4);
        QCOMPARE(dlg.result(), int(QDialog::Rejected));
    }

    void CancelAppliesNothing() {
        CDlgTest test;
        CPlayerSetting dlg(&test.Dlg());
        dlg.show();
        ButtonOf(dlg, "Deflash")->click();
        QTest::mouseClick(ButtonOf(dlg, "Cancel"), Qt::LeftButton);
        QVERIFY(!dlg.isVisible());
        QVERIFY(test.Dlg().GetDeflash());
    }

    void CancelKeepsWhatActedAtOnce() {
        CDlgTest test;
        test.PlayInto(1);
        CPlayerSetting dlg(&test.Dlg());
        dlg.show();
        Named<CSetingSlider>(dlg, "m_pHueSlider")->setValue(7);
        Named<QLineEdit>(dlg, "m_pTimeLine")->setText("3");
        Named<QPushButton>(dlg, "m_pTimeButton")->click();
        const QStringList lstDone = {"Dravo_SetColor(2, 0, 64, 64, 64, 7)", "Dravo_SetPlayedTimeEx(2, 3000)"};
        QCOMPARE(test.Commands(), lstDone);
        QTest::mouseClick(ButtonOf(dlg, "Cancel"), Qt::LeftButton);
        QVERIFY(!dlg.isVisible());
        QCOMPARE(test.Commands(), QStringList());
        QCOMPARE(test.Dlg().GetHue(), 7);
    }

    void WithoutAWindowItShowsItsStartValuesAndOkOnlyCloses() {
        CPlayerSetting dlg(nullptr);
        QVERIFY(ButtonOf(dlg, "Low Resolution")->isChecked());
        QCOMPARE(Named<QLineEdit>(dlg, "m_pCapPathLine")->text(), QDir::currentPath());
        dlg.show();
        QVERIFY(!dlg.OnClickOKButton());
        QVERIFY(!dlg.isVisible());
        QVERIFY(!dlg.ChangeHue(5));
        QVERIFY(!dlg.TimeLocate());
        QVERIFY(!dlg.Reset());
    }

    void BrowseStoresTheChosenFolder_data() {
        QTest::addColumn<bool>("chosen");
        QTest::newRow("chosen") << true;
        QTest::newRow("cancelled") << false;
    }
    void BrowseStoresTheChosenFolder() {
        QFETCH(bool, chosen);
        QCoreApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
        CDlgTest test;
        const QString strFolder = test.File("pictures");
        QVERIFY(QDir().mkpath(strFolder));
        test.Dlg().SetCapPath("/old");
        CPlayerSetting dlg(&test.Dlg());
        QString strTitle;
        QString strStart;
        QTimer timer;
        connect(&timer, &QTimer::timeout, &dlg, [&] {
            auto* pChooser = qobject_cast<QFileDialog*>(QApplication::activeModalWidget());
            if (pChooser == nullptr) return;
            strTitle = pChooser->windowTitle();
            strStart = pChooser->directory().path();
            pChooser->findChild<QLineEdit*>("fileNameEdit")->setText(strFolder);
            static_cast<QDialog*>(pChooser)->done(chosen ? QDialog::Accepted : QDialog::Rejected);
        });
        timer.start(5);
        Named<QPushButton>(dlg, "m_pCapBrowseButton")->click();
        timer.stop();
        QCOMPARE(strTitle, QString("Open Diectory"));
        QCOMPARE(strStart, QDir::currentPath());
        QCOMPARE(Named<QLineEdit>(dlg, "m_pCapPathLine")->text(), chosen ? strFolder : QString("/old"));
        dlg.OnClickOKButton();
        QCOMPARE(test.Dlg().GetCapPath(), chosen ? strFolder : QString("/old"));
    }

    void TheWindowOpensItsPages_data() {
        QTest::addColumn<int>("slot");
        QTest::addColumn<QString>("marked");
        QTest::addColumn<int>("kept");
        QTest::newRow("settings") << 0 << QString() << 1;
        QTest::newRow("hot keys") << 1 << QString("Hotkey/Mouse") << 0;
        QTest::newRow("locate") << 2 << QString("Video Locate") << 1;
        QTest::newRow("image") << 3 << QString("Image Control") << 1;
        QTest::newRow("colour") << 4 << QString("Color Adjust") << 1;
    }
    void TheWindowOpensItsPages() {
        QFETCH(int, slot);
        QFETCH(QString, marked);
        QFETCH(int, kept);
        using Slot = bool (CTalvioDlg::*)();
        const Slot aSlots[] = {&CTalvioDlg::DisPlaySettingDlg, &CTalvioDlg::ShowHotKeyDlg,
                               &CTalvioDlg::ShowLocateDlg, &CTalvioDlg::ShowImageDlg,
                               &CTalvioDlg::ShowColorDlg};
        CDlgTest test;
        QString strMarked = "never shown";
        QTimer timer;
        connect(&timer, &QTimer::timeout, &test.Dlg(), [&strMarked] {
            auto* pDlg = qobject_cast<CPlayerSetting*>(QApplication::activeModalWidget());
            if (pDlg == nullptr) return;
            strMarked = Marked(*pDlg);
            pDlg->close();
        });
        timer.start(5);
        QVERIFY((test.Dlg().*aSlots[slot])());
        QCOMPARE(strMarked, marked);
        QCOMPARE(test.Dlg().findChildren<CPlayerSetting*>().size(), kept);
    }
};

QTEST_MAIN(TestPlayerSetting)
#include "test_PlayerSetting.moc"

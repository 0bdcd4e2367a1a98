// What the settings dialog asks of the main window and of the file, call by call, what it does when its parts
// fail, and where everything on it lies.
#include "engine/Operate.h"
#include "settings/SettingsOwner.h"
#include "tests/fakes/DravoFake.h"
#include "tests/settings/SettingsTest.h"
#include "widgets/SettingSlider.h"
#include "widgets/StaticTitle.h"

#include <QButtonGroup>
#include <QComboBox>
#include <QDir>
#include <QFileDialog>
#include <QGroupBox>
#include <QLineEdit>
#include <QMetaMethod>
#include <QTest>
#include <QTranslator>

#include <cstdlib>
#include <new>
#include <stdexcept>

namespace {

// How the directory chooser was asked, and what it answers or throws.
struct Chooser {
    QStringList lstAsked;
    QString strAnswer;
    bool bThrows = false;
};
Chooser g_chooser;

// The making of the n-th object of this size fails; 0 for none.
std::size_t g_nPoorSize = 0;
int g_nPoorCount = 0;

// A main window that keeps the settings and notes each call, those to the playback library among them.
class CNotingWindow : public QWidget, public CSettingsOwner {
  public:
    CNotingWindow() { DravoFake::Get().Reset(); }

    // Opens a file; what was noted so far is forgotten.
    void OpenFile() {
        char aPath[] = "/rec/a.mp4";
        if (!m_operate.Init(aPath) || !m_operate.Open(aPath)) qFatal("the file was not opened");
        Take();
    }
    QStringList Take() {
        NoteLibrary();
        return std::exchange(m_lstCalls, {});
    }

    COperate* GetOperate() const override { return m_pOperate; }
    void SetPara() override { Note("SetPara()"); }
    void SetState() override { Note("SetState()"); }
    bool GetHighQuality() const override { return false; }
    void SetHighQuality(bool b) override { Note(QString("SetHighQuality(%1)").arg(b)); }
    bool GetDeflash() const override { return false; }
    void SetDeflash(bool b) override { Note(QString("SetDeflash(%1)").arg(b)); }
    int GetDeinterlaceType() const override { return 1; }
    void SetDeinterlaceType(unsigned long n) override { Note(QString("SetDeinterlaceType(%1)").arg(n)); }
    int GetThrowBNum() const override { return 1; }
    void SetThrowBNum(int n) override { Note(QString("SetThrowBNum(%1)").arg(n)); }
    int GetPreThrowBNum() const override { return m_nPreThrowB; }
    void SetPreThrowBNum(int n) override {
        Note(QString("SetPreThrowBNum(%1)").arg(n));
        m_nPreThrowB = n;
    }
    int GetPlayerTimer() const override { return 2; }
    void SetPlayerTimer(int n) override { Note(QString("SetPlayerTimer(%1)").arg(n)); }
    int GetDisplayType() const override { return 2; }
    void SetDisplayType(int n) override { Note(QString("SetDisplayType(%1)").arg(n)); }
    int GetSpeed() const override { return m_nSpeed; }
    void SetSpeed(int n) override { Note(QString("SetSpeed(%1)").arg(n)); }
    QString GetCapPath() const override { return "/cap"; }
    void SetCapPath(QString str) override { Note(QString("SetCapPath(%1)").arg(str)); }
    int GetCapType() const override { return 1; }
    void SetCapType(int n) override { Note(QString("SetCapType(%1)").arg(n)); }
    QString GetConCapPath() const override { return "/con"; }
    void SetConCapPath(QString str) override { Note(QString("SetConCapPath(%1)").arg(str)); }
    int GetConCapType() const override { return 0; }
    void SetConCapType(int n) override { Note(QString("SetConCapType(%1)").arg(n)); }
    int GetBrightness() const override { return 10; }
    bool SetBrightness(int n) override { return Note(QString("SetBrightness(%1)").arg(n)); }
    int GetContrast() const override { return 20; }
    bool SetContrast(int n) override { return Note(QString("SetContrast(%1)").arg(n)); }
    int GetChromaticity() const override { return 30; }
    bool SetChromaticity(int n) override { return Note(QString("SetChromaticity(%1)").arg(n)); }
    int GetHue() const override { return 40; }
    bool SetHue(int n) override { return Note(QString("SetHue(%1)").arg(n)); }

    COperate m_operate;
    COperate* m_pOperate = &m_operate;
    int m_nSpeed = 1;
    int m_nPreThrowB = 0;

  private:
    void NoteLibrary() {
        for (const std::string& call : DravoFake::Get().TakeCalls()) {
            if (!call.starts_with("Dravo_Get")) m_lstCalls.append(QString::fromStdString(call));
        }
    }
    bool Note(const QString& strCall) {
        NoteLibrary();
        m_lstCalls.append(strCall);
        return true;
    }

    QStringList m_lstCalls;
};

const QStringList kStored = {"SetHighQuality(0)",   "SetDeflash(0)",     "SetDeinterlaceType(1)",
                             "SetThrowBNum(1)",     "SetPlayerTimer(2)", "SetDisplayType(2)",
                             "SetSpeed(3)",         "SetCapPath(/cap)",  "SetCapType(1)",
                             "SetConCapPath(/con)", "SetConCapType(0)"};

QStringList OptionCalls(bool bThrowB) {
    QStringList lstCalls = {"Dravo_SetTimerType(2, 1, 0)", "Dravo_SetDeflash(2, 1)",
                            "Dravo_SetDisplayType(2, 1)", "Dravo_SetPicQuality(2, 1)"};
    if (bThrowB) lstCalls.append("Dravo_ThrowBFrameNum(2, 0)");
    return lstCalls;
}

} // namespace

// The chooser's own function, taken over.
QString QFileDialog::getExistingDirectory(QWidget* pParent, const QString& strCaption,
                                          const QString& strFolder, Options eOptions) {
    g_chooser.lstAsked.append(
        QString("%1|%2|%3|%4")
            .arg(pParent != nullptr ? pParent->metaObject()->className() : "-", strCaption, strFolder)
            .arg(static_cast<int>(eOptions)));
    if (g_chooser.bThrows) throw std::runtime_error("no chooser");
    return g_chooser.strAnswer;
}

// Not to be inlined: the compiler would take malloc and delete, or new and free, for a mismatch.
[[gnu::noinline]] void* operator new(std::size_t nSize) {
    const bool bPoor = g_nPoorSize != 0 && nSize == g_nPoorSize && --g_nPoorCount == 0;
    void* pMemory = bPoor ? nullptr : std::malloc(nSize > 0 ? nSize : 1);
    if (pMemory == nullptr) throw std::bad_alloc();
    return pMemory;
}
[[gnu::noinline]] void* operator new(std::size_t nSize, const std::nothrow_t&) noexcept {
    return std::malloc(nSize > 0 ? nSize : 1);
}
[[gnu::noinline]] void operator delete(void* pMemory) noexcept {
    std::free(pMemory);
}
[[gnu::noinline]] void operator delete(void* pMemory, std::size_t) noexcept {
    std::free(pMemory);
}

class TestPlayerSettingCalls : public QObject {
    Q_OBJECT

  private slots:
    void init() { g_chooser = Chooser(); }
    void cleanup() { g_nPoorSize = 0; }

    void TheSlotsStandInTheirOrder() {
        const QMetaObject& meta = CPlayerSetting::staticMetaObject;
        QStringList lstMethods;
        for (int n = meta.methodOffset(); n < meta.methodCount(); ++n) {
            QCOMPARE(meta.method(n).methodType(), QMetaMethod::Slot);
            lstMethods.append(meta.method(n).typeName() + QByteArray(" ") + meta.method(n).methodSignature());
        }
        QCOMPARE(lstMethods,
                 QStringList({"bool ChangeLightness(int)", "bool ChangeHue(int)", "bool ChangeConstract(int)",
                              "bool ChangeChromaticity(int)", "bool Reset()", "bool FrameLocate()",
                              "bool TimeLocate()", "bool OnClickOKButton()", "bool OnClickCappicBrowser()",
                              "bool OnClickConCapbrowser()", "void OnClickStaticText(int)"}));
    }

    void OkStoresThenHandsOverThenStepsTheSpeedThenRefreshes_data() {
        QTest::addColumn<int>("state");
        QTest::newRow("playing") << int(COperate::kPlaying);
        QTest::newRow("paused") << int(COperate::kPaused);
        QTest::newRow("stopped") << int(COperate::kStopped);
    }
    void OkStoresThenHandsOverThenStepsTheSpeedThenRefreshes() {
        QFETCH(int, state);
        CNotingWindow window;
        window.OpenFile();
        QVERIFY(window.m_operate.SetCurrentState(state));
        CPlayerSetting dlg(&window);
        Named<CSetingSlider>(dlg, "m_pSpeedSlider")->setValue(2);
        dlg.show();
        QVERIFY(dlg.OnClickOKButton());
        QCOMPARE(window.Take(), kStored + QStringList({"SetPara()", "SetPreThrowBNum(1)"}) +
                                    OptionCalls(true) +
                                    QStringList({"Dravo_Fast(2)", "Dravo_Fast(2)", "SetState()"}));
        QVERIFY(!dlg.isVisible());
        QCOMPARE(dlg.result(), int(QDialog::Accepted));
    }

    void OkWithTheSameNumberOfPicturesLeftOutDoesNotHandItOver() {
        CNotingWindow window;
        window.OpenFile();
        window.m_nPreThrowB = 1;
        window.m_nSpeed = 3;
        CPlayerSetting dlg(&window);
        QVERIFY(dlg.OnClickOKButton());
        QCOMPARE(window.Take(), kStored + QStringList({"SetPara()", "SetPreThrowBNum(1)"}) +
                                    OptionCalls(false) + QStringList({"SetState()"}));
    }

    void OkWithNoFileStoresAndRefreshes() {
        CNotingWindow window;
        window.m_nSpeed = 3;
        CPlayerSetting dlg(&window);
        QVERIFY(dlg.OnClickOKButton());
        QCOMPARE(window.Take(), kStored + QStringList({"SetState()"}));
    }

    void OkWithoutAFacadeStoresAndCloses() {
        CNotingWindow window;
        window.m_nSpeed = 3;
        window.m_pOperate = nullptr;
        CPlayerSetting dlg(&window);
        dlg.show();
        QVERIFY(!dlg.OnClickOKButton());
        QCOMPARE(window.Take(), kStored);
        QVERIFY(!dlg.isVisible());
        QCOMPARE(dlg.result(), int(QDialog::Rejected));
        QVERIFY(!dlg.ChangeHue(5) && !dlg.Reset() && !dlg.TimeLocate() && !dlg.FrameLocate());
        QCOMPARE(window.Take(), QStringList());
    }

    void ARefusedStepOfSpeedLeavesTheRest() {
        CNotingWindow window;
        window.OpenFile();
        DravoFake::Get().QueueResults("Dravo_Slow", {1, 0});
        CPlayerSetting dlg(&window);
        ButtonOf(dlg, "Decrease Speed")->click();
        Named<CSetingSlider>(dlg, "m_pSpeedSlider")->setValue(4);
        QVERIFY(!dlg.OnClickOKButton());
        const QStringList lstCalls = window.Take();
        QCOMPARE(lstCalls.mid(lstCalls.size() - 2), QStringList({"Dravo_Slow(2)", "Dravo_Slow(2)"}));
        QCOMPARE(dlg.result(), int(QDialog::Rejected));
    }

    void AColourIsHandedOverAndThenStored() {
        CNotingWindow window;
        window.OpenFile();
        const CPlayerSetting dlg(&window);
        QCOMPARE(window.Take(), QStringList()); // placing the sliders told nobody
        Named<CSetingSlider>(dlg, "m_pLightSlider1")->setValue(100);
        QCOMPARE(window.Take(), QStringList({"Dravo_SetColor(2, 0, 100, 20, 30, 40)", "SetBrightness(100)",
                                             "SetHue(40)", "SetChromaticity(30)", "SetContrast(20)"}));
    }

    void ResetStoresTheMiddleAndThenMovesTheSliders() {
        CNotingWindow window;
        window.OpenFile();
        CPlayerSetting dlg(&window);
        QVERIFY(!dlg.Reset());
        const QStringList lstStored = {"SetBrightness(64)", "SetHue(64)", "SetChromaticity(64)",
                                       "SetContrast(64)"};
        const QStringList lstMoved = QStringList({"Dravo_SetColor(2, 0, 64, 64, 64, 64)"}) + lstStored;
        QCOMPARE(window.Take(), lstStored + lstMoved + lstMoved + lstMoved + lstMoved);
    }

    void TheChooserStartsInTheWorkingDirectoryAndShowsFoldersOnly() {
        CNotingWindow window;
        CPlayerSetting dlg(&window);
        g_chooser.strAnswer = "/chosen";
        QVERIFY(dlg.OnClickConCapbrowser());
        const QString strAsked = QString("CPlayerSetting|Open Diectory|%1|%2")
                                     .arg(QDir::currentPath())
                                     .arg(QFileDialog::ShowDirsOnly);
        QCOMPARE(g_chooser.lstAsked, QStringList(strAsked));
        QCOMPARE(Named<QLineEdit>(dlg, "m_pConCapPathLine")->text(), QString("/chosen"));
        QCOMPARE(Named<QLineEdit>(dlg, "m_pCapPathLine")->text(), QString("/cap"));
        dlg.OnClickOKButton();
        QVERIFY(window.Take().contains("SetConCapPath(/chosen)"));
    }

    void ACancelledChooserSucceedsAndChangesNothing() {
        CNotingWindow window;
        CPlayerSetting dlg(&window);
        QVERIFY(dlg.OnClickCappicBrowser());
        QVERIFY(dlg.OnClickConCapbrowser());
        QCOMPARE(g_chooser.lstAsked.size(), 2);
        QCOMPARE(Named<QLineEdit>(dlg, "m_pCapPathLine")->text(), QString("/cap"));
        QCOMPARE(Named<QLineEdit>(dlg, "m_pConCapPathLine")->text(), QString("/con"));
        dlg.OnClickOKButton();
        const QStringList lstCalls = window.Take();
        QVERIFY(lstCalls.contains("SetCapPath(/cap)") && lstCalls.contains("SetConCapPath(/con)"));
    }

    void AnExceptionOfTheChooserGivesAWarningAndChangesNothing_data() {
        QTest::addColumn<bool>("continuous");
        QTest::newRow("single") << false;
        QTest::newRow("continuous") << true;
    }
    void AnExceptionOfTheChooserGivesAWarningAndChangesNothing() {
        QFETCH(bool, continuous);
        CNotingWindow window;
        CPlayerSetting dlg(&window);
        g_chooser.bThrows = true;
        bool bDone = true;
        const QString strBox =
            BoxShownBy([&] { bDone = continuous ? dlg.OnClickConCapbrowser() : dlg.OnClickCappicBrowser(); });
        QCOMPARE(strBox, QString("Warning: Open File Error [OK]"));
        QVERIFY(!bDone);
        QCOMPARE(Named<QLineEdit>(dlg, "m_pCapPathLine")->text(), QString("/cap"));
        QCOMPARE(Named<QLineEdit>(dlg, "m_pConCapPathLine")->text(), QString("/con"));
        dlg.OnClickOKButton();
        QVERIFY(window.Take().contains("SetCapPath(/cap)"));
    }

    void AnExceptionOfTheChooserIsToldInChineseWhenTheLanguageIs() {
        CNotingWindow window;
        CPlayerSetting dlg(&window);
        g_chooser.bThrows = true;
        QTranslator translator;
        QVERIFY(translator.load(":/talvio_zh.qm"));
        QCoreApplication::installTranslator(&translator);
        const QString strBox = BoxShownBy([&dlg] { dlg.OnClickCappicBrowser(); });
        QCoreApplication::removeTranslator(&translator);
        const QString strTitle = translator.translate("CPlayerSetting", "Warning");
        const QString strText = translator.translate("CPlayerSetting", "Open File Error");
        QVERIFY(!strTitle.isEmpty() && !strText.isEmpty());
        QCOMPARE(strBox, strTitle + ": " + strText + " [OK]");
        QVERIFY2(g_chooser.lstAsked.value(0).contains(
                     '|' + translator.translate("CPlayerSetting", "Open Diectory") + '|'),
                 qPrintable(g_chooser.lstAsked.value(0)));
    }

    void WithoutRoomForAControlTheDialogIsEmptyAndDoesNothing_data() {
        QTest::addColumn<int>("size");
        QTest::addColumn<int>("count");
        QTest::newRow("the first panel") << int(sizeof(QGroupBox)) << 1;
        QTest::newRow("the list's title") << int(sizeof(CStaticText)) << 1;
        QTest::newRow("the first page's header") << int(sizeof(CStaticText)) << 13;
        QTest::newRow("the last page's header") << int(sizeof(CStaticText)) << 23;
    }
    void WithoutRoomForAControlTheDialogIsEmptyAndDoesNothing() {
        QFETCH(int, size);
        QFETCH(int, count);
        CNotingWindow window;
        g_nPoorCount = count;
        g_nPoorSize = static_cast<std::size_t>(size);
        CPlayerSetting dlg(&window);
        g_nPoorSize = 0;
        QCOMPARE(g_nPoorCount, 0);
        QVERIFY(dlg.findChildren<QWidget*>().isEmpty());
        dlg.OnClickStaticText(3);
        QVERIFY(!dlg.TimeLocate() && !dlg.ChangeLightness(5) && !dlg.Reset());
        dlg.show();
        dlg.OnClickOKButton();
        QVERIFY(!dlg.isVisible());
    }

    void EverythingHasItsPlace_data() {
        QTest::addColumn<QString>("text");
        QTest::addColumn<int>("page");
        QTest::addColumn<QRect>("place");
        const auto row = [](int nPage, const char* pText, const QRect& rc) {
            QTest::addRow("%d %s", nPage, pText) << QString(pText) << nPage << rc;
        };
        row(1, "Option", {0, 15, 331, 25});
        row(1, "Check High Quality DisPlay", {10, 50, 241, 15});
        row(1, "Deflash", {10, 70, 241, 15});
        row(1, "Play Optimization", {0, 92, 331, 25});
        row(1, "Efficiency Priority", {10, 130, 151, 16});
        row(1, "Effect Priority", {170, 130, 121, 16});
        row(1, "Throw B-Frame", {0, 169, 331, 25});
        row(1, "Don't Throw", {10, 210, 110, 16});
        row(1, "Throw 1", {130, 210, 89, 16});
        row(1, "Throw 2", {230, 210, 89, 16});
        row(1, "Player Timer", {0, 246, 331, 25});
        row(1, "High Precision", {10, 290, 131, 16});
        row(1, "Low Precision", {150, 290, 121, 16});
        row(2, "#m_pKey", {0, 15, 331, 25});
        row(2, "#m_pKeyTable", {10, 60, 311, 231});
        row(3, "#m_pVideoLocate1", {0, 15, 331, 25});
        row(3, "#m_pTimeLocate1", {30, 70, 101, 16});
        row(3, "#m_pTimeLine", {60, 100, 81, 20});
        row(3, "#m_pTimeButton", {160, 100, 61, 23});
        row(3, "#m_pFrameLocate1", {30, 150, 101, 16});
        row(3, "#m_pFrameLine", {60, 180, 81, 20});
        row(3, "#m_pFrameButton", {160, 180, 61, 23});
        row(4, "#m_pPlaySpeed1", {0, 15, 331, 25});
        row(4, "#m_pInc1", {20, 70, 130, 16});
        row(4, "#m_pDe1", {150, 70, 140, 16});
        row(4, "#m_pSpeedSlider", {10, 120, 301, 21});
        row(4, "#m_pSpeed1", {13, 150, 0, 0}); // only the place is given
        row(4, "#m_pSpeed2", {77, 150, 0, 0});
        row(4, "#m_pSpeed4", {154, 150, 0, 0});
        row(4, "#m_pSpeed8", {220, 150, 0, 0});
        row(4, "#m_pSpeed16", {280, 150, 0, 0});
        row(5, "Image Control", {0, 15, 331, 25});
        row(5, "Normal Resolution", {20, 70, 160, 16});
        row(5, "Low Resolution", {180, 70, 150, 16});
        row(6, "#m_pLocorad1", {0, 15, 331, 25});
        row(6, "Lightness", {30, 70, 81, 16});
        row(6, "#m_pLightSlider1", {30, 100, 271, 16});
        row(6, "Hue", {30, 130, 81, 16});
        row(6, "#m_pHueSlider", {30, 150, 271, 16});
        row(6, "Constrast", {30, 180, 81, 16});
        row(6, "#m_pConstrastSlider", {30, 200, 271, 16});
        row(6, "Chromaticity", {30, 230, 91, 16});
        row(6, "#m_pChroSlider1", {30, 250, 271, 16});
        row(6, "#m_pResetButton", {220, 280, 61, 23});
        for (const int nPage : {7, 8}) {
            row(nPage, nPage == 7 ? "Cappic" : "Continue Cappic", {0, 15, 331, 25});
            row(nPage, "Save Path:", {10, 70, 0, 0});
            row(nPage, nPage == 7 ? "#m_pCapPathLine" : "#m_pConCapPathLine", {80, 70, 190, 20});
            row(nPage, "Browse", {270, 70, 60, 21});
            row(nPage, "Save Type:", {10, 110, 0, 0});
            row(nPage, nPage == 7 ? "#m_pCapTypeCombo" : "#m_pConCapTypeCombo", {80, 110, 69, 22});
        }
    }
    // By its text or, after a #, by its name: there, and of all its kind on that page only it.
    void EverythingHasItsPlace() {
        QFETCH(QString, text);
        QFETCH(int, page);
        QFETCH(QRect, place);
        CNotingWindow window;
        CPlayerSetting dlg(&window);
        dlg.OnClickStaticText(page);
        const auto* pRight = Named<QWidget>(dlg, "groupBox_2");
        const QWidget* pFound = nullptr;
        for (const QWidget* pWidget : pRight->findChildren<QWidget*>(Qt::FindDirectChildrenOnly)) {
            if (!pWidget->isVisibleTo(pRight)) continue;
            const auto* pLabel = qobject_cast<const QLabel*>(pWidget);
            const auto* pButton = qobject_cast<const QAbstractButton*>(pWidget);
            const QString strText = pLabel != nullptr    ? pLabel->text()
                                    : pButton != nullptr ? pButton->text()
                                                         : "";
            if (strText == text || '#' + pWidget->objectName() == text) {
                QVERIFY(pFound == nullptr);
                pFound = pWidget;
            }
        }
        QVERIFY(pFound != nullptr);
        if (place.isEmpty()) {
            QCOMPARE(pFound->pos(), place.topLeft());
        } else {
            QCOMPARE(pFound->geometry(), place);
        }
        if (const auto* pHeader = qobject_cast<const CStaticText*>(pFound)) {
            QCOMPARE(pHeader->styleSheet(),
                     QString("color: rgb(38, 67, 255);\nbackground-color: rgb(199, 212, 255);"));
            QCOMPARE(pHeader->alignment(), Qt::AlignHCenter | Qt::AlignVCenter);
        }
    }

    void TheSlidersHaveTheirRanges() {
        const CPlayerSetting dlg(nullptr);
        for (const char* pName :
             {"m_pLightSlider1", "m_pHueSlider", "m_pConstrastSlider", "m_pChroSlider1"}) {
            const auto* pSlider = Named<CSetingSlider>(dlg, pName);
            QCOMPARE(pSlider->orientation(), Qt::Horizontal);
            QCOMPARE(pSlider->minimum(), 0);
            QCOMPARE(pSlider->maximum(), 128);
            QCOMPARE(pSlider->value(), 64);
        }
        const auto* pSpeed = Named<CSetingSlider>(dlg, "m_pSpeedSlider");
        QCOMPARE(pSpeed->orientation(), Qt::Horizontal);
        QCOMPARE(pSpeed->minimum(), 0);
        QCOMPARE(pSpeed->maximum(), 4);
        QCOMPARE(pSpeed->singleStep(), 1);
        QCOMPARE(pSpeed->pageStep(), 1);
        QCOMPARE(pSpeed->value(), 0);
    }

    void EachGroupOfRadioButtonsIsOneChoice() {
        const CPlayerSetting dlg(nullptr);
        QStringList lstGroups;
        for (const QButtonGroup* pGroup : dlg.findChildren<QButtonGroup*>()) {
            QVERIFY(pGroup->exclusive());
            QStringList lstButtons;
            for (const QAbstractButton* pButton : pGroup->buttons())
                lstButtons.append(pButton->text());
            lstGroups.append(lstButtons.join(", "));
        }
        lstGroups.sort();
        QCOMPARE(lstGroups,
                 QStringList({"Don't Throw, Throw 1, Throw 2", "Efficiency Priority, Effect Priority",
                              "High Precision, Low Precision", "Increase Speed, Decrease Speed",
                              "Normal Resolution, Low Resolution"}));
        QVERIFY(ButtonOf(dlg, "Increase Speed")->isChecked());
    }

    void TheFileTypesAreBmpAndJpeg() {
        const CPlayerSetting dlg(nullptr);
        for (const char* pName : {"m_pCapTypeCombo", "m_pConCapTypeCombo"}) {
            const auto* pCombo = Named<QComboBox>(dlg, pName);
            QCOMPARE(pCombo->count(), 2);
            QCOMPARE(pCombo->itemText(0), QString("BMP"));
            QCOMPARE(pCombo->itemText(1), QString("JPEG"));
        }
    }
};

QTEST_MAIN(TestPlayerSettingCalls)
#include "test_PlayerSettingCalls.moc"

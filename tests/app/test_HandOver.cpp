// What the window hands to the facade before each play, in its order: the facade only stores it, so that no
// call of the library tells.
#include "tests/app/DlgTest.h"
#include "widgets/SoundSlider.h"
#include "widgets/VideoWidget.h"

#include <QTest>

namespace {

QStringList g_lstCalls;

} // namespace

// The linker sends the window's calls of a function here, and ours to the real one.
#define NOTED(name, mangled, type)                                                                           \
    bool Real##name(COperate* pOperate, type value) __asm__("__real__ZN8COperate" mangled);                  \
    bool Noted##name(COperate* pOperate, type value) __asm__("__wrap__ZN8COperate" mangled);                 \
    bool Noted##name(COperate* pOperate, type value) {                                                       \
        g_lstCalls.append(QString("%1(%2)").arg(#name).arg(value));                                          \
        return Real##name(pOperate, value);                                                                  \
    }

NOTED(SetPlayHwnd, "11SetPlayHwndEj", unsigned int)
NOTED(SetDeflashValue, "15SetDeflashValueEb", bool)
NOTED(SetDeinterlaceValue, "19SetDeinterlaceValueEi", int)
NOTED(SetDisplayTypeValue, "19SetDisplayTypeValueEi", int)
NOTED(SetHighQualityValue, "19SetHighQualityValueEb", bool)
NOTED(SetPlayerTimerValue, "19SetPlayerTimerValueEi", int)
NOTED(SetThrowBNumValue, "17SetThrowBNumValueEi", int)
NOTED(SetSoundValue, "13SetSoundValueEb", bool)
NOTED(SetSpeedValue, "13SetSpeedValueEi", int)
NOTED(SetVolumeValue, "14SetVolumeValueEm", unsigned long)
NOTED(SetBackPlayValue, "16SetBackPlayValueEb", bool)

class TestHandOver : public QObject {
    Q_OBJECT

  private slots:
    void EverySettingIsHandedOverInItsOrder() {
        CDlgTest test;
        CTalvioDlg& window = test.Dlg();
        test.Play();
        window.SetDeflash(false);
        window.SetDeinterlaceType(1);
        window.SetDisplayType(2);
        window.SetHighQuality(true);
        window.SetPlayerTimer(3);
        window.SetThrowBNum(4);
        window.SetSpeed(-2);
        g_lstCalls.clear();
        window.SetPara();
        QCOMPARE(g_lstCalls,
                 QStringList({QString("SetPlayHwnd(%1)").arg(test.Find<CViewWidget>()->winId()),
                              "SetDeflashValue(0)", "SetDeinterlaceValue(1)", "SetDisplayTypeValue(2)",
                              "SetHighQualityValue(1)", "SetPlayerTimerValue(3)", "SetThrowBNumValue(4)",
                              "SetSoundValue(1)", "SetSpeedValue(-2)", "SetVolumeValue(65535)",
                              "SetBackPlayValue(0)"}));
    }

    void MutedAndQuieterIsHandedOverToo() {
        CDlgTest test;
        test.Play();
        test.Find<CSoundSlider>()->setValue(1234);
        test.Dlg().Sound();
        QVERIFY(!test.Dlg().GetSoundStatus());
        g_lstCalls.clear();
        test.Dlg().SetPara();
        QVERIFY2(g_lstCalls.contains("SetSoundValue(0)"), qPrintable(g_lstCalls.join(' ')));
        QVERIFY2(g_lstCalls.contains("SetVolumeValue(1234)"), qPrintable(g_lstCalls.join(' ')));
    }
};

QTEST_MAIN(TestHandOver)
#include "test_HandOver.moc"

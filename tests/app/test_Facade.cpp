// What the window hands to the facade and asks of it, and the window that could not make one.
#include "dialogs/FileInfoDlg.h"
#include "tests/app/DlgTest.h"
#include "tests/settings/SettingsTest.h"
#include "widgets/ControlsBarWidget.h"
#include "widgets/SkinButton.h"
#include "widgets/VideoWidget.h"

#include <QAction>
#include <QApplication>
#include <QDropEvent>
#include <QMenu>
#include <QMetaMethod>
#include <QMimeData>
#include <QTest>
#include <QUrl>

#include <new>
#include <string>
#include <utility>
#include <vector>

namespace {

// The times that the facade tells next, in seconds; its own ones when there are none.
std::vector<unsigned long> g_vecTimes;
// The deinterlace types that it was handed; no call of the library tells of them.
std::vector<int> g_vecDeinterlace;
// What the facade was told when a file was opened and no call of the library tells of: each with the
// library's call before it.
std::vector<std::string> g_vecRegistered;
// No facade can be made.
bool g_bNoFacade = false;

void NoteRegistered(const char* pWhat, unsigned long nUser) {
    g_vecRegistered.push_back(std::string(pWhat) + ' ' +
                              DravoFake::Address(reinterpret_cast<const void*>(nUser)) + " after " +
                              DravoFake::Get().Calls().back());
}

} // namespace

// The linker sends the window's calls of these functions here, and ours to the real ones.
unsigned long RealGetFileTime(COperate* pOperate) __asm__("__real__ZN8COperate11GetFileTimeEv");
unsigned long WrappedGetFileTime(COperate* pOperate) __asm__("__wrap__ZN8COperate11GetFileTimeEv");
unsigned long WrappedGetFileTime(COperate* pOperate) {
    if (g_vecTimes.empty()) return RealGetFileTime(pOperate);
    const unsigned long nTime = g_vecTimes.front();
    g_vecTimes.erase(g_vecTimes.begin());
    return nTime;
}

bool RealSetDeinterlace(COperate* pOperate, int nType) __asm__("__real__ZN8COperate19SetDeinterlaceValueEi");
bool WrappedSetDeinterlace(COperate* pOperate,
                           int nType) __asm__("__wrap__ZN8COperate19SetDeinterlaceValueEi");
bool WrappedSetDeinterlace(COperate* pOperate, int nType) {
    g_vecDeinterlace.push_back(nType);
    return RealSetDeinterlace(pOperate, nType);
}

bool RealSetWatermark(COperate* pOperate,
                      unsigned long nUser) __asm__("__real__ZN8COperate20SetWatermarkCallBackEm");
bool WrappedSetWatermark(COperate* pOperate,
                         unsigned long nUser) __asm__("__wrap__ZN8COperate20SetWatermarkCallBackEm");
bool WrappedSetWatermark(COperate* pOperate, unsigned long nUser) {
    NoteRegistered("watermark", nUser);
    return RealSetWatermark(pOperate, nUser);
}

bool RealRegisterDraw(COperate* pOperate,
                      unsigned long nUser) __asm__("__real__ZN8COperate15RegisterDrawFunEm");
bool WrappedRegisterDraw(COperate* pOperate,
                         unsigned long nUser) __asm__("__wrap__ZN8COperate15RegisterDrawFunEm");
bool WrappedRegisterDraw(COperate* pOperate, unsigned long nUser) {
    NoteRegistered("draw", nUser);
    return RealRegisterDraw(pOperate, nUser);
}

void* operator new(std::size_t nSize, const std::nothrow_t&) noexcept {
    if (g_bNoFacade && nSize == sizeof(COperate)) return nullptr;
    try {
        return ::operator new(nSize);
    } catch (...) {
        return nullptr;
    }
}

class TestFacade : public QObject {
    Q_OBJECT

  private slots:
    void cleanup() {
        g_vecTimes.clear();
        g_vecDeinterlace.clear();
        g_vecRegistered.clear();
        g_bNoFacade = false;
    }

    void ChoicesOfOkReachTheOpenFile() {
        CDlgTest test;
        test.PlayInto(1);
        const auto choose = [&test](const std::vector<const char*>& vecChoices) {
            CPlayerSetting dlg(&test.Dlg());
            for (const char* pChoice : vecChoices)
                ButtonOf(dlg, pChoice)->click();
            if (!dlg.OnClickOKButton()) qFatal("OK was refused");
            return test.Commands();
        };
        // One after the other leaves its start value.
        QCOMPARE(choose({"Low Precision"}),
                 QStringList({"Dravo_SetTimerType(2, 2, 0)", "Dravo_SetDeflash(2, 1)",
                              "Dravo_SetDisplayType(2, 1)", "Dravo_SetPicQuality(2, 1)"}));
        QCOMPARE(choose({"Deflash"}),
                 QStringList({"Dravo_SetTimerType(2, 2, 0)", "Dravo_SetDeflash(2, 0)",
                              "Dravo_SetDisplayType(2, 1)", "Dravo_SetPicQuality(2, 1)"}));
        QCOMPARE(choose({"Low Resolution", "Check High Quality DisPlay"}),
                 QStringList({"Dravo_SetTimerType(2, 2, 0)", "Dravo_SetDeflash(2, 0)",
                              "Dravo_SetDisplayType(2, 2)", "Dravo_SetPicQuality(2, 0)"}));
        g_vecDeinterlace.clear();
        choose({"Effect Priority"});
        choose({"Efficiency Priority"});
        QCOMPARE(g_vecDeinterlace, std::vector<int>({1, 0}));
    }

    void ChoicesMadeBeforeReachTheFileThatIsOpened() {
        CDlgTest test;
        CTalvioDlg& window = test.Dlg();
        window.SetHighQuality(false);
        window.SetDeflash(false);
        window.SetDeinterlaceType(1);
        window.SetPlayerTimer(2);
        window.SetDisplayType(2);
        window.SetThrowBNum(2);
        // Left over from elsewhere: a file is always opened at its start, to play forwards.
        test.Fake().SetResult("Dravo_GetFileTotalFrames", 250);
        QVERIFY(window.GetOperate()->SetBackPlayValue(true));
        QVERIFY(window.OpenItemFile(QStringLiteral("/rec/a.mp4")));
        const QStringList lstCommands = test.Commands();
        QCOMPARE(lstCommands.mid(lstCommands.indexOf("Dravo_OpenFile(2, \"/rec/a.mp4\")")),
                 QStringList({"Dravo_OpenFile(2, \"/rec/a.mp4\")",
                              QString("Dravo_Play(2, %1)").arg(test.Find<CViewWidget>()->winId()),
                              "Dravo_RefreshPlay(2)", "Dravo_PlaySound(2)", "Dravo_SetVolume(2, 65535)",
                              "Dravo_SetTimerType(2, 2, 0)", "Dravo_SetDeflash(2, 0)",
                              "Dravo_SetDisplayType(2, 2)", "Dravo_SetPicQuality(2, 0)",
                              "Dravo_ThrowBFrameNum(2, 2)"}));
        QCOMPARE(g_vecDeinterlace, std::vector<int>({1}));
    }

    void OpeningRegistersInItsOrder() {
        CDlgTest test;
        const std::string strWindow = DravoFake::Address(static_cast<CPlayEvents*>(&test.Dlg()));
        const std::string strFacade = DravoFake::Address(test.Dlg().GetOperate());
        QVERIFY(test.Dlg().OpenItemFile(QStringLiteral("/rec/a.mp4")));
        QCOMPARE(
            g_vecRegistered,
            std::vector<std::string>(
                {"watermark " + strFacade + " after Dravo_SetFileRefCallBack(2, callback, " + strFacade + ")",
                 "draw " + strWindow + " after Dravo_SetDisplayCallBack(2, callback)"}));
    }

    void EachFieldOfTheFilesTimeIsAskedFor() {
        CDlgTest test;
        g_vecTimes = {5 * 3600 + 59 * 60 + 59, 8 * 3600 + 7 * 60 + 59, 8 * 3600 + 58 * 60 + 9, 1};
        QString strTime;
        QVERIFY(test.Dlg().GetFileTime(&strTime));
        QCOMPARE(strTime, QString("05:07:09"));
        QCOMPARE(g_vecTimes, std::vector<unsigned long>({1})); // and no more often
    }

    void WithoutAFacadeTheWindowKnowsNothingOfAFile() {
        g_bNoFacade = true;
        CDlgTest test;
        CTalvioDlg& window = test.Dlg();
        QVERIFY(window.GetOperate() == nullptr);
        QString strText = "untouched";
        QVERIFY(!window.GetResolution(&strText) && !window.GetFrameRate(&strText) &&
                !window.GetFileTime(&strText) && !window.GetFileSize(&strText));
        QCOMPARE(strText, QString("untouched"));
        const CFileInfoDlg dlg(&window);
        QCOMPARE(dlg.findChild<QLabel*>("label_5")->text(), QString()); // resolution
        QCOMPARE(dlg.findChild<QLabel*>("label_7")->text(), QString()); // time
        QCOMPARE(dlg.findChild<QLabel*>("label_9")->text(), QString("25"));
        window.SetToolTipInfo();
        window.SetPara();
        QVERIFY(!window.ChangeLanguage());
        QCOMPARE(test.Commands(), QStringList());
    }

    void WithoutAFacadeNothingIsChosenJudgedOrDropped() {
        g_bNoFacade = true;
        CDlgTest test;
        CTalvioDlg& window = test.Dlg();
        const CModalAnswer answer([](QDialog* pDialog) { pDialog->reject(); });
        QString strPath = "untouched";
        QVERIFY(!window.BrowseFile(&strPath));
        QVERIFY(!window.AddFile());
        QVERIFY(window.OpenFile()); // the timer exists
        QCOMPARE(answer.Count(), 0);
        QCOMPARE(strPath, QString("untouched"));
        QVERIFY(!window.JudgeFileType("/rec/a.mp4"));
        QVERIFY(!window.OpenItemFile("/rec/a.mp4"));
        QMimeData data;
        data.setUrls({QUrl::fromLocalFile("/rec/a.mp4")});
        for (const Qt::DropAction action : {Qt::CopyAction, Qt::MoveAction}) {
            QDropEvent event(QPointF(300, 20), action, &data, Qt::LeftButton, Qt::NoModifier);
            window.HandleDrop(&event);
        }
        QCOMPARE(window.GetCurFileName(), QString());
        // What is switched first is switched all the same.
        QVERIFY(window.GetSoundStatus());
        QVERIFY(!window.Sound());
        QVERIFY(!window.GetSoundStatus());
        QCOMPARE(test.Commands(), QStringList());
    }

    void EveryCommandIsHarmlessWithNothingOpen_data() {
        QTest::addColumn<bool>("facade");
        QTest::addColumn<bool>("closed");
        QTest::newRow("without a facade") << false << false;
        QTest::newRow("before a file") << true << false;
        QTest::newRow("after a file") << true << true;
    }
    void EveryCommandIsHarmlessWithNothingOpen() {
        QFETCH(bool, facade);
        QFETCH(bool, closed);
        g_bNoFacade = !facade;
        CDlgTest test;
        test.Dlg().show();
        if (closed) {
            test.Play();
            test.Dlg().ConCap();
            QVERIFY(test.Dlg().CloseFile());
        }
        // What Open() finds: no file yet, and one that is gone.
        const QString strCurrent = closed ? "/rec/a.mp4" : "";
        test.Fake().RefuseFile(strCurrent.toStdString());
        test.Fake().TakeCalls();
        const CModalAnswer answer([](QDialog* pDialog) { pDialog->reject(); });
        const QStringList lstDone = CallEverySlot(test.Dlg());
        for (int nRound = 0; nRound < 2; ++nRound)
            UseEveryWay(test);
        for (const QString& strCall : test.Commands())
            QCOMPARE(strCall, "Dravo_OpenFile(1, \"" + strCurrent + "\")");
        if (facade) QCOMPARE(test.State(), 0);

        // What needs neither a file nor a facade, and what needs no file; what names no action is refused.
        QStringList lstExpected = {"ConCap",        "DisPlaySettingDlg",    "DisplayFileInfo",
                                   "Exit",          "OnClickOneZoomButton", "OnClickTwoZoomButton",
                                   "OpenFile",      "ShowAboutDlg",         "ShowColorDlg",
                                   "ShowHotKeyDlg", "ShowImageDlg",         "ShowLocateDlg"};
        if (facade) {
            lstExpected += {"ChangeLanguage",  "ClearFile",      "CloseFileList",
                            "DeleteFile",      "IsViewPlaylist", "OnClickTopDiaPlayButton",
                            "SetVolumeSlider", "ShowSelectMode", "ShowToolBoxMenu",
                            "ShowTopMenu",     "Sound",          "SoundDown",
                            "SoundUp",         "showContextMenu"};
        }
        lstExpected.sort();
        for (const QString& strSlot : lstDone + lstExpected)
            QCOMPARE(strSlot + QString::number(lstDone.count(strSlot)),
                     strSlot + QString::number(lstExpected.count(strSlot)));
    }

    void WithoutItsButtonTheLanguageStays() {
        CDlgTest test;
        auto* pBar = test.Find<CControlsBarWidget>();
        CSkinButton* pButton = std::exchange(pBar->m_pLanguageBtn, nullptr);
        QVERIFY(!test.Dlg().ChangeLanguage());
        QVERIFY(!test.Dlg().SwitchLanguage(test.Action("Chinese")));
        QVERIFY(test.Action("English")->isChecked());
        QCOMPARE(test.LeftText(), QString("Ready"));
        pBar->m_pLanguageBtn = pButton;
        QVERIFY(test.Dlg().SwitchLanguage(test.Action("Chinese")));
    }

  private:
    // Calls each slot of the window, with arguments that name nothing; the names of those that answer true.
    static QStringList CallEverySlot(CTalvioDlg& dlg) {
        QStringList lstDone;
        const QMetaObject& meta = CTalvioDlg::staticMetaObject;
        for (int nMethod = meta.methodOffset(); nMethod < meta.methodCount(); ++nMethod) {
            const QMetaMethod slot = meta.method(nMethod);
            if (slot.methodType() != QMetaMethod::Slot) continue;
            QAction* pAction = nullptr;
            const QPoint pos;
            const int nValue = 100;
            const QString strPath;
            bool bDone = false;
            const QByteArray type = slot.parameterCount() > 0 ? slot.parameterTypes().at(0) : QByteArray();
            QGenericArgument argument;
            if (type == "QAction*") argument = Q_ARG(QAction*, pAction);
            if (type == "QPoint") argument = Q_ARG(QPoint, pos);
            if (type == "int") argument = Q_ARG(int, nValue);
            if (type == "QString") argument = Q_ARG(QString, strPath);
            const bool bAnswers = slot.returnType() == QMetaType::Bool;
            const bool bCalled = bAnswers ? slot.invoke(&dlg, Q_RETURN_ARG(bool, bDone), argument)
                                          : slot.invoke(&dlg, argument);
            if (!bCalled) qFatal("not called: %s", slot.methodSignature().constData());
            if (bDone) lstDone.append(QString::fromLatin1(slot.name()));
            if (auto* pPopup = QApplication::activePopupWidget()) pPopup->close();
        }
        lstDone.sort();
        return lstDone;
    }

    // Opens each menu, triggers each action, types each key, and sends what the toolkit and the library send.
    static void UseEveryWay(CDlgTest& test) {
        CTalvioDlg& dlg = test.Dlg();
        dlg.show();
        for (QMenu* pMenu : dlg.findChildren<QMenu*>()) {
            pMenu->popup(QPoint(10, 10));
            pMenu->close();
        }
        for (QAction* pAction : dlg.findChildren<QAction*>())
            pAction->trigger();
        for (const Qt::Key key : {Qt::Key_Escape, Qt::Key_Up, Qt::Key_Right, Qt::Key_Down, Qt::Key_C,
                                  Qt::Key_O, Qt::Key_S, Qt::Key_Left, Qt::Key_Space, Qt::Key_F1}) {
            QTest::keyClick(&dlg, key);
            QTest::keyClick(&dlg, key, Qt::ControlModifier);
        }
        dlg.SendMsg(100);
        dlg.SendMsg(101);
        dlg.SendMsg(102);
        dlg.ConCapPic();
        dlg.resize(600, 400);
        QTest::mouseClick(&dlg, Qt::LeftButton, Qt::NoModifier, QPoint(598, 398));
        QCoreApplication::processEvents();
    }
};

QTEST_MAIN(TestFacade)
#include "test_Facade.moc"

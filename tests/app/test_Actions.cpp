// The ways to the commands: actions, menus, shortcuts, direct keys, connections.
#include "dialogs/HelpDlg.h"
#include "playlist/ListBox.h"
#include "playlist/ListTitleBarWidget.h"
#include "tests/app/DlgTest.h"
#include "widgets/ControlsBarWidget.h"
#include "widgets/FloatDlg.h"
#include "widgets/PlayerTitle.h"
#include "widgets/SkinButton.h"
#include "widgets/SoundSlider.h"
#include "widgets/StaticTitle.h"

#include <QAction>
#include <QActionGroup>
#include <QApplication>
#include <QDir>
#include <QIcon>
#include <QKeyEvent>
#include <QLineEdit>
#include <QMenu>
#include <QTest>

class CActionsTest : public QObject {
    Q_OBJECT

  private slots:
    void init() { m_pTest = std::make_unique<CDlgTest>(); }
    void cleanup() { m_pTest.reset(); }

    void TheMainMenuHoldsItsEntriesInOrder();
    void TheContextMenuHoldsItsEntriesInOrder();
    void ThePlaylistMenuAndTheToolBoxMenuHoldTheirEntries();
    void BothMenusShareTheirActionsButNotTheirSubmenus();
    void NoMenuOffersOnlyPlaying();
    void ExactlyTheseActionsAreCheckable();
    void TheGroupsAreExclusive();
    void TheActionsShowTheirShortcuts();
    void TheCaptureActionsShowTheirIcons();
    void AShortcutKeyByNameIsEmpty();
    void ThePopupSlotsOpenTheirMenus();

    void AKeyDoesItsCommandOnce_data();
    void AKeyDoesItsCommandOnce();
    void EveryOtherKeyIsSwallowed();
    void EscapeLeavesFullScreenOnly();
    void KeysReachTheWindowWhateverWasClicked();
    void AHeldKeyRepeatsAndDoesNotRunOnAfterItsRelease();
    void AnotherKeyTakesTheWaitingRepeatBack();

    // The 28 actions that have a command of their own, each by what its command does.
    void EachPlayActionReachesItsCommand_data();
    void EachPlayActionReachesItsCommand();
    void EachDialogActionShowsItsDialog_data();
    void EachDialogActionShowsItsDialog();
    void TheFileActionsOpenOrOnlyListWhatIsChosen();
    void TheAboutActionShowsTheAboutDialog();
    void TheListActionsMoveAndRemoveTheHighlightedEntry();
    void TheViewActionsSizeTheWindowAndFillTheScreen();
    void TheContinuousCaptureActionSwitchesItOnAndOff();
    void TheExitActionClosesTheWindow();
    void TheTitleBarsCloseButtonExitsWhereverItIsReleased();
    void TheListTitleBarsButtonsReachTheirCommands();
    void TheFloatingPanelsButtonsReachTheirCommands();

  private:
    // One key typed at the window, as the X server would deliver it.
    void Press(int nKey, Qt::KeyboardModifiers modifiers = Qt::NoModifier, bool bRepeat = false) {
        QKeyEvent event(QEvent::KeyPress, nKey, modifiers, QString(), bRepeat);
        QCoreApplication::sendEvent(&m_pTest->Dlg(), &event);
    }
    void Release(int nKey, bool bRepeat = false) {
        QKeyEvent event(QEvent::KeyRelease, nKey, Qt::NoModifier, QString(), bRepeat);
        QCoreApplication::sendEvent(&m_pTest->Dlg(), &event);
    }

    std::unique_ptr<CDlgTest> m_pTest;
};

void CActionsTest::TheMainMenuHoldsItsEntriesInOrder() {
    QCOMPARE(CDlgTest::Entries(m_pTest->Menus().at(1)),
             QStringLiteral(
                 "File [Open File, -, File Information, -, Close File, -, Exit], "
                 "Play [Play/Pause, Stop, -, Top Display [Always, Never], "
                 "Play Control [Locate, Frame Forward, Frame Backward, Speed Up, Speed Down], "
                 "Play Mode [Single Play, Playlist Play, Single Repeat, Playlist Repeat], "
                 "View [Full Screen, Normal Size, 2 Times Size, -, Image Control, Color Adjust], "
                 "Sound [Mute, Volume Up, Volume Down], -, Language [Chinese, -, English]], "
                 "-, Tools [Cappic, Continue Cappic], -, Setting [Play Settings], -, Help [About, HotKey]"));
}

void CActionsTest::TheContextMenuHoldsItsEntriesInOrder() {
    QCOMPARE(CDlgTest::Entries(m_pTest->Menus().at(0)),
             QStringLiteral(
                 "Play/Pause, Stop, -, Top Display [Always, Never], -, "
                 "Play Control [Locate, Frame Forward, Frame Backward, Speed Up, Speed Down], "
                 "Play Mode [Single Play, Playlist Play, Single Repeat, Playlist Repeat], "
                 "View [Full Screen, -, Image Control, Color Adjust], "
                 "Sound [Mute, Volume Up, Volume Down], -, Cappic, Continue Cappic, -, File Information, "
                 "-, Play Settings"));
}

void CActionsTest::ThePlaylistMenuAndTheToolBoxMenuHoldTheirEntries() {
    QCOMPARE(CDlgTest::Entries(m_pTest->Menus().at(2)),
             QStringLiteral("Add File, Remove File, -, Raise File, Down File, -, "
                            "Play Mode [Single Play, Playlist Play, Single Repeat, Playlist Repeat]"));
    QCOMPARE(CDlgTest::Entries(m_pTest->Menus().at(3)), QStringLiteral("Cappic, Continue Cappic"));
}

void CActionsTest::BothMenusShareTheirActionsButNotTheirSubmenus() {
    const auto controls = [&](int nMenu) {
        QList<QMenu*> lstMenus;
        for (QMenu* pMenu : m_pTest->Menus().at(nMenu)->findChildren<QMenu*>()) {
            if (pMenu->title() == "Play Control") lstMenus.append(pMenu);
        }
        return lstMenus;
    };
    const QList<QMenu*> lstContext = controls(0);
    const QList<QMenu*> lstMain = controls(1);
    QCOMPARE(lstContext.size(), 1);
    QCOMPARE(lstMain.size(), 1);
    QVERIFY(lstContext.first() != lstMain.first());
    QCOMPARE(lstContext.first()->actions(), lstMain.first()->actions());
}

void CActionsTest::NoMenuOffersOnlyPlaying() {
    QAction* pAction = m_pTest->Action(QStringLiteral("Only Playing"));
    QVERIFY(pAction->associatedObjects().isEmpty());
    QVERIFY(pAction->actionGroup() == nullptr);
    QVERIFY(!pAction->isCheckable());
}

void CActionsTest::ExactlyTheseActionsAreCheckable() {
    QStringList lstCheckable;
    int nMutes = 0;
    for (const QAction* pAction : m_pTest->Dlg().findChildren<QAction*>(Qt::FindDirectChildrenOnly)) {
        if (pAction->isCheckable()) lstCheckable.append(pAction->text());
        nMutes += pAction->text() == "Mute" ? 1 : 0;
    }
    lstCheckable.sort();
    QCOMPARE(lstCheckable, QStringList({"Always", "Chinese", "English", "Full Screen", "Mute", "Never",
                                        "Playlist Play", "Playlist Repeat", "Single Play", "Single Repeat"}));
    // The second is in no menu.
    QCOMPARE(nMutes, 2);
    QCOMPARE(m_pTest->Dlg().findChildren<QAction*>(Qt::FindDirectChildrenOnly).size(), 38);
}

void CActionsTest::TheGroupsAreExclusive() {
    m_pTest->Action(QStringLiteral("Always"))->trigger();
    QVERIFY(!m_pTest->Action(QStringLiteral("Never"))->isChecked());
    m_pTest->Action(QStringLiteral("Single Repeat"))->trigger();
    QVERIFY(!m_pTest->Action(QStringLiteral("Single Play"))->isChecked());
    QActionGroup* pGroup = m_pTest->Action(QStringLiteral("Full Screen"))->actionGroup();
    QCOMPARE(pGroup->actions().size(), 1);
}

void CActionsTest::TheActionsShowTheirShortcuts() {
    const QList<std::pair<const char*, QKeySequence>> shortcuts = {
        {"Play/Pause", Qt::Key_Space},       {"Frame Forward", Qt::Key_Right},
        {"Frame Backward", Qt::Key_Left},    {"Volume Up", Qt::Key_Up},
        {"Volume Down", Qt::Key_Down},       {"Stop", Qt::CTRL | Qt::Key_S},
        {"Open File", Qt::CTRL | Qt::Key_O}, {"Close File", Qt::CTRL | Qt::Key_C}};
    for (const auto& [pText, sequence] : shortcuts)
        QCOMPARE(m_pTest->Action(pText)->shortcut(), sequence);
    QVERIFY(m_pTest->Action(QStringLiteral("Exit"))->shortcut().isEmpty());
}

void CActionsTest::TheCaptureActionsShowTheirIcons() {
    const auto hasIcon = [&](const char* pText, const char* pFile) {
        const QIcon expected(QStringLiteral(":/Resources/") + pFile);
        const QSize size = expected.availableSizes().value(0);
        const QIcon icon = m_pTest->Action(QString::fromLatin1(pText))->icon();
        return !size.isEmpty() && icon.pixmap(size).toImage() == expected.pixmap(size).toImage();
    };
    QVERIFY(hasIcon("Cappic", "cappic.bmp"));
    QVERIFY(hasIcon("Continue Cappic", "continuecappic.bmp"));
    QVERIFY(!hasIcon("Cappic", "continuecappic.bmp"));
}

void CActionsTest::AShortcutKeyByNameIsEmpty() {
    QVERIFY(m_pTest->Dlg().GetShortCutKey(QStringLiteral("Stop")).isEmpty());
}

void CActionsTest::ThePopupSlotsOpenTheirMenus() {
    CTalvioDlg& dlg = m_pTest->Dlg();
    dlg.show();
    const QList<QMenu*> lstMenus = m_pTest->Menus();
    QVERIFY(dlg.ShowTopMenu(QPoint(40, 50)));
    QVERIFY(lstMenus.at(1)->isVisible());
    QCOMPARE(lstMenus.at(1)->pos(), QPoint(40, 50));
    lstMenus.at(1)->close();
    QVERIFY(dlg.showContextMenu(QPoint(60, 70)));
    QCOMPARE(lstMenus.at(0)->pos(), QPoint(60, 70));
    lstMenus.at(0)->close();
    QVERIFY(dlg.ShowToolBoxMenu());
    QVERIFY(lstMenus.at(3)->isVisible());
    lstMenus.at(3)->close();
    QVERIFY(dlg.ShowSelectMode());
    auto* pPopup = qobject_cast<QMenu*>(QApplication::activePopupWidget());
    QVERIFY(pPopup != nullptr);
    QCOMPARE(pPopup->title(), QStringLiteral("Play Mode"));
    QCOMPARE(pPopup->parentWidget(), lstMenus.at(0));
    pPopup->close();
}

void CActionsTest::AKeyDoesItsCommandOnce_data() {
    QTest::addColumn<int>("key");
    QTest::addColumn<int>("modifier");
    QTest::addColumn<QString>("call");
    const auto row = [](const char* pName, Qt::Key key, Qt::KeyboardModifier modifier, const char* pCall) {
        QTest::newRow(pName) << int(key) << int(modifier) << QString(pCall);
    };
    row("Right", Qt::Key_Right, Qt::NoModifier, "Dravo_OneByOne(2)");
    row("Ctrl+Right", Qt::Key_Right, Qt::ControlModifier, "Dravo_SetCurrentFrameNum(2, 250)");
    row("keypad Right", Qt::Key_Right, Qt::KeypadModifier, "Dravo_SetCurrentFrameNum(2, 250)");
    row("Left", Qt::Key_Left, Qt::NoModifier, "Dravo_OneByOneBack(2)");
    row("Shift+Left", Qt::Key_Left, Qt::ShiftModifier, "Dravo_SetCurrentFrameNum(2, 0)");
    row("Up", Qt::Key_Up, Qt::NoModifier, "Dravo_SetVolume(2, 26553)");
    row("Down", Qt::Key_Down, Qt::NoModifier, "Dravo_SetVolume(2, 13447)");
    row("Ctrl+Up", Qt::Key_Up, Qt::ControlModifier, "Dravo_SetVolume(2, 26553)");
    row("Shift+Down", Qt::Key_Down, Qt::ShiftModifier, "Dravo_SetVolume(2, 13447)");
    row("Alt+Right", Qt::Key_Right, Qt::AltModifier, "Dravo_SetCurrentFrameNum(2, 250)");
    row("keypad Left", Qt::Key_Left, Qt::KeypadModifier, "Dravo_SetCurrentFrameNum(2, 0)");
    row("Shift+S", Qt::Key_S, Qt::ShiftModifier, "Dravo_Stop(2)");
    row("Meta+O", Qt::Key_O, Qt::MetaModifier, "chooser");
    row("Ctrl+C", Qt::Key_C, Qt::ControlModifier, "Dravo_CloseFile(2)");
    row("Alt+C", Qt::Key_C, Qt::AltModifier, "Dravo_CloseFile(2)");
    row("C", Qt::Key_C, Qt::NoModifier, "");
    row("Ctrl+S", Qt::Key_S, Qt::ControlModifier, "Dravo_Stop(2)");
    row("S", Qt::Key_S, Qt::NoModifier, "");
    row("O", Qt::Key_O, Qt::NoModifier, "");
    row("Ctrl+O", Qt::Key_O, Qt::ControlModifier, "chooser");
    row("Space", Qt::Key_Space, Qt::NoModifier, "Dravo_Pause(2, 1)");
    row("Ctrl+Space", Qt::Key_Space, Qt::ControlModifier, "Dravo_Pause(2, 1)");
}

void CActionsTest::AKeyDoesItsCommandOnce() {
    QFETCH(int, key);
    QFETCH(int, modifier);
    QFETCH(QString, call);
    m_pTest->Dlg().show();
    QVERIFY(QTest::qWaitForWindowActive(&m_pTest->Dlg()));
    m_pTest->Find<CSoundSlider>()->setValue(20000); // room on both sides
    m_pTest->Play();
    QStringList lstChoosers;
    const CModalAnswer answer([&](QDialog* pDialog) {
        lstChoosers.append(pDialog->windowTitle());
        pDialog->reject();
    });
    // By way of the toolkit's shortcuts too, as a real key goes.
    QTest::keyClick(m_pTest->Dlg().windowHandle(), Qt::Key(key), Qt::KeyboardModifiers(modifier));
    const QStringList lstCalls = m_pTest->Commands();
    const bool bChooser = call == "chooser";
    QCOMPARE(lstChoosers, bChooser ? QStringList({"Open File"}) : QStringList());
    if (call.isEmpty() || bChooser) {
        QVERIFY2(lstCalls.isEmpty(), qPrintable(lstCalls.join(", ")));
    } else {
        // The volume goes out twice: by the slider and by the command.
        QCOMPARE(lstCalls.count(call), call.startsWith("Dravo_SetVolume") ? 2 : 1);
    }
}

void CActionsTest::EveryOtherKeyIsSwallowed() {
    m_pTest->Dlg().show();
    for (const int nKey : {Qt::Key_Escape, Qt::Key_Return, Qt::Key_Enter, Qt::Key_Tab, Qt::Key_A})
        Press(nKey);
    QVERIFY(m_pTest->Dlg().isVisible());
    QVERIFY(m_pTest->Fake().Calls().empty());
}

void CActionsTest::EscapeLeavesFullScreenOnly() {
    m_pTest->Dlg().show();
    m_pTest->Play();
    QVERIFY(m_pTest->Dlg().FullScreen());
    Press(Qt::Key_Escape);
    QVERIFY(!m_pTest->Dlg().GetFullScreenStatus());
    Press(Qt::Key_Escape);
    QVERIFY(!m_pTest->Dlg().GetFullScreenStatus());
    QVERIFY(m_pTest->Dlg().isVisible());
}

void CActionsTest::KeysReachTheWindowWhateverWasClicked() {
    CTalvioDlg& dlg = m_pTest->Dlg();
    dlg.show();
    QVERIFY(QTest::qWaitForWindowActive(&dlg));
    m_pTest->Play();
    for (QWidget* pChild : dlg.findChildren<QWidget*>()) {
        if (pChild->isWindow() || !pChild->isVisible()) continue;
        QVERIFY2(!(pChild->focusPolicy() & Qt::ClickFocus), pChild->metaObject()->className());
    }
    QTest::mouseClick(m_pTest->Find<CListBox>()->viewport(), Qt::LeftButton);
    m_pTest->Fake().TakeCalls();
    QTest::keyClick(dlg.windowHandle(), Qt::Key_Space);
    QCOMPARE(m_pTest->Commands(), QStringList({"Dravo_Pause(2, 1)"}));
}

void CActionsTest::AHeldKeyRepeatsAndDoesNotRunOnAfterItsRelease() {
    m_pTest->Play();
    const auto steps = [&] { return m_pTest->Fake().CountCalls("Dravo_OneByOne("); };
    Press(Qt::Key_Right);
    QCOMPARE(steps(), 1);
    // A repeat acts when no more input is waiting.
    Press(Qt::Key_Right, Qt::NoModifier, true);
    QTRY_COMPARE(steps(), 2);
    // Repeats that piled up while a step took its time are one.
    for (int n = 0; n < 20; ++n) {
        Release(Qt::Key_Right, true);
        Press(Qt::Key_Right, Qt::NoModifier, true);
    }
    QTRY_COMPARE(steps(), 3);
    // The release takes back the one that waits.
    Press(Qt::Key_Right, Qt::NoModifier, true);
    Release(Qt::Key_Right);
    QTest::qWait(20);
    QCOMPARE(steps(), 3);
}

void CActionsTest::AnotherKeyTakesTheWaitingRepeatBack() {
    m_pTest->Play();
    Press(Qt::Key_Right);
    Press(Qt::Key_Right, Qt::NoModifier, true);
    Press(Qt::Key_Left);
    QTest::qWait(20);
    QCOMPARE(m_pTest->Fake().CountCalls("Dravo_OneByOne("), 1);
    QCOMPARE(m_pTest->Fake().CountCalls("Dravo_OneByOneBack("), 1);
}

void CActionsTest::EachPlayActionReachesItsCommand_data() {
    QTest::addColumn<QString>("action");
    QTest::addColumn<QString>("call");
    const auto row = [](const char* pAction, const char* pCall) {
        QTest::newRow(pAction) << pAction << pCall;
    };
    row("Close File", "Dravo_CloseFile(2)");
    row("Play/Pause", "Dravo_Pause(2, 1)");
    row("Stop", "Dravo_Stop(2)");
    row("Speed Up", "Dravo_Fast(2)");
    row("Speed Down", "Dravo_Slow(2)");
    row("Frame Forward", "Dravo_OneByOne(2)");
    row("Frame Backward", "Dravo_OneByOneBack(2)");
    row("Cappic", "Dravo_GetBMP(2");
    row("Mute", "Dravo_StopSound()");
    row("Volume Up", "Dravo_SetVolume(2, 26553)");
    row("Volume Down", "Dravo_SetVolume(2, 13447)");
}

void CActionsTest::EachPlayActionReachesItsCommand() {
    QFETCH(QString, action);
    QFETCH(QString, call);
    m_pTest->Fake().SetPictureSize(4, 4);
    m_pTest->Find<CSoundSlider>()->setValue(20000);
    m_pTest->Play();
    m_pTest->Action(action)->trigger();
    // The volume goes out twice: by the slider and by the command.
    QCOMPARE(m_pTest->Fake().CountCalls(call.toStdString()), call.startsWith("Dravo_SetVolume") ? 2 : 1);
}

void CActionsTest::EachDialogActionShowsItsDialog_data() {
    QTest::addColumn<QString>("action");
    QTest::addColumn<QString>("shown"); // class, and the page whose entry is marked
    const auto row = [](const char* pAction, const char* pShown) {
        QTest::newRow(pAction) << pAction << pShown;
    };
    row("File Information", "CFileInfoDlg ");
    row("Play Settings", "CPlayerSetting ");
    row("HotKey", "CPlayerSetting Hotkey/Mouse");
    row("Locate", "CPlayerSetting Video Locate");
    row("Image Control", "CPlayerSetting Image Control");
    row("Color Adjust", "CPlayerSetting Color Adjust");
    row("Open File", "QFileDialog ");
    row("Add File", "QFileDialog ");
}

void CActionsTest::EachDialogActionShowsItsDialog() {
    QFETCH(QString, action);
    QFETCH(QString, shown);
    m_pTest->Play();
    QStringList lstShown;
    const CModalAnswer answer([&](QDialog* pDialog) {
        QString strMarked;
        for (const CStaticText* pEntry : pDialog->findChildren<CStaticText*>()) {
            if (pEntry->styleSheet() == "background-color: rgb(60, 135, 255);") strMarked += pEntry->text();
        }
        lstShown.append(QLatin1String(pDialog->metaObject()->className()) + ' ' + strMarked);
        pDialog->reject();
    });
    m_pTest->Action(action)->trigger();
    QCOMPARE(lstShown, QStringList({shown}));
}

void CActionsTest::TheFileActionsOpenOrOnlyListWhatIsChosen() {
    m_pTest->WriteFile(QStringLiteral("1.mp4"), "x");
    m_pTest->WriteFile(QStringLiteral("2.mp4"), "x");
    QString strName = QStringLiteral("1.mp4");
    const CModalAnswer answer([&](QDialog* pDialog) {
        auto* pLine = pDialog->findChild<QLineEdit*>();
        if (pLine == nullptr) return;
        pLine->setText(strName);
        pDialog->accept();
    });
    m_pTest->Action(QStringLiteral("Add File"))->trigger();
    QCOMPARE(m_pTest->State(), 0);
    QCOMPARE(m_pTest->Playlist(), QStringList({m_pTest->File("1.mp4")}));
    strName = QStringLiteral("2.mp4");
    m_pTest->Action(QStringLiteral("Open File"))->trigger();
    QCOMPARE(m_pTest->State(), 1);
    QCOMPARE(m_pTest->Dlg().GetCurFileName(), strName);
    QCOMPARE(m_pTest->Playlist().size(), 2);
}

// It does not wait for its answer.
void CActionsTest::TheAboutActionShowsTheAboutDialog() {
    m_pTest->Action(QStringLiteral("About"))->trigger();
    auto* pAbout = m_pTest->Find<CHelpDlg>();
    QVERIFY(pAbout != nullptr);
    QVERIFY(pAbout->isVisible());
    pAbout->close();
}

void CActionsTest::TheListActionsMoveAndRemoveTheHighlightedEntry() {
    for (const char* pPath : {"/a", "/b", "/c"})
        m_pTest->Dlg().AddFile2List(QString::fromLatin1(pPath), false);
    auto* pList = m_pTest->Find<CListBox>();
    pList->setCurrentRow(1);
    m_pTest->Action(QStringLiteral("Raise File"))->trigger();
    QCOMPARE(m_pTest->Playlist(), QStringList({"/b", "/a", "/c"}));
    pList->setCurrentRow(0);
    m_pTest->Action(QStringLiteral("Down File"))->trigger();
    QCOMPARE(m_pTest->Playlist(), QStringList({"/a", "/b", "/c"}));
    pList->setCurrentRow(1);
    m_pTest->Action(QStringLiteral("Remove File"))->trigger();
    QCOMPARE(m_pTest->Playlist(), QStringList({"/a", "/c"}));
}

void CActionsTest::TheViewActionsSizeTheWindowAndFillTheScreen() {
    CTalvioDlg& dlg = m_pTest->Dlg();
    dlg.show();
    m_pTest->Fake().SetPictureSize(352, 288);
    m_pTest->Play();
    const QSize normal = dlg.size();
    m_pTest->Action(QStringLiteral("2 Times Size"))->trigger();
    QVERIFY(dlg.size().width() > normal.width());
    m_pTest->Action(QStringLiteral("Normal Size"))->trigger();
    QCOMPARE(dlg.size(), normal);
    m_pTest->Action(QStringLiteral("Full Screen"))->trigger();
    QVERIFY(dlg.GetFullScreenStatus());
    m_pTest->Action(QStringLiteral("Full Screen"))->trigger();
    QVERIFY(!dlg.GetFullScreenStatus());
}

void CActionsTest::TheContinuousCaptureActionSwitchesItOnAndOff() {
    m_pTest->Fake().SetPictureSize(4, 4);
    m_pTest->Play();
    const auto captured = [&] {
        m_pTest->Fake().FireDisplay(m_pTest->Fake().OpenPort());
        return m_pTest->FilesIn(QDir::currentPath(), QStringLiteral("picture-*")).size();
    };
    QCOMPARE(captured(), 0);
    m_pTest->Action(QStringLiteral("Continue Cappic"))->trigger();
    QCOMPARE(captured(), 1);
    m_pTest->Action(QStringLiteral("Continue Cappic"))->trigger();
    QCOMPARE(captured(), 1);
}

void CActionsTest::TheExitActionClosesTheWindow() {
    m_pTest->Dlg().show();
    m_pTest->Action(QStringLiteral("Exit"))->trigger();
    QVERIFY(!m_pTest->Dlg().isVisible());
}

void CActionsTest::TheTitleBarsCloseButtonExitsWhereverItIsReleased() {
    m_pTest->Dlg().show();
    CSkinButton* pClose = m_pTest->Find<CPlayerTitle>()->m_pCloseBtn;
    QTest::mousePress(pClose, Qt::LeftButton);
    QVERIFY(m_pTest->Dlg().isVisible());
    QTest::mouseRelease(pClose, Qt::LeftButton, Qt::NoModifier, QPoint(-50, 80));
    QVERIFY(!m_pTest->Dlg().isVisible());
}

void CActionsTest::TheListTitleBarsButtonsReachTheirCommands() {
    CTalvioDlg& dlg = m_pTest->Dlg();
    dlg.show();
    dlg.AddFile2List(QStringLiteral("/a"), false);
    dlg.AddFile2List(QStringLiteral("/b"), false);
    const auto* pBar = m_pTest->Find<CListTitleBar>();
    m_pTest->Find<CListBox>()->clearSelection();
    m_pTest->Find<CListBox>()->item(1)->setSelected(true);
    pBar->m_pDeleteBtn->click();
    QCOMPARE(m_pTest->Playlist(), QStringList({"/a"}));
    pBar->m_pClearBtn->click();
    QVERIFY(m_pTest->Playlist().isEmpty());
    pBar->m_pModeBtn->click();
    auto* pPopup = qobject_cast<QMenu*>(QApplication::activePopupWidget());
    QVERIFY(pPopup != nullptr);
    QCOMPARE(pPopup->title(), QStringLiteral("Play Mode"));
    pPopup->close();
    pBar->m_pCloseBtn->click();
    QVERIFY(!pBar->isVisible());
    const CModalAnswer answer([](QDialog* pDialog) { pDialog->reject(); });
    pBar->m_pAddBtn->click();
    QCOMPARE(answer.Count(), 1);
}

void CActionsTest::TheFloatingPanelsButtonsReachTheirCommands() {
    CTalvioDlg& dlg = m_pTest->Dlg();
    dlg.show();
    m_pTest->Fake().SetPictureSize(352, 288);
    m_pTest->Play();
    const auto* pFloat = m_pTest->Find<CFloatDlg>();
    pFloat->m_pDoubleSizeBtn->click();
    const QSize large = dlg.size();
    QVERIFY(large != QSize(541, 409));
    pFloat->m_pNormalSizeBtn->click();
    QCOMPARE(dlg.size(), QSize(541, 409));
    pFloat->m_pFullScreenBtn->click();
    QVERIFY(dlg.GetFullScreenStatus());
}

QTEST_MAIN(CActionsTest)
#include "test_Actions.moc"

// The playlist: its entries, what clicks open, the panel, and the path helpers.
#include "playlist/ListBox.h"
#include "playlist/ListTitleBarWidget.h"
#include "tests/app/DlgTest.h"
#include "widgets/ControlsBarWidget.h"
#include "widgets/SkinButton.h"

#include <QAction>
#include <QMenu>
#include <QTest>

class CPlaylistTest : public QObject {
    Q_OBJECT

  private slots:
    void init() { m_pTest = std::make_unique<CDlgTest>(); }
    void cleanup() { m_pTest.reset(); }

    void AnEntryCarriesNamePathAndToolTip();
    void ALongNameBreaksItsToolTipAfter40Characters_data();
    void ALongNameBreaksItsToolTipAfter40Characters();
    void AMarkedEntryIsDarkRed();
    void TheSamePathIsListedOnce();
    void ARemovedPathCanBeListedAgain();
    void TenThousandFilesCanBeAdded();

    void ADoubleClickOpensTheEntry();
    void ADoubleClickOnARejectedFileDoesNothing();
    void TheMenuOpensAtAnEntryOnly();
    void TheMenuHoldsTheMainMenusOwnPlayModes();

    void TheFileNameIsWhatFollowsTheLastSlash();
    void TheFolderIsThePathWithoutTheName();
    void TheTypeIsTheLastThreeCharacters();
    void AFileIsJudgedByTheLibraryAlone();

    void ThePlaylistButtonTogglesThePanel();
    void TheCloseButtonHidesThePanelAndTheToggleBringsItBack();
    void ToggleWithAVisibleListOnlyRefreshes();

  private:
    CListBox* List() { return m_pTest->Find<CListBox>(); }

    std::unique_ptr<CDlgTest> m_pTest;
};

void CPlaylistTest::AnEntryCarriesNamePathAndToolTip() {
    QVERIFY(m_pTest->Dlg().AddFile2List(QStringLiteral("/rec/录像.mp4"), false));
    const QListWidgetItem* pItem = List()->item(0);
    QCOMPARE(pItem->text(), QStringLiteral("录像.mp4"));
    QCOMPARE(pItem->statusTip(), QStringLiteral("/rec/录像.mp4"));
    QCOMPARE(pItem->toolTip(),
             QStringLiteral("<p align=\"left\" style=\" margin-top:0px; margin-bottom:0px; margin-left:0px; "
                            "margin-right:0px; -qt-block-indent:0; text-indent:0px;\"><span style=\" "
                            "color:#000000;\">录像.mp4</span></p>"));
    QVERIFY(m_pTest->MarkedRows().isEmpty());
    // Without a slash the whole path is the name.
    m_pTest->Dlg().AddFile2List(QStringLiteral("plain"), false);
    QCOMPARE(List()->item(1)->text(), QStringLiteral("plain"));
    // An empty path is not refused.
    QVERIFY(m_pTest->Dlg().AddFile2List(QString(), false));
    QCOMPARE(List()->count(), 3);
}

void CPlaylistTest::ALongNameBreaksItsToolTipAfter40Characters_data() {
    QTest::addColumn<int>("length");
    QTest::addColumn<bool>("broken");
    QTest::newRow("40") << 40 << false;
    QTest::newRow("41") << 41 << true;
    QTest::newRow("90") << 90 << true;
}

void CPlaylistTest::ALongNameBreaksItsToolTipAfter40Characters() {
    QFETCH(int, length);
    QFETCH(bool, broken);
    const QString strName(length, QLatin1Char('n'));
    m_pTest->Dlg().AddFile2List(QStringLiteral("/rec/") + strName, false);
    const QString strTip = List()->item(0)->toolTip();
    QCOMPARE(strTip.contains(QLatin1Char('\n')), broken);
    if (broken) QVERIFY(strTip.contains('>' + strName.left(40) + '\n' + strName.mid(40) + '<'));
    QCOMPARE(List()->item(0)->text(), strName);
}

void CPlaylistTest::AMarkedEntryIsDarkRed() {
    m_pTest->Dlg().AddFile2List(QStringLiteral("/a"), true);
    QCOMPARE(List()->item(0)->background(), QBrush(Qt::darkRed, Qt::SolidPattern));
}

void CPlaylistTest::TheSamePathIsListedOnce() {
    CTalvioDlg& dlg = m_pTest->Dlg();
    dlg.AddFile2List(QStringLiteral("/a"), false);
    dlg.AddFile2List(QStringLiteral("/b"), false);
    QCOMPARE(List()->currentRow(), 1);
    QVERIFY(dlg.AddFile2List(QStringLiteral("/a"), true));
    QCOMPARE(m_pTest->Playlist(), QStringList({"/a", "/b"}));
    QVERIFY(m_pTest->MarkedRows().isEmpty());
    QCOMPARE(List()->currentRow(), 1);
    // Case counts.
    dlg.AddFile2List(QStringLiteral("/A"), false);
    QCOMPARE(List()->count(), 3);
}

void CPlaylistTest::ARemovedPathCanBeListedAgain() {
    CTalvioDlg& dlg = m_pTest->Dlg();
    for (const char* pPath : {"/a", "/b", "/c"})
        dlg.AddFile2List(QString::fromLatin1(pPath), false);
    delete List()->takeItem(0);
    QVERIFY(dlg.AddFile2List(QStringLiteral("/a"), false));
    QCOMPARE(m_pTest->Playlist(), QStringList({"/b", "/c", "/a"}));
    List()->item(0)->setStatusTip(QStringLiteral("/z"));
    dlg.AddFile2List(QStringLiteral("/z"), false);
    dlg.AddFile2List(QStringLiteral("/b"), false);
    QCOMPARE(m_pTest->Playlist(), QStringList({"/z", "/c", "/a", "/b"}));
    dlg.ClearFile();
    dlg.AddFile2List(QStringLiteral("/c"), false);
    QCOMPARE(m_pTest->Playlist(), QStringList({"/c"}));
}

void CPlaylistTest::TenThousandFilesCanBeAdded() {
    m_pTest->Dlg().show();
    for (int n = 0; n < 10000; ++n)
        m_pTest->Dlg().AddFile2List(QStringLiteral("/rec/%1.mp4").arg(n), false);
    QCOMPARE(List()->count(), 10000);
    QCOMPARE(List()->currentRow(), 9999);
    QCOMPARE(List()->selectedItems().size(), 1);
}

void CPlaylistTest::ADoubleClickOpensTheEntry() {
    m_pTest->Dlg().show();
    m_pTest->Dlg().AddFile2List(QStringLiteral("/rec/a.mp4"), false);
    m_pTest->Dlg().AddFile2List(QStringLiteral("/rec/b.mp4"), false);
    const QPoint pos = List()->visualItemRect(List()->item(0)).center();
    QTest::mouseClick(List()->viewport(), Qt::LeftButton, Qt::NoModifier, pos);
    QTest::mouseDClick(List()->viewport(), Qt::LeftButton, Qt::NoModifier, pos);
    QCOMPARE(m_pTest->State(), 1);
    QCOMPARE(m_pTest->Dlg().GetCurFileName(), QStringLiteral("a.mp4"));
}

void CPlaylistTest::ADoubleClickOnARejectedFileDoesNothing() {
    m_pTest->Play();
    m_pTest->Fake().RefuseFile("/rec/bad.mp4");
    m_pTest->Dlg().AddFile2List(QStringLiteral("/rec/bad.mp4"), true);
    List()->HandleDoubleClick(List()->item(0));
    QCOMPARE(m_pTest->State(), 1);
    QCOMPARE(m_pTest->Dlg().GetCurFileName(), QStringLiteral("a.mp4"));
    QCOMPARE(m_pTest->Fake().CountCalls("Dravo_Stop("), 0);
}

void CPlaylistTest::TheMenuOpensAtAnEntryOnly() {
    m_pTest->Dlg().move(0, 0); // with room for the menu beside it
    m_pTest->Dlg().show();
    m_pTest->Dlg().AddFile2List(QStringLiteral("/rec/a.mp4"), false);
    QMenu* pMenu = m_pTest->Menus().at(2);
    QTest::mouseClick(List()->viewport(), Qt::RightButton, Qt::NoModifier, QPoint(20, 200));
    QVERIFY(!pMenu->isVisible());
    const QPoint pos = List()->visualItemRect(List()->item(0)).center();
    QTest::mouseClick(List()->viewport(), Qt::RightButton, Qt::NoModifier, pos);
    QVERIFY(pMenu->isVisible());
    QCOMPARE(pMenu->pos(), List()->mapToGlobal(pos));
    pMenu->close();
    QVERIFY(!m_pTest->Dlg().ShowListItemMenu(QPoint(), nullptr));
    QVERIFY(!pMenu->isVisible());
}

void CPlaylistTest::TheMenuHoldsTheMainMenusOwnPlayModes() {
    const auto modes = [](const QMenu* pMenu) {
        QMenu* pModes = nullptr;
        for (const QAction* pAction : pMenu->actions()) {
            if (pAction->text() == "Play Mode") pModes = pAction->menu();
        }
        return pModes;
    };
    QMenu* pMainModes = nullptr;
    for (const QAction* pAction : m_pTest->Menus().at(1)->actions()) {
        if (pAction->text() == "Play") pMainModes = modes(pAction->menu());
    }
    QVERIFY(pMainModes != nullptr);
    QCOMPARE(modes(m_pTest->Menus().at(2)), pMainModes);
    QVERIFY(modes(m_pTest->Menus().at(0)) != pMainModes); // the video's menu has one of its own
}

void CPlaylistTest::TheFileNameIsWhatFollowsTheLastSlash() {
    CTalvioDlg& dlg = m_pTest->Dlg();
    QString strName = QStringLiteral("kept");
    QVERIFY(!dlg.GetFileNameFormPath(QString(), &strName));
    QCOMPARE(strName, QStringLiteral("kept"));
    QVERIFY(!dlg.GetFileNameFormPath(QStringLiteral("/a"), nullptr));
    QVERIFY(dlg.GetFileNameFormPath(QStringLiteral("/rec/a b.mp4"), &strName));
    QCOMPARE(strName, QStringLiteral("a b.mp4"));
    QVERIFY(dlg.GetFileNameFormPath(QStringLiteral("plain"), &strName));
    QCOMPARE(strName, QStringLiteral("plain"));
    QVERIFY(dlg.GetFileNameFormPath(QStringLiteral("/rec/"), &strName));
    QVERIFY(strName.isEmpty());
    QVERIFY(dlg.GetCurFileName().isEmpty());
}

void CPlaylistTest::TheFolderIsThePathWithoutTheName() {
    CTalvioDlg& dlg = m_pTest->Dlg();
    QString strDir = QStringLiteral("kept");
    QVERIFY(!dlg.GetDirFromPath(QString(), &strDir));
    QCOMPARE(strDir, QStringLiteral("kept"));
    QVERIFY(!dlg.GetDirFromPath(QStringLiteral("/a"), nullptr));
    QVERIFY(dlg.GetDirFromPath(QStringLiteral("/rec/a.mp4"), &strDir));
    QCOMPARE(strDir, QStringLiteral("/rec/"));
    // Every occurrence of the name goes.
    QVERIFY(dlg.GetDirFromPath(QStringLiteral("/rec/cam1/cam1"), &strDir));
    QCOMPARE(strDir, QStringLiteral("/rec//"));
    QVERIFY(dlg.GetDirFromPath(QStringLiteral("/rec/"), &strDir));
    QCOMPARE(strDir, QStringLiteral("/rec/"));
}

void CPlaylistTest::TheTypeIsTheLastThreeCharacters() {
    CTalvioDlg& dlg = m_pTest->Dlg();
    QString strType;
    QVERIFY(!dlg.GetFileTypeFromFileName(QString(), &strType));
    QVERIFY(!dlg.GetFileTypeFromFileName(QStringLiteral("a"), nullptr));
    QVERIFY(dlg.GetFileTypeFromFileName(QStringLiteral("a.h264"), &strType));
    QCOMPARE(strType, QStringLiteral("264"));
    QVERIFY(dlg.GetFileTypeFromFileName(QStringLiteral("ab"), &strType));
    QCOMPARE(strType, QStringLiteral("ab"));
}

void CPlaylistTest::AFileIsJudgedByTheLibraryAlone() {
    QVERIFY(!m_pTest->Dlg().JudgeFileType(QString()));
    QVERIFY(m_pTest->Fake().Calls().empty());
    QVERIFY(m_pTest->Dlg().JudgeFileType(QStringLiteral("/rec/a.txt")));
    QCOMPARE(m_pTest->Fake().CountCalls("Dravo_OpenFile(1, \"/rec/a.txt\")"), 1);
    m_pTest->Fake().RefuseFile("/rec/b.mp4");
    QVERIFY(!m_pTest->Dlg().JudgeFileType(QStringLiteral("/rec/b.mp4")));
}

void CPlaylistTest::ThePlaylistButtonTogglesThePanel() {
    CTalvioDlg& dlg = m_pTest->Dlg();
    dlg.show();
    CSkinButton* pButton = m_pTest->Find<CControlsBarWidget>()->m_pPlaylistBtn;
    m_pTest->Play();
    const QSize sizePlaying = dlg.size();
    pButton->click();
    QVERIFY(!List()->isVisible());
    QVERIFY(!m_pTest->Find<CListTitleBar>()->isVisible());
    QVERIFY(!m_pTest->Find<CListTitleBar>()->parentWidget()->isVisible());
    QCOMPARE(WrongStates(pButton, "openplaylist-sel", "openplaylist-sel", "openplaylist"), QString());
    QCOMPARE(m_pTest->Commands(), QStringList({"Dravo_RefreshPlay(2)"}));
    QCOMPARE(dlg.size(), sizePlaying);
    pButton->click();
    QVERIFY(List()->isVisible());
    QCOMPARE(WrongStates(pButton, "openplaylist"), QString());
    QCOMPARE(m_pTest->Commands(), QStringList({"Dravo_RefreshPlay(2)"}));
}

void CPlaylistTest::TheCloseButtonHidesThePanelAndTheToggleBringsItBack() {
    CTalvioDlg& dlg = m_pTest->Dlg();
    dlg.show();
    CSkinButton* pButton = m_pTest->Find<CControlsBarWidget>()->m_pPlaylistBtn;
    m_pTest->Play();
    m_pTest->Find<CListTitleBar>()->m_pCloseBtn->click();
    QVERIFY(!List()->isVisible());
    QVERIFY(!List()->isHidden());
    QCOMPARE(WrongStates(pButton, "openplaylist-sel", "openplaylist-sel", "openplaylist"), QString());
    QCOMPARE(m_pTest->Commands(), QStringList({"Dravo_RefreshPlay(2)"}));
    QVERIFY(dlg.IsViewPlaylist());
    QVERIFY(List()->isVisible());
    QVERIFY(m_pTest->Find<CListTitleBar>()->isVisible());
    QCOMPARE(WrongStates(pButton, "openplaylist"), QString());
}

void CPlaylistTest::ToggleWithAVisibleListOnlyRefreshes() {
    CTalvioDlg& dlg = m_pTest->Dlg();
    dlg.show();
    m_pTest->Play();
    dlg.IsViewPlaylist();
    m_pTest->Find<CListTitleBar>()->parentWidget()->show();
    List()->show();
    m_pTest->Commands();
    QVERIFY(dlg.IsViewPlaylist());
    QVERIFY(!m_pTest->Find<CListTitleBar>()->isVisible());
    QVERIFY(
        PaintsSkin(m_pTest->Find<CControlsBarWidget>()->m_pPlaylistBtn, QStringLiteral("openplaylist-sel")));
    QCOMPARE(m_pTest->Commands(), QStringList({"Dravo_RefreshPlay(2)"}));
}

QTEST_MAIN(CPlaylistTest)
#include "test_Playlist.moc"

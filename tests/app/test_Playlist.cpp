// The playlist: adding, removing, moving, drops, the panel, and the path helpers.
#include "playlist/ListBox.h"
#include "playlist/ListTitleBarWidget.h"
#include "tests/app/DlgTest.h"
#include "widgets/ControlsBarWidget.h"
#include "widgets/SkinButton.h"

#include <QAction>
#include <QApplication>
#include <QDir>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QElapsedTimer>
#include <QFileDialog>
#include <QLineEdit>
#include <QMenu>
#include <QMimeData>
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

    void TheChooserOffersItsFilterCaptionAndFolder();
    void ThreeFilesOfWhichTheSecondPlays();
    void AllRejectedFilesAreListedAndNothingOpens();
    void ACancelledChooserChangesNothing();
    void AddFileOpensNothing();
    void AFirstAcceptedFileThatIsListedIsOpenedAgain();
    void TheRowStaysFromTheSecondAcceptedFileOn();

    void TheMainWindowTakesCopiesAndMoves_data();
    void TheMainWindowTakesCopiesAndMoves();
    void ACopiedDropOpensItsFirstPlayableFile();
    void AMovedDropOpensNothing();
    void ARejectedFileIsNotListedByADrop();
    void ALinkDropIsIgnoredByTheWindow();
    void ADropOfTextOrRemoteUrlsAddsNothing();
    void ADropOfTheSameFileTwiceListsItOnce();

    void RemovingDestroysTheSelectedEntries();
    void DeletingThePlayingFilesEntryGoesOnPlaying();
    void ClearingEmptiesTheList();
    void MovingNeedsASelection();
    void EntriesMoveByOneRow();
    void TheFirstAndTheLastEntryStay();

    void ADoubleClickOpensTheEntry();
    void ADoubleClickOnARejectedFileDoesNothing();
    void TheMenuOpensAtAnEntryOnly();

    void TheFileNameIsWhatFollowsTheLastSlash();
    void TheFolderIsThePathWithoutTheName();
    void TheTypeIsTheLastThreeCharacters();
    void AFileIsJudgedByTheLibraryAlone();

    void ThePlaylistButtonTogglesThePanel();
    void TheCloseButtonHidesThePanelAndTheToggleBringsItBack();
    void ToggleWithAVisibleListOnlyRefreshes();

  private:
    CListBox* List() { return m_pTest->Find<CListBox>(); }
    // Answers the next file chooser with these names of the working directory.
    std::unique_ptr<CModalAnswer> Choose(const QStringList& lstNames) {
        return std::make_unique<CModalAnswer>([this, lstNames](QDialog* pDialog) {
            auto* pChooser = qobject_cast<QFileDialog*>(pDialog);
            if (pChooser == nullptr) return;
            m_strChooser = QStringLiteral("%1|%2|%3|%4")
                               .arg(pChooser->windowTitle(), pChooser->directory().path(),
                                    pChooser->nameFilters().join(QStringLiteral(";;")))
                               .arg(int(pChooser->fileMode()));
            QStringList lstQuoted;
            for (const QString& strName : lstNames)
                lstQuoted.append('"' + strName + '"');
            pChooser->findChild<QLineEdit*>()->setText(lstQuoted.join(' '));
            if (lstNames.isEmpty()) {
                pChooser->reject();
            } else {
                static_cast<QDialog*>(pChooser)->accept();
            }
        });
    }
    // Three files there; those named are refused by the library.
    void MakeFiles(const QStringList& lstNames, const QStringList& lstRefused) {
        for (const QString& strName : lstNames)
            m_pTest->WriteFile(strName, "x");
        for (const QString& strName : lstRefused)
            m_pTest->Fake().RefuseFile(m_pTest->File(strName).toStdString());
    }
    bool Drop(const QStringList& lstUrls, Qt::DropAction action) {
        QMimeData data;
        QList<QUrl> lst;
        for (const QString& strUrl : lstUrls)
            lst.append(QUrl(strUrl));
        data.setUrls(lst);
        QDropEvent event(QPointF(300, 20), action, &data, Qt::LeftButton, Qt::NoModifier);
        event.ignore();
        // Sent by the toolkit, it would go to the target of a real drag.
        static_cast<QObject&>(m_pTest->Dlg()).event(&event);
        return event.isAccepted();
    }

    std::unique_ptr<CDlgTest> m_pTest;
    QString m_strChooser;
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
    QElapsedTimer timer;
    timer.start();
    for (int n = 0; n < 10000; ++n)
        m_pTest->Dlg().AddFile2List(QStringLiteral("/rec/%1.mp4").arg(n), false);
    QCOMPARE(List()->count(), 10000);
    QCOMPARE(List()->currentRow(), 9999);
    QCOMPARE(List()->selectedItems().size(), 1);
    qInfo("%lld ms for 10000 files", static_cast<long long>(timer.elapsed()));
}

void CPlaylistTest::TheChooserOffersItsFilterCaptionAndFolder() {
    {
        const auto answer = Choose({});
        m_pTest->Dlg().AddFile();
    }
    QCOMPARE(m_strChooser, QStringLiteral("Open File|%1|ALL File (*.*);;Media File (*.mp4 *.264)|%2")
                               .arg(QDir::currentPath())
                               .arg(int(QFileDialog::ExistingFiles)));
}

void CPlaylistTest::ThreeFilesOfWhichTheSecondPlays() {
    MakeFiles({"1.mp4", "2.mp4", "3.mp4"}, {"1.mp4", "3.mp4"});
    {
        const auto answer = Choose({"1.mp4", "2.mp4", "3.mp4"});
        QVERIFY(m_pTest->Dlg().OpenFile());
    }
    QCOMPARE(m_pTest->Playlist(),
             QStringList({m_pTest->File("1.mp4"), m_pTest->File("2.mp4"), m_pTest->File("3.mp4")}));
    QCOMPARE(m_pTest->MarkedRows(), QList<int>({0, 2}));
    QCOMPARE(m_pTest->State(), 1);
    QCOMPARE(m_pTest->Dlg().GetCurFileName(), QStringLiteral("2.mp4"));
    QCOMPARE(List()->currentRow(), 2);
    {
        const auto answer = Choose({});
        m_pTest->Dlg().AddFile();
    }
    QVERIFY(m_strChooser.contains(QDir::currentPath()));
}

void CPlaylistTest::AllRejectedFilesAreListedAndNothingOpens() {
    MakeFiles({"1.mp4", "2.mp4"}, {"1.mp4", "2.mp4"});
    const auto answer = Choose({"1.mp4", "2.mp4"});
    QVERIFY(m_pTest->Dlg().OpenFile()); // the timer exists
    QCOMPARE(m_pTest->MarkedRows(), QList<int>({0, 1}));
    QCOMPARE(m_pTest->State(), 0);
    QString strPath;
    QVERIFY(!m_pTest->Dlg().BrowseFile(&strPath));
    QVERIFY(strPath.isNull());
}

void CPlaylistTest::ACancelledChooserChangesNothing() {
    const auto answer = Choose({});
    QVERIFY(!m_pTest->Dlg().AddFile());
    QVERIFY(m_pTest->Dlg().OpenFile());
    QVERIFY(m_pTest->Playlist().isEmpty());
    QVERIFY(m_pTest->Fake().Calls().empty());
}

void CPlaylistTest::AddFileOpensNothing() {
    m_pTest->Play();
    MakeFiles({"1.mp4", "2.mp4"}, {});
    const auto answer = Choose({"1.mp4", "2.mp4"});
    QVERIFY(m_pTest->Dlg().AddFile());
    // What is current is named at once; what plays goes on.
    QCOMPARE(m_pTest->Dlg().GetCurFileName(), QStringLiteral("1.mp4"));
    QCOMPARE(m_pTest->Fake().CountCalls("Dravo_Play"), 0);
    QCOMPARE(m_pTest->Fake().CountCalls("Dravo_Stop("), 0);
    QCOMPARE(m_pTest->State(), 1);
}

void CPlaylistTest::AFirstAcceptedFileThatIsListedIsOpenedAgain() {
    MakeFiles({"1.mp4"}, {});
    m_pTest->Dlg().AddFile2List(m_pTest->File("1.mp4"), false);
    const auto answer = Choose({"1.mp4"});
    QVERIFY(m_pTest->Dlg().OpenFile());
    QCOMPARE(List()->count(), 1);
    QCOMPARE(m_pTest->State(), 1);
}

void CPlaylistTest::TheRowStaysFromTheSecondAcceptedFileOn() {
    MakeFiles({"1.mp4", "2.mp4", "3.mp4", "4.mp4"}, {"2.mp4"});
    const auto answer = Choose({"1.mp4", "2.mp4", "3.mp4", "4.mp4"});
    QVERIFY(m_pTest->Dlg().AddFile());
    QCOMPARE(List()->currentRow(), 1);
    QCOMPARE(List()->count(), 4);
    // Drops go by the last batch too.
    Drop({"file:///rec/d.mp4"}, Qt::MoveAction);
    QCOMPARE(List()->currentRow(), 1);
}

void CPlaylistTest::TheMainWindowTakesCopiesAndMoves_data() {
    QTest::addColumn<int>("action");
    QTest::addColumn<bool>("urls");
    QTest::addColumn<bool>("taken");
    QTest::newRow("copy") << int(Qt::CopyAction) << true << true;
    QTest::newRow("move") << int(Qt::MoveAction) << true << true;
    QTest::newRow("link") << int(Qt::LinkAction) << true << false;
    QTest::newRow("text") << int(Qt::CopyAction) << false << false;
}

void CPlaylistTest::TheMainWindowTakesCopiesAndMoves() {
    QFETCH(int, action);
    QFETCH(bool, urls);
    QFETCH(bool, taken);
    QMimeData data;
    if (urls) {
        data.setUrls({QUrl("file:///a.mp4")});
    } else {
        data.setText("a");
    }
    QDragEnterEvent enter(QPoint(300, 20), Qt::DropAction(action), &data, Qt::LeftButton, Qt::NoModifier);
    enter.ignore();
    QCoreApplication::sendEvent(&m_pTest->Dlg(), &enter);
    QCOMPARE(enter.isAccepted(), taken);
    QDragMoveEvent move(QPoint(301, 20), Qt::DropAction(action), &data, Qt::LeftButton, Qt::NoModifier);
    move.ignore();
    // Sent by the toolkit, it would go to the target of a real drag.
    static_cast<QObject&>(m_pTest->Dlg()).event(&move);
    QCOMPARE(move.isAccepted(), taken);
}

void CPlaylistTest::ACopiedDropOpensItsFirstPlayableFile() {
    m_pTest->Fake().RefuseFile("/rec/1.mp4");
    QVERIFY(Drop({"file:///rec/1.mp4", "file:///rec/2.mp4", "file:///rec/3.mp4"}, Qt::CopyAction));
    QCOMPARE(m_pTest->Playlist(), QStringList({"/rec/2.mp4", "/rec/3.mp4"}));
    QCOMPARE(m_pTest->State(), 1);
    QCOMPARE(m_pTest->Dlg().GetCurFileName(), QStringLiteral("2.mp4"));
    QCOMPARE(List()->currentRow(), 1);
}

void CPlaylistTest::AMovedDropOpensNothing() {
    QVERIFY(Drop({"file:///rec/1.mp4", "file:///rec/2.mp4"}, Qt::MoveAction));
    QCOMPARE(m_pTest->Playlist(), QStringList({"/rec/1.mp4", "/rec/2.mp4"}));
    QCOMPARE(m_pTest->State(), 0);
}

void CPlaylistTest::ARejectedFileIsNotListedByADrop() {
    m_pTest->Fake().SetResult("Dravo_OpenFile", 0);
    Drop({"file:///rec/1.mp4"}, Qt::CopyAction);
    Drop({"file:///rec/1.mp4"}, Qt::MoveAction);
    QVERIFY(m_pTest->Playlist().isEmpty());
    QCOMPARE(m_pTest->State(), 0);
}

void CPlaylistTest::ALinkDropIsIgnoredByTheWindow() {
    QVERIFY(!Drop({"file:///rec/1.mp4"}, Qt::LinkAction));
    QVERIFY(m_pTest->Playlist().isEmpty());
}

void CPlaylistTest::ADropOfTextOrRemoteUrlsAddsNothing() {
    Drop({"http://example.com/1.mp4"}, Qt::CopyAction);
    QVERIFY(m_pTest->Playlist().isEmpty());
    QMimeData data;
    data.setText(QStringLiteral("file:///rec/1.mp4"));
    QDropEvent event(QPointF(300, 20), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    static_cast<QObject&>(m_pTest->Dlg()).event(&event);
    QVERIFY(!event.isAccepted());
    QVERIFY(m_pTest->Playlist().isEmpty());
    QVERIFY(m_pTest->Fake().Calls().empty());
}

void CPlaylistTest::ADropOfTheSameFileTwiceListsItOnce() {
    Drop({"file:///rec/1.mp4", "file:///rec/1.mp4"}, Qt::CopyAction);
    QCOMPARE(m_pTest->Playlist(), QStringList({"/rec/1.mp4"}));
}

void CPlaylistTest::RemovingDestroysTheSelectedEntries() {
    CTalvioDlg& dlg = m_pTest->Dlg();
    for (const char* pPath : {"/a", "/b", "/c"})
        dlg.AddFile2List(QString::fromLatin1(pPath), false);
    List()->clearSelection();
    QVERIFY(dlg.DeleteFile());
    QCOMPARE(List()->count(), 3);
    List()->item(0)->setSelected(true);
    List()->item(2)->setSelected(true);
    QVERIFY(dlg.DeleteFile());
    QCOMPARE(m_pTest->Playlist(), QStringList({"/b"}));
}

void CPlaylistTest::DeletingThePlayingFilesEntryGoesOnPlaying() {
    m_pTest->Dlg().AddFile2List(QStringLiteral("/rec/a.mp4"), false);
    m_pTest->Play();
    m_pTest->Dlg().DeleteFile();
    QVERIFY(m_pTest->Playlist().isEmpty());
    QCOMPARE(m_pTest->State(), 1);
    QCOMPARE(m_pTest->Dlg().GetCurFileName(), QStringLiteral("a.mp4"));
    QVERIFY(m_pTest->Commands().isEmpty());
}

void CPlaylistTest::ClearingEmptiesTheList() {
    m_pTest->Dlg().AddFile2List(QStringLiteral("/a"), false);
    QVERIFY(m_pTest->Dlg().ClearFile());
    QVERIFY(m_pTest->Playlist().isEmpty());
    QVERIFY(m_pTest->Dlg().ClearFile());
}

void CPlaylistTest::MovingNeedsASelection() {
    m_pTest->Dlg().AddFile2List(QStringLiteral("/a"), false);
    List()->clearSelection();
    QVERIFY(!m_pTest->Dlg().RaiseFile());
    QVERIFY(!m_pTest->Dlg().DownFile());
}

void CPlaylistTest::EntriesMoveByOneRow() {
    for (const char* pPath : {"/a", "/b", "/c"})
        m_pTest->Dlg().AddFile2List(QString::fromLatin1(pPath), false);
    List()->setCurrentRow(1);
    m_pTest->Action(QStringLiteral("Raise File"))->trigger();
    QCOMPARE(m_pTest->Playlist(), QStringList({"/b", "/a", "/c"}));
    List()->clearSelection();
    List()->item(1)->setSelected(true);
    m_pTest->Action(QStringLiteral("Down File"))->trigger();
    QCOMPARE(m_pTest->Playlist(), QStringList({"/b", "/c", "/a"}));
}

void CPlaylistTest::TheFirstAndTheLastEntryStay() {
    for (const char* pPath : {"/a", "/b"})
        m_pTest->Dlg().AddFile2List(QString::fromLatin1(pPath), false);
    List()->setCurrentRow(0);
    QVERIFY(m_pTest->Dlg().RaiseFile());
    List()->setCurrentRow(1);
    QVERIFY(m_pTest->Dlg().DownFile());
    QCOMPARE(m_pTest->Playlist(), QStringList({"/a", "/b"}));
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
    m_pTest->Dlg().show();
    m_pTest->Dlg().AddFile2List(QStringLiteral("/rec/a.mp4"), false);
    QMenu* pMenu = m_pTest->Menus().at(2);
    QTest::mouseClick(List()->viewport(), Qt::RightButton, Qt::NoModifier, QPoint(20, 200));
    QVERIFY(!pMenu->isVisible());
    const QPoint pos = List()->visualItemRect(List()->item(0)).center();
    QTest::mouseClick(List()->viewport(), Qt::RightButton, Qt::NoModifier, pos);
    QVERIFY(pMenu->isVisible());
    pMenu->close();
    QVERIFY(!m_pTest->Dlg().ShowListItemMenu(QPoint(), nullptr));
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
    QVERIFY(PaintsSkin(pButton, QStringLiteral("openplaylist-sel")));
    QCOMPARE(m_pTest->Commands(), QStringList({"Dravo_RefreshPlay(2)"}));
    QCOMPARE(dlg.size(), sizePlaying);
    pButton->click();
    QVERIFY(List()->isVisible());
    QVERIFY(PaintsSkin(pButton, QStringLiteral("openplaylist")));
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
    QVERIFY(PaintsSkin(pButton, QStringLiteral("openplaylist-sel")));
    QCOMPARE(m_pTest->Commands(), QStringList({"Dravo_RefreshPlay(2)"}));
    QVERIFY(dlg.IsViewPlaylist());
    QVERIFY(List()->isVisible());
    QVERIFY(m_pTest->Find<CListTitleBar>()->isVisible());
    QVERIFY(PaintsSkin(pButton, QStringLiteral("openplaylist")));
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

int main(int nArgs, char** ppArgs) {
    // The toolkit's own chooser, as in the program.
    QCoreApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
    const QApplication app(nArgs, ppArgs);
    CPlaylistTest test;
    return QTest::qExec(&test, nArgs, ppArgs);
}

#include "test_Playlist.moc"

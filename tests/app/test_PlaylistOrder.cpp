// The playlist's entries removed and moved: their order, their marks, their paths, and the current row.
#include "playlist/ListBox.h"
#include "tests/app/DlgTest.h"

#include <QAction>
#include <QTest>

class CPlaylistOrderTest : public QObject {
    Q_OBJECT

  private slots:
    void init() { m_pTest = std::make_unique<CDlgTest>(); }
    void cleanup() { m_pTest.reset(); }

    void RemovingDestroysTheSelectedEntries();
    void DeletingThePlayingFilesEntryGoesOnPlaying();
    void ClearingEmptiesTheList();
    void MovingNeedsASelection();
    void EntriesMoveByOneRow();
    void TheFirstAndTheLastEntryStay();
    void TwoEntriesApartMoveTogether_data();
    void TwoEntriesApartMoveTogether();
    void TheHighlightFollowsTheCurrentRowAfterAClick();
    void NeighboursMoveByTheRowsThatTheyHad_data();
    void NeighboursMoveByTheRowsThatTheyHad();
    void AnEntryThatAMoveHasLostCanBeListedAgain();
    void MovingLeavesTheFileThatPlaysAlone();

  private:
    CListBox* List() { return m_pTest->Find<CListBox>(); }
    // Lists these paths, those in upper case marked.
    void ListPaths(const QStringList& lstPaths) {
        for (const QString& strPath : lstPaths)
            m_pTest->Dlg().AddFile2List(strPath, strPath != strPath.toLower());
    }
    // Highlights the rows one after the other, so that the list reports them in this order.
    void Select(const QList<int>& lstRows) {
        List()->clearSelection();
        for (const int nRow : lstRows)
            List()->item(nRow)->setSelected(true);
        QList<int> lstReported;
        for (const QListWidgetItem* pItem : List()->selectedItems())
            lstReported.append(List()->row(pItem));
        QCOMPARE(lstReported, lstRows);
    }
    // Every entry still carries its own name, tool tip and mark.
    void ExpectWholeEntries() {
        for (int nRow = 0; nRow < List()->count(); ++nRow) {
            const QListWidgetItem* pItem = List()->item(nRow);
            const QString strPath = pItem->statusTip();
            QCOMPARE(pItem->text(), strPath.mid(1));
            QVERIFY(pItem->toolTip().contains('>' + strPath.mid(1) + '<'));
            QCOMPARE(m_pTest->MarkedRows().contains(nRow), strPath != strPath.toLower());
        }
    }

    std::unique_ptr<CDlgTest> m_pTest;
};

void CPlaylistOrderTest::RemovingDestroysTheSelectedEntries() {
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

void CPlaylistOrderTest::DeletingThePlayingFilesEntryGoesOnPlaying() {
    m_pTest->Dlg().AddFile2List(QStringLiteral("/rec/a.mp4"), false);
    m_pTest->Play();
    m_pTest->Dlg().DeleteFile();
    QVERIFY(m_pTest->Playlist().isEmpty());
    QCOMPARE(m_pTest->State(), 1);
    QCOMPARE(m_pTest->Dlg().GetCurFileName(), QStringLiteral("a.mp4"));
    QVERIFY(m_pTest->Commands().isEmpty());
}

void CPlaylistOrderTest::ClearingEmptiesTheList() {
    m_pTest->Dlg().AddFile2List(QStringLiteral("/a"), false);
    QVERIFY(m_pTest->Dlg().ClearFile());
    QVERIFY(m_pTest->Playlist().isEmpty());
    QVERIFY(m_pTest->Dlg().ClearFile());
}

void CPlaylistOrderTest::MovingNeedsASelection() {
    m_pTest->Dlg().AddFile2List(QStringLiteral("/a"), false);
    List()->clearSelection();
    QVERIFY(!m_pTest->Dlg().RaiseFile());
    QVERIFY(!m_pTest->Dlg().DownFile());
}

void CPlaylistOrderTest::EntriesMoveByOneRow() {
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

void CPlaylistOrderTest::TheFirstAndTheLastEntryStay() {
    for (const char* pPath : {"/a", "/b"})
        m_pTest->Dlg().AddFile2List(QString::fromLatin1(pPath), false);
    List()->setCurrentRow(0);
    QVERIFY(m_pTest->Dlg().RaiseFile());
    List()->setCurrentRow(1);
    QVERIFY(m_pTest->Dlg().DownFile());
    QCOMPARE(m_pTest->Playlist(), QStringList({"/a", "/b"}));
}

void CPlaylistOrderTest::TwoEntriesApartMoveTogether_data() {
    QTest::addColumn<QList<int>>("rows");
    QTest::newRow("the upper one highlighted first") << QList<int>({1, 3});
    QTest::newRow("the lower one highlighted first") << QList<int>({3, 1});
}

void CPlaylistOrderTest::TwoEntriesApartMoveTogether() {
    QFETCH(QList<int>, rows);
    for (const char* pPath : {"/a", "/b", "/c", "/d", "/e"})
        m_pTest->Dlg().AddFile2List(QString::fromLatin1(pPath), *(pPath + 1) == 'd');
    const auto select = [&](const QList<int>& lstRows) {
        List()->clearSelection();
        for (const int nRow : lstRows)
            List()->item(nRow)->setSelected(true);
    };
    select(rows);
    QVERIFY(m_pTest->Dlg().RaiseFile());
    QCOMPARE(m_pTest->Playlist(), QStringList({"/b", "/a", "/d", "/c", "/e"}));
    QCOMPARE(m_pTest->MarkedRows(), QList<int>({2}));
    select({rows[0] - 1, rows[1] - 1});
    QVERIFY(m_pTest->Dlg().DownFile());
    QCOMPARE(m_pTest->Playlist(), QStringList({"/a", "/b", "/c", "/d", "/e"}));
    QCOMPARE(m_pTest->MarkedRows(), QList<int>({3}));
}

void CPlaylistOrderTest::TheHighlightFollowsTheCurrentRowAfterAClick() {
    m_pTest->Dlg().show();
    m_pTest->Dlg().AddFile2List(QStringLiteral("/a"), false);
    QTest::mouseClick(List()->viewport(), Qt::LeftButton, Qt::NoModifier,
                      List()->visualItemRect(List()->item(0)).center());
    m_pTest->Dlg().AddFile2List(QStringLiteral("/b"), false);
    QCOMPARE(List()->selectedItems(), QList<QListWidgetItem*>({List()->item(1)}));
}

void CPlaylistOrderTest::NeighboursMoveByTheRowsThatTheyHad_data() {
    QTest::addColumn<bool>("raise");
    QTest::addColumn<QList<int>>("rows");
    QTest::addColumn<QStringList>("after");
    const auto row = [](const char* pName, bool bRaise, const QList<int>& lstRows,
                        const QStringList& lstAfter) {
        QTest::newRow(pName) << bRaise << lstRows << lstAfter;
    };
    // Of two neighbours the one that is moved first is taken out again where the other one had been.
    row("raised, the upper one reported first", true, {1, 2}, {"/a", "/B", "/d"});
    row("raised, the lower one reported first", true, {2, 1}, {"/B", "/c", "/a", "/d"});
    row("lowered, the upper one reported first", false, {1, 2}, {"/a", "/d", "/B", "/c"});
    row("lowered, the lower one reported first", false, {2, 1}, {"/a", "/c", "/d"});
    // The first and the last stay, and what is beside them moves onto them.
    row("raised from the top, the upper one first", true, {0, 1}, {"/B", "/a", "/c", "/d"});
    row("lowered from the end, the lower one first", false, {3, 2}, {"/a", "/B", "/d", "/c"});
}

void CPlaylistOrderTest::NeighboursMoveByTheRowsThatTheyHad() {
    QFETCH(bool, raise);
    QFETCH(QList<int>, rows);
    QFETCH(QStringList, after);
    ListPaths({"/a", "/B", "/c", "/d"});
    Select(rows);
    QVERIFY(raise ? m_pTest->Dlg().RaiseFile() : m_pTest->Dlg().DownFile());
    QCOMPARE(m_pTest->Playlist(), after);
    ExpectWholeEntries();
}

void CPlaylistOrderTest::AnEntryThatAMoveHasLostCanBeListedAgain() {
    ListPaths({"/a", "/b", "/c", "/d"});
    Select({1, 2});
    QVERIFY(m_pTest->Dlg().RaiseFile());
    QCOMPARE(m_pTest->Playlist(), QStringList({"/a", "/b", "/d"}));
    ListPaths({"/b", "/c"});
    QCOMPARE(m_pTest->Playlist(), QStringList({"/a", "/b", "/d", "/c"}));
}

void CPlaylistOrderTest::MovingLeavesTheFileThatPlaysAlone() {
    ListPaths({"/rec/a.mp4", "/rec/b.mp4", "/rec/c.mp4"});
    m_pTest->Play(QStringLiteral("/rec/b.mp4"));
    Select({1, 2});
    QVERIFY(m_pTest->Dlg().RaiseFile()); // its entry is among them
    QVERIFY(m_pTest->Dlg().DownFile());
    QCOMPARE(m_pTest->State(), 1);
    QCOMPARE(m_pTest->Dlg().GetCurFileName(), QStringLiteral("b.mp4"));
    QCOMPARE(m_pTest->Commands(), QStringList());
}

QTEST_MAIN(CPlaylistOrderTest)
#include "test_PlaylistOrder.moc"

#include "playlist/ListBox.h"
#include "playlist/PlaylistOwner.h"

#include <QSignalSpy>
#include <QTest>

#include <memory>

namespace {
class CFakeOwner : public QWidget, public CPlaylistOwner {
  public:
    bool ShowListItemMenu(QPoint pos, QListWidgetItem* pItem) override {
        m_lstCalls
            << QString("menu %1 %2 %3").arg(pos.x()).arg(pos.y()).arg(pItem ? pItem->text() : "nothing");
        return pItem != nullptr;
    }
    bool OpenItemFile(QString strPath) override {
        m_lstCalls << "open " + strPath;
        return true;
    }

    QStringList m_lstCalls;
};
} // namespace

class ListBoxTest : public QObject {
    Q_OBJECT

  private slots:
    void init() {
        m_pOwner = std::make_unique<CFakeOwner>();
        m_pList = new CListBox(m_pOwner.get());
        m_pList->resize(200, 300);
        m_pOwner->show();
        QVERIFY(QTest::qWaitForWindowExposed(m_pOwner.get()));
    }
    void cleanup() { m_pOwner.reset(); }

    void itIsSetUpAsThePlaylistNeeds() {
        QCOMPARE(m_pList->styleSheet(),
                 QString("background-color: rgb(83, 83, 83);\ncolor: rgb(255, 255, 255);"));
        QVERIFY(m_pList->testAttribute(Qt::WA_MouseTracking));
        QVERIFY(m_pList->dragEnabled());
        QCOMPARE(m_pList->dragDropMode(), QAbstractItemView::InternalMove);
        QVERIFY(m_pList->dragDropOverwriteMode());
        QCOMPARE(m_pList->cursor().shape(), Qt::ArrowCursor);
        QCOMPARE(m_pList->focusPolicy(), Qt::NoFocus);
        QCOMPARE(m_pList->selectionMode(), QAbstractItemView::ExtendedSelection);
    }

    void plainEntriesAreAppended() {
        QVERIFY(!m_pList->AddItem(""));
        QVERIFY(m_pList->AddItem("a"));
        QVERIFY(!m_pList->AddItems({}));
        QVERIFY(m_pList->AddItems({"b", "c"}));
        QCOMPARE(Texts(), QStringList({"a", "b", "c"}));
    }

    void anEntryIsRemovedWithItsWidget() {
        m_pList->AddItems({"a", "b"});
        QPointer<QWidget> pWidget = new QWidget;
        m_pList->setItemWidget(m_pList->item(0), pWidget);
        QVERIFY(!m_pList->RemoveItem(nullptr));
        QVERIFY(m_pList->RemoveItem(m_pList->item(0)));
        QCOMPARE(Texts(), QStringList({"b"}));
        QTRY_VERIFY(!pWidget);
    }

    void severalEntriesAreRemoved() {
        m_pList->AddItems({"a", "b", "c"});
        QVERIFY(!m_pList->RemoveItems({}));
        QVERIFY(m_pList->RemoveItems({m_pList->item(2), m_pList->item(0)}));
        QCOMPARE(Texts(), QStringList({"b"}));
    }

    void clearingIsAlwaysDone() {
        QVERIFY(m_pList->ClearItems());
        m_pList->AddItems({"a", "b"});
        QVERIFY(m_pList->ClearItems());
        QCOMPARE(m_pList->count(), 0);
    }

    void entriesMoveByOneRow_data() {
        QTest::addColumn<bool>("bRaise");
        QTest::addColumn<QList<int>>("lstRows");
        QTest::addColumn<QStringList>("lstAfter");
        const auto Row = [](const char* pName, bool bRaise, const QList<int>& lstRows, const char* pAfter) {
            QTest::newRow(pName) << bRaise << lstRows << QString(pAfter).split(' ');
        };
        Row("one up", true, {2}, "a c b d");
        Row("the first stays", true, {0}, "a b c d");
        Row("one down", false, {1}, "a c b d");
        Row("the last stays", false, {3}, "a b c d");
        Row("two apart up", true, {1, 3}, "b a d c");
        Row("two apart down", false, {2, 0}, "b a d c");
        // Of two neighbours raised top first the lower one is taken out where the upper one had been.
        Row("two neighbours up, reported top first", true, {1, 2}, "a b d");
        Row("two neighbours up, reported bottom first", true, {2, 1}, "b c a d");
        Row("two neighbours down, reported top first", false, {1, 2}, "a d b c");
        Row("two neighbours down, reported bottom first", false, {2, 1}, "a c d");
    }
    void entriesMoveByOneRow() {
        QFETCH(bool, bRaise);
        QFETCH(QList<int>, lstRows);
        m_pList->AddItems({"a", "b", "c", "d"});
        QList<QListWidgetItem*> lstItems;
        for (const int nRow : lstRows) {
            lstItems << m_pList->item(nRow);
        }
        QVERIFY(bRaise ? m_pList->RaiseItem(lstItems, lstRows) : m_pList->DownItem(lstItems, lstRows));
        QTEST(Texts(), "lstAfter");
    }

    void missingEntriesAreSkippedWhenMoving() {
        m_pList->AddItems({"a", "b"});
        QVERIFY(m_pList->RaiseItem({nullptr, m_pList->item(1)}, {1, 1}));
        QCOMPARE(Texts(), QStringList({"b", "a"}));
        QVERIFY(m_pList->DownItem({nullptr}, {0}));
        QVERIFY(m_pList->RaiseItem({}, {}));
        QVERIFY(m_pList->DownItem({}, {}));
        QCOMPARE(Texts(), QStringList({"b", "a"}));
    }

    void aDoubleClickOpensTheEntrysFile() {
        m_pList->AddItems({"a.mp4", "b.mp4"});
        m_pList->item(1)->setStatusTip("/rec/b.mp4");
        QTest::mouseClick(m_pList->viewport(), Qt::LeftButton, {}, Middle(1));
        QTest::mouseDClick(m_pList->viewport(), Qt::LeftButton, {}, Middle(1));
        QCOMPARE(m_pOwner->m_lstCalls, QStringList({"open /rec/b.mp4"}));
    }

    void anEntryWithoutAPathOpensNothing() {
        m_pList->AddItem("a");
        QVERIFY(m_pList->HandleDoubleClick(m_pList->item(0)));
        QVERIFY(!m_pList->HandleDoubleClick(nullptr));
        QCOMPARE(m_pOwner->m_lstCalls, QStringList());
    }

    void anEntryEnteredChangesNothing() {
        m_pList->AddItem("a");
        QVERIFY(m_pList->HanDleItemEnter(m_pList->item(0)));
        QVERIFY(!m_pList->HanDleItemEnter(nullptr));
    }

    void aRightPressSelectsTheEntryAndAsksForTheMenuThere() {
        m_pList->AddItems({"a", "b"});
        const QPoint pos = Middle(1);
        QTest::mousePress(m_pList->viewport(), Qt::RightButton, {}, pos);
        QCOMPARE(m_pOwner->m_lstCalls, QStringList({QString("menu %1 %2 b").arg(pos.x()).arg(pos.y())}));
        QVERIFY(m_pList->item(1)->isSelected());
    }

    void aRightPressOnTheEmptyPartNamesNoEntry() {
        m_pList->AddItem("a");
        QTest::mousePress(m_pList->viewport(), Qt::RightButton, {}, QPoint(20, 200));
        QCOMPARE(m_pOwner->m_lstCalls, QStringList({"menu 20 200 nothing"}));
    }

    void otherPressesAskForNoMenu() {
        m_pList->AddItem("a");
        QTest::mousePress(m_pList->viewport(), Qt::LeftButton, {}, Middle(0));
        QTest::mousePress(m_pList->viewport(), Qt::MiddleButton, {}, Middle(0));
        QCOMPARE(m_pOwner->m_lstCalls, QStringList());
    }

    void withoutAnOwnerNothingIsAsked() {
        CListBox list(nullptr);
        list.AddItem("a");
        list.item(0)->setStatusTip("/rec/a");
        QVERIFY(list.HandleDoubleClick(list.item(0)));
        QTest::mousePress(list.viewport(), Qt::RightButton, {}, QPoint(5, 5));
    }

  private:
    QStringList Texts() const {
        QStringList lstTexts;
        for (int i = 0; i < m_pList->count(); ++i) {
            lstTexts << m_pList->item(i)->text();
        }
        return lstTexts;
    }

    QPoint Middle(int nRow) const { return m_pList->visualItemRect(m_pList->item(nRow)).center(); }

    std::unique_ptr<CFakeOwner> m_pOwner;
    CListBox* m_pList = nullptr;
};

QTEST_MAIN(ListBoxTest)
#include "test_ListBox.moc"

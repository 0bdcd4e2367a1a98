#include "playlist/ListBox.h"

#include "playlist/PlaylistOwner.h"

#include <QMouseEvent>
#include <QSet>

namespace {
// Entries taken out of the list and not put back belong to nobody any more.
void DeleteOrphans(const QSet<QListWidgetItem*>& setTaken) {
    for (QListWidgetItem* pItem : setTaken) {
        if (!pItem->listWidget()) delete pItem;
    }
}
} // namespace

CListBox::CListBox(QWidget* pParent)
    : QListWidget(pParent), m_pMainDlg(dynamic_cast<CPlaylistOwner*>(pParent)) {
    setStyleSheet("background-color: rgb(83, 83, 83);\ncolor: rgb(255, 255, 255);");
    setAttribute(Qt::WA_MouseTracking);
    setDragEnabled(true);
    setDragDropMode(QAbstractItemView::InternalMove);
    setDragDropOverwriteMode(true);
    setCursor(Qt::ArrowCursor);
    setFocusPolicy(Qt::NoFocus);
    setSelectionMode(QAbstractItemView::ExtendedSelection);
    connect(this, &QListWidget::itemDoubleClicked, this, &CListBox::HandleDoubleClick);
}

CListBox::~CListBox() = default;

bool CListBox::AddItem(QString strText) {
    if (strText.isEmpty()) return false;
    addItem(strText);
    return true;
}

bool CListBox::AddItems(QStringList lstText) {
    if (lstText.isEmpty()) return false;
    addItems(lstText);
    return true;
}

bool CListBox::RemoveItem(QListWidgetItem* pItem) {
    if (!pItem) return false;
    removeItemWidget(pItem);
    delete pItem;
    return true;
}

bool CListBox::RemoveItems(QList<QListWidgetItem*> lstItems) {
    if (lstItems.isEmpty()) return false;
    for (QListWidgetItem* pItem : std::as_const(lstItems)) {
        RemoveItem(pItem);
    }
    return true;
}

bool CListBox::ClearItems() {
    if (count() >= 1) clear();
    return true;
}

bool CListBox::RaiseItem(QList<QListWidgetItem*> lstItems, QList<int> lstRows) {
    QSet<QListWidgetItem*> setTaken;
    for (qsizetype i = lstItems.size() - 1; i >= 0; --i) {
        if (!lstItems[i] || lstRows[i] == 0) continue;
        if (QListWidgetItem* pTaken = takeItem(lstRows[i])) setTaken.insert(pTaken);
        insertItem(lstRows[i] - 1, lstItems[i]);
    }
    DeleteOrphans(setTaken);
    return true;
}

bool CListBox::DownItem(QList<QListWidgetItem*> lstItems, QList<int> lstRows) {
    QSet<QListWidgetItem*> setTaken;
    for (qsizetype i = lstItems.size() - 1; i >= 0; --i) {
        if (!lstItems[i] || lstRows[i] == count() - 1) continue;
        if (QListWidgetItem* pTaken = takeItem(lstRows[i])) setTaken.insert(pTaken);
        insertItem(lstRows[i] + 1, lstItems[i]);
    }
    DeleteOrphans(setTaken);
    return true;
}

bool CListBox::HanDleItemEnter(QListWidgetItem* pItem) {
    return pItem != nullptr;
}

bool CListBox::HandleDoubleClick(QListWidgetItem* pItem) {
    if (!pItem) return false;
    const QString strPath = pItem->statusTip();
    if (!strPath.isEmpty() && m_pMainDlg) m_pMainDlg->OpenItemFile(strPath);
    return true;
}

void CListBox::mousePressEvent(QMouseEvent* pEvent) {
    QListWidget::mousePressEvent(pEvent);
    if (pEvent->button() != Qt::RightButton || !m_pMainDlg) return;
    const QPoint pos = pEvent->position().toPoint();
    m_pMainDlg->ShowListItemMenu(pos, itemAt(pos));
}

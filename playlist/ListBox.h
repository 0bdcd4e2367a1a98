// The playlist: one entry a file, its text the file name, its status tip the full path. The current row is
// the current file.
#pragma once

#include <QList>
#include <QListWidget>
#include <QStringList>

class CPlaylistOwner;

class CListBox : public QListWidget {
    Q_OBJECT

  public:
    // The parent is the main window, a CPlaylistOwner; without one clicks open nothing.
    explicit CListBox(QWidget* pParent);
    ~CListBox() override;

    // Append plain entries; false when there is nothing to append.
    bool AddItem(QString strText);
    bool AddItems(QStringList lstText);
    // Destroys the entry and any widget set on it; false for null.
    bool RemoveItem(QListWidgetItem* pItem);
    // RemoveItem on each in order; false for none.
    bool RemoveItems(QList<QListWidgetItem*> lstItems);
    bool ClearItems();

    // Move entries by one row, from the last of the list to the first. `lstRows` are the rows that the
    // entries had before the first move; they are not read again, so that of two neighbours raised top first
    // the lower one leaves the list. Always true.
    bool RaiseItem(QList<QListWidgetItem*> lstItems, QList<int> lstRows);
    bool DownItem(QList<QListWidgetItem*> lstItems, QList<int> lstRows);

  public slots:
    bool HanDleItemEnter(QListWidgetItem* pItem);
    // Opens the entry's file; false for null.
    bool HandleDoubleClick(QListWidgetItem* pItem);

  protected:
    void mousePressEvent(QMouseEvent* pEvent) override;

  private:
    CPlaylistOwner* m_pMainDlg = nullptr;
};

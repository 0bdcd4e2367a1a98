// What the playlist asks of the main window, which implements it and is given to the list as its parent. All
// calls come on the GUI thread and answer whether something was done.
#pragma once

class QListWidgetItem;
class QPoint;
class QString;

class CPlaylistOwner {
  public:
    virtual ~CPlaylistOwner() = default;

    // Pops up the playlist's menu for the entry at `pos`, in the list widget's coordinates. No menu for a
    // null entry.
    virtual bool ShowListItemMenu(QPoint pos, QListWidgetItem* pItem) = 0;
    // Opens and plays the file with this full path, when the playback library accepts it.
    virtual bool OpenItemFile(QString strPath) = 0;
};

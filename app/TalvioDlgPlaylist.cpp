// The playlist: adding, removing and moving entries, drops, the panel, and the path helpers.
#include "app/SkinImages.h"
#include "app/TalvioDlg.h"
#include "engine/Operate.h"
#include "playlist/ListBox.h"
#include "playlist/ListTitleBarWidget.h"
#include "widgets/ControlsBarWidget.h"
#include "widgets/SkinButton.h"

#include <QDir>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QFile>
#include <QFileDialog>
#include <QMenu>
#include <QMimeData>
#include <QUrl>

#include <memory>
#include <new>

namespace {

constexpr int kToolTipLine = 40; // characters of a name before its tool tip breaks

QString ToolTipOf(QString strName) {
    if (strName.size() > kToolTipLine) strName.insert(kToolTipLine, QLatin1Char('\n'));
    return QString::asprintf("<p align=\"left\" style=\" margin-top:0px; margin-bottom:0px; margin-left:0px; "
                             "margin-right:0px; -qt-block-indent:0; text-indent:0px;\"><span style=\" "
                             "color:#000000;\">%s</span></p>",
                             strName.toUtf8().constData());
}

} // namespace

QByteArray CTalvioDlg::PathBytes(const QString& strPath) {
    return QFile::encodeName(strPath);
}

// Asked for every added file, so the paths are kept as a set, gathered anew when something else changed the
// list.
bool CTalvioDlg::IsListed(const QString& strPath) {
    if (m_bListedStale) {
        m_setListed.clear();
        for (int nRow = 0; nRow < m_pListBox->count(); ++nRow)
            m_setListed.insert(m_pListBox->item(nRow)->statusTip());
        m_bListedStale = false;
    }
    return m_setListed.contains(strPath);
}

bool CTalvioDlg::AddFile2List(QString strPath, bool bMarkBad) {
    if (m_pListBox == nullptr) return false;
    QString strName;
    GetFileNameFormPath(strPath, &strName);
    if (IsListed(strPath)) return true;

    std::unique_ptr<QListWidgetItem> pItem(new (std::nothrow) QListWidgetItem(strName));
    if (!pItem) return false;
    pItem->setData(Qt::StatusTipRole, strPath);
    if (bMarkBad) pItem->setData(Qt::BackgroundRole, m_brushBadFile);
    pItem->setData(Qt::ToolTipRole, ToolTipOf(strName));
    m_pListBox->insertItem(m_pListBox->count(), pItem.release());
    m_setListed.insert(strPath);
    m_bListedStale = false;

    if (m_nAddCount <= 1) SetCurrentRow(m_pListBox->count() - 1);
    return true;
}

// The highlight goes with the current row; a list widget left to itself would keep the former ones
// highlighted too.
void CTalvioDlg::SetCurrentRow(int nRow) {
    m_pListBox->setCurrentRow(nRow, QItemSelectionModel::ClearAndSelect);
}

bool CTalvioDlg::BrowseFile(QString* pOutPath) {
    if (m_pOperate == nullptr) return false;
    const QString strFilter = tr("ALL File (*.*);;Media File (*.mp4 *.264)");
    if (m_strLastDir.isEmpty()) m_strLastDir = QDir::currentPath();
    const QStringList lstPaths =
        QFileDialog::getOpenFileNames(this, tr("Open File"), m_strLastDir, strFilter);
    if (lstPaths.isEmpty()) return false;

    m_nAddCount = 0;
    for (const QString& strPath : lstPaths) {
        const bool bOk = m_pOperate->JudgeMediaType(PathBytes(strPath).data());
        if (bOk && ++m_nAddCount <= 1) *pOutPath = strPath;
        if (!AddFile2List(strPath, !bOk)) return false;
    }
    if (m_nAddCount <= 0) return false;
    GetDirFromPath(*pOutPath, &m_strLastDir);
    return true;
}

bool CTalvioDlg::AddFile() {
    return BrowseFile(&m_strFilePath);
}

bool CTalvioDlg::OpenFile() {
    if (BrowseFile(&m_strFilePath)) Open();
    return m_pTimer != nullptr;
}

bool CTalvioDlg::DeleteFile() {
    if (m_pListBox == nullptr) return false;
    m_pListBox->RemoveItems(m_pListBox->selectedItems());
    return true;
}

bool CTalvioDlg::ClearFile() {
    if (m_pListBox == nullptr) return false;
    return m_pListBox->ClearItems();
}

QList<int> CTalvioDlg::RowsOf(const QList<QListWidgetItem*>& lstItems) const {
    QList<int> lstRows;
    for (const QListWidgetItem* pItem : lstItems)
        lstRows.append(m_pListBox->row(pItem));
    return lstRows;
}

bool CTalvioDlg::RaiseFile() {
    if (m_pListBox == nullptr) return false;
    const QList<QListWidgetItem*> lstItems = m_pListBox->selectedItems();
    if (lstItems.isEmpty()) return false;
    return m_pListBox->RaiseItem(lstItems, RowsOf(lstItems));
}

bool CTalvioDlg::DownFile() {
    if (m_pListBox == nullptr) return false;
    const QList<QListWidgetItem*> lstItems = m_pListBox->selectedItems();
    if (lstItems.isEmpty()) return false;
    return m_pListBox->DownItem(lstItems, RowsOf(lstItems));
}

bool CTalvioDlg::ShowListItemMenu(QPoint pos, QListWidgetItem* pItem) {
    if (pItem == nullptr || m_pListBox == nullptr) return false;
    m_pMenuItem = pItem;
    if (m_pListMenu == nullptr) return false;
    m_pListMenu->popup(m_pListBox->mapToGlobal(pos));
    return true;
}

bool CTalvioDlg::JudgeFileType(QString strPath) {
    if (strPath.isNull() || m_pOperate == nullptr) return false;
    return m_pOperate->JudgeMediaType(PathBytes(strPath).data());
}

void CTalvioDlg::dragEnterEvent(QDragEnterEvent* pEvent) {
    dragMoveEvent(pEvent);
}

void CTalvioDlg::dragMoveEvent(QDragMoveEvent* pEvent) {
    const Qt::DropAction action = pEvent->proposedAction();
    if (pEvent->mimeData()->hasUrls() && (action == Qt::CopyAction || action == Qt::MoveAction)) {
        pEvent->acceptProposedAction();
    }
}

void CTalvioDlg::dropEvent(QDropEvent* pEvent) {
    if (!pEvent->mimeData()->hasUrls() || pEvent->proposedAction() == Qt::LinkAction) {
        pEvent->ignore();
        return;
    }
    pEvent->acceptProposedAction();
    HandleDrop(pEvent);
}

// A moved file is only listed; of copied ones the first that the library accepts is opened.
void CTalvioDlg::HandleDrop(QDropEvent* pEvent) {
    bool bOpen = pEvent->proposedAction() != Qt::MoveAction;
    for (const QUrl& url : pEvent->mimeData()->urls()) {
        const QString strPath = url.toLocalFile();
        if (!JudgeFileType(strPath)) continue;
        if (bOpen) {
            m_strFilePath = strPath;
            Open();
            bOpen = false;
        }
        AddFile2List(strPath, false);
    }
}

bool CTalvioDlg::GetFileNameFormPath(QString strPath, QString* pName) {
    if (strPath.isEmpty() || pName == nullptr) return false;
    *pName = strPath.mid(strPath.lastIndexOf(QLatin1Char('/')) + 1);
    return true;
}

bool CTalvioDlg::GetDirFromPath(QString strPath, QString* pDir) {
    QString strName;
    if (pDir == nullptr || !GetFileNameFormPath(strPath, &strName)) return false;
    *pDir = strName.isEmpty() ? strPath : strPath.remove(strName);
    return true;
}

bool CTalvioDlg::GetFileTypeFromFileName(QString strName, QString* pType) {
    if (strName.isEmpty() || pType == nullptr) return false;
    *pType = strName.right(3);
    return true;
}

QString CTalvioDlg::GetCurFileName() {
    QString strName;
    GetFileNameFormPath(m_strFilePath, &strName);
    return strName;
}

bool CTalvioDlg::SetPlaylistButton(bool bShown) {
    if (m_pControlsBar == nullptr || m_pControlsBar->m_pPlaylistBtn == nullptr) return false;
    if (bShown) {
        SetThreeStateImages(m_pControlsBar->m_pPlaylistBtn, QStringLiteral("openplaylist"));
    } else {
        const QString strHidden = SkinImagePath(QStringLiteral("openplaylist-sel"));
        m_pControlsBar->m_pPlaylistBtn->SetBitMap(strHidden, strHidden,
                                                  SkinImagePath(QStringLiteral("openplaylist")));
    }
    return true;
}

bool CTalvioDlg::IsViewPlaylist() {
    if (m_pListBox == nullptr || m_pOperate == nullptr) return false;
    const bool bShow = !m_bViewPlaylist;
    // A list that is on screen already needs nothing but the picture drawn again.
    if (!bShow || !m_pListBox->isVisible()) {
        m_pListBox->setVisible(bShow);
        if (m_pListTitleBar == nullptr) return false;
        m_pListTitleBar->setVisible(bShow);
        if (m_pListPanel == nullptr) return false;
        m_pListPanel->setVisible(bShow);
        m_bViewPlaylist = bShow;
        if (!SetPlaylistButton(bShow)) return false;
    }
    m_pOperate->RefreshPlay();
    return true;
}

bool CTalvioDlg::CloseFileList() {
    if (m_pListBox == nullptr || m_pOperate == nullptr || m_pListTitleBar == nullptr ||
        m_pListPanel == nullptr) {
        return false;
    }
    m_pListTitleBar->hide();
    m_pListPanel->hide();
    m_bViewPlaylist = false;
    if (!SetPlaylistButton(false)) return false;
    m_pOperate->RefreshPlay();
    return true;
}

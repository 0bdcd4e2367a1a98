// What the main window does without a user: the progress timer, the end of a file, continuous capture.
#include "app/PlayTime.h"
#include "app/TalvioDlg.h"
#include "engine/Operate.h"
#include "playlist/ListBox.h"
#include "widgets/ControlsBarWidget.h"
#include "widgets/PlayerTitle.h"
#include "widgets/PlaySlider.h"
#include "widgets/PlayStatusWidget.h"
#include "widgets/StaticTitle.h"

#include <QAction>
#include <QMessageBox>
#include <QMutexLocker>

namespace {

// Before the first picture the current frame reads as all ones, in as many bits as a number has on the way
// here.
bool IsNoFrame(unsigned long nFrame) {
    return static_cast<int>(nFrame) == -1;
}

} // namespace

bool CTalvioDlg::SwithPlayMode(QAction* pAction) {
    if (pAction == nullptr) return false;
    if (pAction == m_pActSinglePlay) m_nPlayMode = 1;
    if (pAction == m_pActPlaylistPlay) m_nPlayMode = 2;
    if (pAction == m_pActSingleRepeat) m_nPlayMode = 3;
    if (pAction == m_pActPlaylistRepeat) m_nPlayMode = 4;
    return true;
}

void CTalvioDlg::DrawStatus() {
    if (m_pOperate == nullptr) return;
    const int nState = m_pOperate->GetCurrentState();
    if (nState == COperate::kPlaying || nState == COperate::kPaused) {
        DrawProgress();
    } else if (nState == COperate::kStopped && HasCtrls()) {
        // A window that stands costs no painting.
        if (m_nShownState == nState && m_pTitleBar->GetShowFilePath() == GetCurFileName()) return;
        // The library has stopped by itself, or another file has become the current one.
        ShowStopped();
        m_nShownState = nState;
        FollowTopMode();
    }
}

void CTalvioDlg::DrawProgress() {
    const unsigned long nFrames = m_pOperate->GetFileFrame();
    unsigned long nTotal = 0;
    unsigned long nElapsed = 0;
    unsigned long nFrame = 0;
    int nPosition = 0;
    if (nFrames != 0) {
        nTotal = m_pOperate->GetFileTime();
        nElapsed = m_pOperate->GetCurrentPlayTime();
        nFrame = m_pOperate->GetCurrentFrame();
        nPosition = static_cast<int>(m_pOperate->GetCurrentPosPrecent() * 65535);
        if (IsNoFrame(nFrame)) {
            nFrame = 0;
            nElapsed = 0;
        }
    }
    if (m_pStatusWidget == nullptr || m_pStatusWidget->m_pRightText == nullptr || m_pControlsBar == nullptr ||
        m_pControlsBar->m_pPlaySlider == nullptr) {
        return;
    }
    const CPlayTime elapsed(nElapsed);
    const CPlayTime total(nTotal);
    const QString strText = QString::asprintf(
        "%d/%d  %02u:%02u:%02u/%02u:%02u:%02u  ", static_cast<int>(nFrame), static_cast<int>(nFrames),
        elapsed.nHours, elapsed.nMinutes, elapsed.nSeconds, total.nHours, total.nMinutes, total.nSeconds);
    // A film that stands costs no painting.
    CStaticText* pText = m_pStatusWidget->m_pRightText;
    if (pText->GetStaticText() != strText) pText->SetStaticText(strText, 2);
    // A handle that the user holds follows the mouse alone.
    if (!m_pControlsBar->m_pPlaySlider->isSliderDown()) m_pControlsBar->m_pPlaySlider->setValue(nPosition);
}

// Without a message on its way, whoever asks means the current file.
bool CTalvioDlg::IsEndOfCurrent() {
    const QMutexLocker lock(&m_endedLock);
    return m_lstEnded.isEmpty() || m_lstEnded.takeFirst() == m_nOpening;
}

void CTalvioDlg::PlayProcess() {
    // The message may have waited here while its file was stopped or another one opened.
    if (!IsEndOfCurrent()) return;
    if (m_pOperate == nullptr || m_pListBox == nullptr) return;
    const int nState = m_pOperate->GetCurrentState();
    if (nState != COperate::kPlaying && nState != COperate::kPaused) return;

    if (m_nPlayMode == 3) {
        Start();
    } else if (m_nPlayMode == 1 || m_pListBox->count() == 0) {
        Stop();
    } else if (!OpenNext()) {
        if (m_nPlayMode == 4) {
            OpenFromTop();
        } else {
            Stop();
        }
    }
}

bool CTalvioDlg::OpenIfPlayable(int nRow) {
    SetCurrentRow(nRow);
    const QListWidgetItem* pItem = m_pListBox->item(nRow);
    if (pItem == nullptr || pItem->background() == m_brushBadFile) return false;
    m_strFilePath = pItem->statusTip();
    Open();
    return true;
}

bool CTalvioDlg::OpenNext() {
    for (int nRow = m_pListBox->currentRow() + 1; nRow < m_pListBox->count(); ++nRow) {
        if (OpenIfPlayable(nRow)) return true;
    }
    return false;
}

// The last entry is not tested: a list of one entry stops at its end.
void CTalvioDlg::OpenFromTop() {
    for (int nRow = 0; nRow < m_pListBox->count() - 1; ++nRow) {
        if (OpenIfPlayable(nRow)) return;
    }
    SetCurrentRow(m_pListBox->count() - 1);
    Stop();
}

bool CTalvioDlg::ConCap() {
    m_bConCap = !m_bConCap;
    return true;
}

void CTalvioDlg::ShowErrorMsg() {
    QMessageBox::warning(this, tr("Warning"), tr("Cappic Error !"), QMessageBox::Ok);
}

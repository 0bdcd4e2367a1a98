// Full-screen display: the video alone, edge to edge.
#include "app/TalvioDlg.h"
#include "engine/Operate.h"
#include "playlist/ListBox.h"
#include "playlist/ListTitleBarWidget.h"
#include "widgets/ControlsBarWidget.h"
#include "widgets/FloatDlg.h"
#include "widgets/PlayerTitle.h"
#include "widgets/PlayStatusWidget.h"
#include "widgets/SkinButton.h"
#include "widgets/VideoWidget.h"
#include "widgets/ViewContainer.h"

#include <QAction>
#include <QBoxLayout>
#include <QGuiApplication>
#include <QScreen>
#include <QSplitter>

bool CTalvioDlg::FullScreen() {
    if (m_pOperate == nullptr || m_pActFullScreen == nullptr) return false;
    const bool bEnter = !m_bFullScreen;
    if (bEnter) {
        const int nState = m_pOperate->GetCurrentState();
        if (nState == COperate::kNoFile || nState == COperate::kStopped) {
            // A click on the action has checked it already.
            m_pActFullScreen->setChecked(false);
            return false;
        }
    }
    SetFullScreen(bEnter ? 0 : 1);
    SetCtrlVisible(!bEnter);
    m_pActFullScreen->setChecked(bEnter);
    if (m_pActAlways == nullptr) return false;
    m_pActAlways->setEnabled(!bEnter);
    if (m_pActNever == nullptr) return false;
    m_pActNever->setEnabled(!bEnter);
    // The play state may have changed meanwhile.
    FollowTopMode();
    m_pOperate->RefreshPlay();
    return true;
}

bool CTalvioDlg::SetFullScreen(int nMode) {
    if (m_pViewWidget == nullptr) return false;
    m_bFullScreen = !m_bFullScreen;
    if (nMode == 0) {
        // Window managers stretch a window over the screen that it is on, and some not at all; the screen
        // that is meant is the primary one.
        m_rcBeforeFull = geometry();
        if (const QScreen* pScreen = QGuiApplication::primaryScreen()) setGeometry(pScreen->geometry());
        showFullScreen();
        m_pViewContainer->ShowFullScreen();
    } else if (nMode == 1) {
        m_pViewContainer->ShowNormal();
        showNormal();
        setGeometry(m_rcBeforeFull);
    }
    return true;
}

bool CTalvioDlg::SetCtrlVisible(bool bVisible) {
    if (m_pMainLayout == nullptr || m_pCentreLayout == nullptr || m_pControlsLayout == nullptr ||
        m_pTitleBar == nullptr || m_pControlsBar == nullptr || m_pStatusWidget == nullptr) {
        return false;
    }
    const int nBorder = bVisible ? 4 : 0;
    m_pCentreLayout->setContentsMargins(nBorder, 0, nBorder, 0);
    m_pControlsLayout->setContentsMargins(nBorder, 0, nBorder, 0);
    m_pMainLayout->setContentsMargins(0, 0, 0, nBorder);
    m_pMainLayout->setSpacing(bVisible ? 1 : 0);

    m_pTitleBar->setVisible(bVisible);
    m_pControlsBar->setVisible(bVisible);
    // A playlist that the user has hidden stays hidden on return.
    if (m_bViewPlaylist) {
        for (QWidget* pPart :
             {static_cast<QWidget*>(m_pListBox), static_cast<QWidget*>(m_pListTitleBar), m_pListPanel}) {
            if (pPart != nullptr) pPart->setVisible(bVisible);
        }
    }
    m_pStatusWidget->setVisible(bVisible);
    // These stay hidden when the mouse brings the control bar back during full screen.
    for (CSkinButton* pButton : {m_pControlsBar->m_pToolBoxBtn, m_pControlsBar->m_pPlaylistBtn,
                                 m_pControlsBar->m_pLanguageBtn, m_pControlsBar->m_pOpenFileBtn}) {
        if (pButton != nullptr) pButton->setVisible(bVisible);
    }
    return true;
}

void CTalvioDlg::ShowFullScreen() {
    m_rcFrame = frameGeometry();
    if (const QScreen* pScreen = QGuiApplication::primaryScreen()) setGeometry(pScreen->geometry());
}

void CTalvioDlg::ShowNormalScreen() {
    setGeometry(m_rcFrame);
}

QWidget* CTalvioDlg::GetFloatDlg() const {
    return m_pFloatDlg;
}

QWidget* CTalvioDlg::GetControlsBar() const {
    return m_pControlsBar;
}

QWidget* CTalvioDlg::GetSplitter() const {
    return m_pSplitter;
}

#include "widgets/ViewContainer.h"

#include "widgets/WindowCommands.h"

#include <QGuiApplication>
#include <QScreen>

CViewContainer::CViewContainer(QWidget* pParent)
    : QWidget(pParent), m_pMainDlg(dynamic_cast<CWindowCommands*>(pParent)) {}

void CViewContainer::ShowFullScreen() {
    m_rcNormal = frameGeometry();
    // Both are children: the window covers the screen, wherever that begins.
    const QRect rcScreen(QPoint(0, 0), QGuiApplication::primaryScreen()->geometry().size());
    if (QWidget* pSplitter = m_pMainDlg ? m_pMainDlg->GetSplitter() : nullptr)
        pSplitter->setGeometry(rcScreen);
    setGeometry(rcScreen);
}

void CViewContainer::ShowNormal() {
    if (QWidget* pSplitter = m_pMainDlg ? m_pMainDlg->GetSplitter() : nullptr)
        pSplitter->setGeometry(m_rcNormal);
    setGeometry(m_rcNormal);
}

bool CViewContainer::GetFullScreenStatus() {
    return m_pMainDlg && m_pMainDlg->GetFullScreenStatus();
}

void CViewContainer::ShowFloatDlg() {
    if (QWidget* pFloat = m_pMainDlg ? m_pMainDlg->GetFloatDlg() : nullptr) pFloat->show();
}

void CViewContainer::HideFloatDlg() {
    if (QWidget* pFloat = m_pMainDlg ? m_pMainDlg->GetFloatDlg() : nullptr) pFloat->hide();
}

void CViewContainer::ShowCtrlsFloatDlg() {
    if (QWidget* pBar = m_pMainDlg ? m_pMainDlg->GetControlsBar() : nullptr) pBar->show();
}

void CViewContainer::HideCtrlsFloatDlg() {
    if (QWidget* pBar = m_pMainDlg ? m_pMainDlg->GetControlsBar() : nullptr) pBar->hide();
}

void CViewContainer::showContextMenu(QPoint pos) {
    if (m_pMainDlg) m_pMainDlg->showContextMenu(pos);
}

void CViewContainer::FullScreen() {
    if (m_pMainDlg) m_pMainDlg->FullScreen();
}

void CViewContainer::HandleDrop(QDropEvent* pEvent) {
    if (m_pMainDlg) m_pMainDlg->HandleDrop(pEvent);
}

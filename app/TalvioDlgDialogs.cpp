// The dialogs that the main window opens, and the facts that they show.
//
// All but the hot key page stay, hidden, as children of the window after they are closed: each opening makes
// a new one.
#include "app/PlayTime.h"
#include "app/TalvioDlg.h"
#include "dialogs/FileInfoDlg.h"
#include "dialogs/HelpDlg.h"
#include "engine/Operate.h"
#include "settings/PlayerSettingDlg.h"

#include <QFileInfo>

#include <cstdint>

namespace {

// Pages of the settings dialog.
constexpr int kHotKeyPage = 2;
constexpr int kLocatePage = 3;
constexpr int kImagePage = 5;
constexpr int kColorPage = 6;

} // namespace

bool CTalvioDlg::GetFilePath(QString* pPath) {
    if (pPath == nullptr || m_strFilePath.isEmpty()) return false;
    *pPath = m_strFilePath;
    return true;
}

bool CTalvioDlg::GetResolution(QString* pResolution) {
    if (pResolution == nullptr || m_pOperate == nullptr) return false;
    *pResolution =
        QStringLiteral("%1 x %2").arg(m_pOperate->GetImageWidth()).arg(m_pOperate->GetImageHeight());
    return true;
}

bool CTalvioDlg::GetFrameRate(QString* pFrameRate) {
    if (pFrameRate == nullptr || m_pOperate == nullptr) return false;
    *pFrameRate = QString::number(m_pOperate->GetCurrentFrameRate());
    return true;
}

bool CTalvioDlg::GetFileTime(QString* pTime) {
    if (pTime == nullptr || m_pOperate == nullptr) return false;
    // Asked for each field anew.
    const auto nHours = CPlayTime(m_pOperate->GetFileTime()).nHours;
    const auto nMinutes = CPlayTime(m_pOperate->GetFileTime()).nMinutes;
    const auto nSeconds = CPlayTime(m_pOperate->GetFileTime()).nSeconds;
    *pTime = QString::asprintf("%02u:%02u:%02u", nHours, nMinutes, nSeconds);
    return true;
}

// Only the low 32 bits of the size count: from 2 GiB on a wrong or a negative size is shown.
bool CTalvioDlg::GetFileSize(QString* pSize) {
    if (pSize == nullptr || m_pOperate == nullptr || m_strFilePath.isEmpty()) return false;
    const auto nSize = static_cast<std::int32_t>(QFileInfo(m_strFilePath).size());
    if (nSize > 0xFFFFF) {
        *pSize = QString::asprintf("%.2f MB", nSize * (1.0 / 1048576));
    } else if (nSize < 1024) {
        *pSize = QString::asprintf("%d B", nSize);
    } else {
        *pSize = QString::asprintf("%.2f KB", nSize * (1.0 / 1024));
    }
    return true;
}

bool CTalvioDlg::DisPlaySettingDlg() {
    auto* pDlg = new CPlayerSetting(this);
    pDlg->exec();
    return true;
}

bool CTalvioDlg::ShowHotKeyDlg() {
    CPlayerSetting dlg(this);
    dlg.OnClickStaticText(kHotKeyPage);
    dlg.exec();
    return true;
}

bool CTalvioDlg::ShowLocateDlg() {
    return ShowSettingPage(kLocatePage);
}

bool CTalvioDlg::ShowImageDlg() {
    return ShowSettingPage(kImagePage);
}

bool CTalvioDlg::ShowColorDlg() {
    return ShowSettingPage(kColorPage);
}

bool CTalvioDlg::ShowSettingPage(int nPage) {
    auto* pDlg = new CPlayerSetting(this);
    pDlg->OnClickStaticText(nPage);
    pDlg->exec();
    return true;
}

bool CTalvioDlg::DisplayFileInfo() {
    auto* pDlg = new CFileInfoDlg(this);
    pDlg->exec();
    return true;
}

bool CTalvioDlg::ShowAboutDlg() {
    auto* pDlg = new CHelpDlg(this);
    pDlg->setVisible(true);
    return true;
}

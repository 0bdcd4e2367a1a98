// Page 3 of the settings dialog: jumps to a typed time or frame at once.
#include "settings/PlayerSettingDlg.h"

#include "engine/Operate.h"
#include "settings/SettingsOwner.h"
#include "widgets/StaticTitle.h"

#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>

#include <algorithm>

namespace {

// A number in the digits 0 to 9 and nothing else, neither spaces nor a sign; false when the text is none or
// it is too large.
bool ParseNumber(const QString& strText, unsigned int* pNumber) {
    const auto isDigit = [](QChar c) { return c >= QLatin1Char('0') && c <= QLatin1Char('9'); };
    bool bNumber = std::all_of(strText.begin(), strText.end(), isDigit);
    if (bNumber) *pNumber = strText.toUInt(&bNumber, 10);
    return bNumber;
}

} // namespace

void CPlayerSetting::CreateVideoLacateWidget() {
    m_ctrls.pLocate->setObjectName(QStringLiteral("m_pVideoLocate1"));
    SetHeading(m_ctrls.pLocate, {0, 15, 331, 25});
    m_ctrls.pTimeLocate->setObjectName(QStringLiteral("m_pTimeLocate1"));
    m_ctrls.pTimeLocate->setGeometry(30, 70, 101, 16);
    m_ctrls.pTimeLine->setObjectName(QStringLiteral("m_pTimeLine"));
    m_ctrls.pTimeLine->setGeometry(60, 100, 81, 20);
    m_ctrls.pTimeLine->setText(QStringLiteral("0"));
    m_ctrls.pTimeButton->setObjectName(QStringLiteral("m_pTimeButton"));
    m_ctrls.pTimeButton->setGeometry(160, 100, 61, 23);
    m_ctrls.pFrameLocate->setObjectName(QStringLiteral("m_pFrameLocate1"));
    m_ctrls.pFrameLocate->setGeometry(30, 150, 101, 16);
    m_ctrls.pFrameLine->setObjectName(QStringLiteral("m_pFrameLine"));
    m_ctrls.pFrameLine->setGeometry(60, 180, 81, 20);
    m_ctrls.pFrameLine->setText(QStringLiteral("0"));
    m_ctrls.pFrameButton->setObjectName(QStringLiteral("m_pFrameButton"));
    m_ctrls.pFrameButton->setGeometry(160, 180, 61, 23);

    m_ctrls.pLocate->setText(tr("Video Locate"));
    m_ctrls.pTimeLocate->setText(tr("Time Locate"));
    m_ctrls.pTimeButton->setText(tr("Locate"));
    m_ctrls.pFrameLocate->setText(tr("Frame Locate"));
    m_ctrls.pFrameButton->setText(tr("Locate"));
}

COperate* CPlayerSetting::PlayingOperate() const {
    COperate* pOperate = m_pOwner != nullptr ? m_pOwner->GetOperate() : nullptr;
    if (pOperate == nullptr || m_ctrls.pRight == nullptr) return nullptr;
    const int nState = pOperate->GetCurrentState();
    return nState == COperate::kPlaying || nState == COperate::kPaused ? pOperate : nullptr;
}

bool CPlayerSetting::Warn(const QString& strText) {
    QMessageBox::warning(this, tr("warning!"), strText, QMessageBox::Ok);
    return false;
}

bool CPlayerSetting::TimeLocate() {
    COperate* pOperate = PlayingOperate();
    if (pOperate == nullptr) return false;
    const QString strTime = m_ctrls.pTimeLine->text();
    if (strTime.isEmpty()) return Warn(tr("The Time must not null"));
    if (!ParseNumber(strTime, &m_nTime) || m_nTime > pOperate->GetFileTime())
        return Warn(tr("The value is Invalid"));
    pOperate->SetTimePos(m_nTime);
    return true;
}

bool CPlayerSetting::FrameLocate() {
    COperate* pOperate = PlayingOperate();
    if (pOperate == nullptr) return false;
    const QString strFrame = m_ctrls.pFrameLine->text();
    if (strFrame.isEmpty()) return Warn(tr("The frame number must not null"));
    const unsigned long nFrames = pOperate->GetFileFrame();
    if (!ParseNumber(strFrame, &m_nFrame) || m_nFrame >= nFrames)
        return Warn(tr("The frame number is Invalid"));
    pOperate->SetFramePos(static_cast<float>(static_cast<double>(m_nFrame) / static_cast<double>(nFrames)));
    return true;
}

void CPlayerSetting::ShowLocateCtrl(bool bShow) {
    ShowAll({m_ctrls.pLocate, m_ctrls.pTimeLocate, m_ctrls.pTimeLine, m_ctrls.pTimeButton,
             m_ctrls.pFrameLocate, m_ctrls.pFrameLine, m_ctrls.pFrameButton},
            bShow);
}

// The settings, and the file that keeps ten of them between runs.
#include "app/ConfigFile.h"
#include "app/TalvioDlg.h"

#include <QMutexLocker>

namespace {

QString Number(bool bValue) {
    return QString::number(bValue ? 1 : 0);
}

} // namespace

QStringList CTalvioDlg::ConfigValues() const {
    return {m_strLastDir,
            m_strCapPath,
            GetConCapPath(),
            Number(m_bHighQuality),
            Number(m_bDeflash),
            QString::number(m_nThrowBNum),
            QString::number(m_nTimerType),
            QString::number(m_nDisplayType),
            QString::number(m_nCapType),
            QString::number(GetConCapType())};
}

void CTalvioDlg::SetConfigValue(const QString& strKey, const QString& strText) {
    const bool bValue = strText == QLatin1String("1");
    const int nValue = strText.toInt();
    if (strKey == QLatin1String("FilePath")) m_strLastDir = strText;
    if (strKey == QLatin1String("CappicPath")) SetCapPath(strText);
    if (strKey == QLatin1String("ConCapPath")) SetConCapPath(strText);
    if (strKey == QLatin1String("HighQuality")) SetHighQuality(bValue);
    if (strKey == QLatin1String("Deflash")) SetDeflash(bValue);
    if (strKey == QLatin1String("ThrowBNum")) SetThrowBNum(nValue);
    if (strKey == QLatin1String("Timer")) SetPlayerTimer(nValue);
    if (strKey == QLatin1String("DisplayType")) SetDisplayType(nValue);
    if (strKey == QLatin1String("CappicType")) SetCapType(nValue);
    if (strKey == QLatin1String("ConCapType")) SetConCapType(nValue);
}

// Settings are matched by position: a misplaced or misspelt one keeps its value.
void CTalvioDlg::ReadFromConfigFile(QString strPath) {
    const QStringList lstValues = ReadConfigFile(strPath);
    for (qsizetype i = 0; i < lstValues.size(); ++i) {
        if (!lstValues[i].isNull()) SetConfigValue(ConfigKeys()[i], lstValues[i]);
    }
}

void CTalvioDlg::WriteIntoConfigFile(QString strPath) {
    WriteConfigFile(strPath, ConfigValues());
}

QString CTalvioDlg::GetCapPath() const {
    return m_strCapPath;
}

void CTalvioDlg::SetCapPath(QString strPath) {
    m_strCapPath = strPath;
}

QString CTalvioDlg::GetConCapPath() const {
    const QMutexLocker lock(&m_conCapLock);
    return m_strConCapPath;
}

void CTalvioDlg::SetConCapPath(QString strPath) {
    const QMutexLocker lock(&m_conCapLock);
    m_strConCapPath = strPath;
}

bool CTalvioDlg::GetHighQuality() const {
    return m_bHighQuality;
}

void CTalvioDlg::SetHighQuality(bool bHigh) {
    m_bHighQuality = bHigh;
}

bool CTalvioDlg::GetDeflash() const {
    return m_bDeflash;
}

void CTalvioDlg::SetDeflash(bool bDeflash) {
    m_bDeflash = bDeflash;
}

int CTalvioDlg::GetThrowBNum() const {
    return m_nThrowBNum;
}

void CTalvioDlg::SetThrowBNum(int nNum) {
    m_nThrowBNum = nNum;
}

int CTalvioDlg::GetPlayerTimer() const {
    return m_nTimerType;
}

void CTalvioDlg::SetPlayerTimer(int nType) {
    m_nTimerType = nType;
}

int CTalvioDlg::GetDisplayType() const {
    return m_nDisplayType;
}

void CTalvioDlg::SetDisplayType(int nType) {
    m_nDisplayType = nType;
}

int CTalvioDlg::GetCapType() const {
    return m_nCapType;
}

void CTalvioDlg::SetCapType(int nType) {
    m_nCapType = nType;
}

int CTalvioDlg::GetConCapType() const {
    return m_nConCapType;
}

void CTalvioDlg::SetConCapType(int nType) {
    m_nConCapType = nType;
}

int CTalvioDlg::GetDeinterlaceType() const {
    return static_cast<int>(m_nDeinterlaceType);
}

void CTalvioDlg::SetDeinterlaceType(unsigned long nType) {
    m_nDeinterlaceType = nType;
}

int CTalvioDlg::GetPreThrowBNum() const {
    return m_nPreThrowBNum;
}

void CTalvioDlg::SetPreThrowBNum(int nNum) {
    m_nPreThrowBNum = nNum;
}

int CTalvioDlg::GetBrightness() const {
    return m_nBrightness;
}

bool CTalvioDlg::SetBrightness(int nValue) {
    if (nValue < 0) return false;
    m_nBrightness = nValue;
    return true;
}

int CTalvioDlg::GetContrast() const {
    return m_nContrast;
}

bool CTalvioDlg::SetContrast(int nValue) {
    if (nValue < 0) return false;
    m_nContrast = nValue;
    return true;
}

int CTalvioDlg::GetChromaticity() const {
    return m_nChromaticity;
}

bool CTalvioDlg::SetChromaticity(int nValue) {
    if (nValue < 0) return false;
    m_nChromaticity = nValue;
    return true;
}

int CTalvioDlg::GetHue() const {
    return m_nHue;
}

bool CTalvioDlg::SetHue(int nValue) {
    if (nValue < 0) return false;
    m_nHue = nValue;
    return true;
}

int CTalvioDlg::GetWatermark() const {
    return 1;
}

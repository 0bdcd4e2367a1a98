// Picture capture, the one duty of the facade that other threads share.
//
// A capture: take the kept buffer, or a new one where another capture has it; let the engine encode into it;
// take a number and thereby a name of its own; write. Several may run at once, each with its own buffer and
// name.
#include "engine/CaptureFile.h"
#include "engine/Operate.h"
#include "engine/PlayCtrl.h"

#include <ctime>
#include <new>
#include <utility>

std::shared_ptr<CPlayCtrlProxy> COperate::SharedEngine() const {
    const std::lock_guard lock(m_captureMutex);
    return m_pEngine;
}

COperate::Buffer COperate::TakeCaptureBuffer(unsigned long* pSize) {
    const std::lock_guard lock(m_captureMutex);
    if (m_nPicWidth < 0 || m_nPicHeight < 0) return nullptr;
    // Room for three bytes a pixel and a file's headers, also where rows are padded.
    const unsigned long nSize =
        static_cast<unsigned long>(m_nPicWidth) * static_cast<unsigned long>(m_nPicHeight) * 5;
    *pSize = nSize;
    if (m_pCapBuffer && m_nCapBufferSize == nSize) return std::move(m_pCapBuffer);
    m_pCapBuffer.reset();
    return Buffer(new (std::nothrow) unsigned char[nSize]);
}

void COperate::ReturnCaptureBuffer(Buffer pBuffer, unsigned long nSize) {
    const std::lock_guard lock(m_captureMutex);
    m_pCapBuffer = std::move(pBuffer);
    m_nCapBufferSize = nSize;
}

bool COperate::CapPic(int nType, char* pDir) {
    if (pDir == nullptr) return false;
    unsigned long nSize = 0;
    Buffer pBuffer = TakeCaptureBuffer(&nSize);
    if (!pBuffer) return false;
    const bool bCaptured = CapPicInto(pBuffer.get(), nSize, nType, pDir);
    ReturnCaptureBuffer(std::move(pBuffer), nSize);
    return bCaptured;
}

bool COperate::CapPicInto(unsigned char* pBuffer, unsigned long nSize, int nType, const char* pDir) {
    const std::shared_ptr<CPlayCtrlProxy> pEngine = SharedEngine();
    if (!pEngine) return false;
    const std::time_t now = std::time(nullptr);
    std::tm when{};
    if (localtime_r(&now, &when) == nullptr) return false;

    const bool bBmp = nType == 0;
    unsigned long nWritten = 0;
    const bool bEncoded =
        bBmp ? pEngine->GetBMP(pBuffer, nSize, &nWritten) : pEngine->GetJPEG(pBuffer, nSize, &nWritten);
    if (!bEncoded || nWritten > nSize) return false;

    const std::string strName = CaptureFileName(pDir, when, NextCaptureNumber(bBmp), bBmp ? "bmp" : "jpeg");
    if (!WriteCaptureFile(strName, pBuffer, nWritten)) return false;
    const std::lock_guard lock(m_captureMutex);
    m_strLastCapFile = strName;
    return true;
}

int COperate::NextCaptureNumber(bool bBmp) {
    const std::lock_guard lock(m_captureMutex);
    return bBmp ? m_nBmpCounter++ : m_nJpegCounter++;
}

std::string COperate::GetLastCapFile() const {
    const std::lock_guard lock(m_captureMutex);
    return m_strLastCapFile;
}

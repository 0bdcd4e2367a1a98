// Picture capture, the one duty of the facade that other threads share.
//
// A capture: take the kept buffer, or a new one where another capture has it; let the engine encode into it,
// or into a larger one where the picture has grown; take a number and thereby a name of its own; have it
// written.
// Several may run at once, each with its own buffer and name.
#include "engine/CaptureFile.h"
#include "engine/Operate.h"
#include "engine/PlayCtrl.h"

#include <ctime>
#include <new>
#include <utility>

namespace {

// Room for three bytes a pixel and a file's headers, also where rows are padded.
unsigned long CaptureBufferSize(long nWidth, long nHeight) {
    return static_cast<unsigned long>(nWidth) * static_cast<unsigned long>(nHeight) * 5;
}

} // namespace

std::shared_ptr<CPlayCtrlProxy> COperate::SharedEngine() const {
    const std::lock_guard lock(m_captureMutex);
    return m_pEngine;
}

COperate::Buffer COperate::TakeCaptureBuffer(unsigned long* pSize) {
    const std::lock_guard lock(m_captureMutex);
    if (m_nPicWidth < 0 || m_nPicHeight < 0) return nullptr;
    const unsigned long nSize = CaptureBufferSize(m_nPicWidth, m_nPicHeight);
    *pSize = nSize;
    if (m_pCapBuffer && m_nCapBufferSize == nSize) return std::move(m_pCapBuffer);
    m_pCapBuffer.reset();
    return Buffer(new (std::nothrow) unsigned char[nSize]);
}

bool COperate::GrowCaptureBuffer(const std::shared_ptr<CPlayCtrlProxy>& pEngine, Buffer* pBuffer,
                                 unsigned long* pSize) {
    long nWidth = 0;
    long nHeight = 0;
    if (!pEngine->GetPictureSize(&nWidth, &nHeight) || nWidth < 0 || nHeight < 0) return false;
    const unsigned long nSize = CaptureBufferSize(nWidth, nHeight);
    if (nSize <= *pSize) return false;
    Buffer pGrown(new (std::nothrow) unsigned char[nSize]);
    if (!pGrown) return false;
    *pBuffer = std::move(pGrown);
    *pSize = nSize;
    const std::lock_guard lock(m_captureMutex);
    // Meanwhile the next file may have been opened, with a size of its own.
    if (m_pEngine == pEngine) {
        m_nPicWidth = nWidth;
        m_nPicHeight = nHeight;
    }
    return true;
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
    const bool bCaptured = CapPicInto(&pBuffer, &nSize, nType, pDir);
    ReturnCaptureBuffer(std::move(pBuffer), nSize);
    return bCaptured;
}

bool COperate::CapPicInto(Buffer* pBuffer, unsigned long* pSize, int nType, const char* pDir) {
    const std::shared_ptr<CPlayCtrlProxy> pEngine = SharedEngine();
    if (!pEngine) return false;
    const std::time_t now = std::time(nullptr);
    std::tm when{};
    if (localtime_r(&now, &when) == nullptr) return false;

    const bool bBmp = nType == 0;
    unsigned long nWritten = 0;
    const auto encode = [&] {
        return bBmp ? pEngine->GetBMP(pBuffer->get(), *pSize, &nWritten)
                    : pEngine->GetJPEG(pBuffer->get(), *pSize, &nWritten);
    };
    // A stream's picture may grow in mid-file.
    if (!encode() && !(GrowCaptureBuffer(pEngine, pBuffer, pSize) && encode())) return false;
    if (nWritten > *pSize) return false;

    const std::string strName = CaptureFileName(pDir, when, NextCaptureNumber(bBmp), bBmp ? "bmp" : "jpeg");
    return m_captureWriter.Write(strName, pBuffer->get(), nWritten);
}

int COperate::NextCaptureNumber(bool bBmp) {
    const std::lock_guard lock(m_captureMutex);
    return bBmp ? m_nBmpCounter++ : m_nJpegCounter++;
}

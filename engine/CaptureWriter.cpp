#include "engine/CaptureWriter.h"

#include "engine/CaptureFile.h"

#include <exception>
#include <utility>

CCaptureWriter::CCaptureWriter(std::function<void()> lateFailure) : m_lateFailure(std::move(lateFailure)) {}

CCaptureWriter::~CCaptureWriter() {
    {
        const std::lock_guard lock(m_mutex);
        m_bEnding = true;
        m_wake.notify_one();
    }
    if (m_thread.joinable()) m_thread.join();
}

CCaptureWriter::CHaste::CHaste(CCaptureWriter& writer) : m_writer(writer) {
    const std::lock_guard lock(m_writer.m_mutex);
    if (m_writer.m_nHasty++ == 0) m_writer.m_hastySince = Clock::now();
    m_writer.m_changed.notify_all();
}

CCaptureWriter::CHaste::~CHaste() {
    const std::lock_guard lock(m_writer.m_mutex);
    --m_writer.m_nHasty;
}

bool CCaptureWriter::Write(const std::string& strName, const unsigned char* pData, std::size_t nSize) {
    try {
        const auto pPicture = std::make_shared<Picture>();
        pPicture->strName = strName;
        pPicture->data.assign(pData, pData + nSize);
        std::unique_lock lock(m_mutex);
        if (!m_pictures.empty() && m_nBytes + nSize > kMostBytes) return false;
        if (!m_thread.joinable()) m_thread = std::thread([this] { Run(); });
        m_pictures.push_back(pPicture);
        m_nBytes += nSize;
        m_wake.notify_one();
        return AwaitLocked(lock, *pPicture);
    } catch (const std::exception&) {
        return false; // memory or a thread that is not to be had
    }
}

bool CCaptureWriter::AwaitLocked(std::unique_lock<std::mutex>& lock, Picture& picture) {
    while (picture.outcome == Outcome::None) {
        if (m_nHasty == 0) {
            m_changed.wait(lock);
        } else if (const auto until = m_hastySince + kPatience; Clock::now() < until) {
            m_changed.wait_until(lock, until);
        } else {
            picture.bLeft = true;
            return true;
        }
    }
    return picture.outcome == Outcome::Written;
}

void CCaptureWriter::Run() {
    std::unique_lock lock(m_mutex);
    for (;;) {
        m_wake.wait(lock, [this] { return m_bEnding || !m_pictures.empty(); });
        if (m_pictures.empty()) return;
        const std::shared_ptr<Picture> pPicture = m_pictures.front();
        lock.unlock();
        const bool bWritten =
            WriteCaptureFile(pPicture->strName, pPicture->data.data(), pPicture->data.size());
        lock.lock();
        m_pictures.pop_front();
        m_nBytes -= pPicture->data.size();
        ++m_nWritten;
        pPicture->outcome = bWritten ? Outcome::Written : Outcome::Failed;
        if (bWritten) m_strLast = pPicture->strName;
        const bool bTell = !bWritten && pPicture->bLeft;
        if (bTell) GiveUpLeftLocked();
        m_changed.notify_all();
        if (!bTell || !m_lateFailure) continue;
        const std::function<void()> tell = m_lateFailure;
        m_bTelling = true;
        lock.unlock();
        tell();
        lock.lock();
        m_bTelling = false;
        m_changed.notify_all();
    }
}

void CCaptureWriter::GiveUpLeftLocked() {
    std::erase_if(m_pictures, [this](const std::shared_ptr<Picture>& pPicture) {
        if (pPicture->bLeft) m_nBytes -= pPicture->data.size();
        return pPicture->bLeft;
    });
}

bool CCaptureWriter::Finish(std::chrono::milliseconds patience) {
    std::unique_lock lock(m_mutex);
    bool bMoves = true;
    while (!m_pictures.empty() && bMoves) {
        const std::size_t nWritten = m_nWritten;
        bMoves = m_changed.wait_for(lock, patience, [&] { return m_nWritten != nWritten; });
    }
    m_lateFailure = nullptr;
    m_changed.wait(lock, [this] { return !m_bTelling; });
    return m_pictures.empty();
}

std::string CCaptureWriter::LastWritten() const {
    const std::lock_guard lock(m_mutex);
    return m_strLast;
}

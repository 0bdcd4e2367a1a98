#include "ordune/BlockScanner.h"

#include "ordune/NalScanner.h"

#include <algorithm>
#include <pthread.h>
#include <system_error>
#include <utility>

namespace ordune {

namespace {

constexpr std::size_t kStartCode = 3;

} // namespace

BlockScanner::BlockScanner(std::shared_ptr<const FileSource> file, std::size_t block)
    : m_file(std::move(file)), m_block(block) {}

BlockScanner::~BlockScanner() {
    {
        const std::lock_guard lock(m_mutex);
        m_stop = true;
    }
    m_changed.notify_all();
    for (std::thread& thread : m_threads)
        thread.join();
}

const ScannedBlock& BlockScanner::Next(bool ahead) {
    if (ahead && m_threads.empty()) StartThreads();
    std::unique_lock lock(m_mutex);
    const std::size_t number = m_taken++;
    ScannedBlock& block = m_blocks[number % kBlocks];
    if (m_threads.empty()) {
        m_claimed = m_taken;
        lock.unlock();
        Fill(number, block);
        return block;
    }
    m_changed.notify_all(); // the block before may be filled anew
    m_changed.wait(lock, [&] { return m_ready[number % kBlocks] || m_failure; });
    if (m_failure) std::rethrow_exception(m_failure);
    m_ready[number % kBlocks] = false;
    return block;
}

void BlockScanner::Fill(std::size_t number, ScannedBlock& block) const {
    block.offset = static_cast<std::int64_t>(number * m_block);
    const std::int64_t left = std::max<std::int64_t>(m_file->Size() - block.offset, 0);
    const auto want = static_cast<std::size_t>(
        std::min<std::int64_t>(left, static_cast<std::int64_t>(m_block + kLookAhead)));
    block.bytes.resize(std::max(block.bytes.size(), want));
    const std::int64_t got = want > 0 ? m_file->ReadAt(block.offset, block.bytes.data(), want) : 0;
    block.filled = static_cast<std::size_t>(std::max<std::int64_t>(got, 0));
    block.last = block.filled < want || want == static_cast<std::size_t>(left);
    const std::size_t span = block.last ? block.filled : m_block;
    block.end = block.offset + static_cast<std::int64_t>(span);

    block.codes.clear();
    const std::uint8_t* data = block.bytes.data();
    for (std::size_t at = 0; at < span; at += kStartCode) {
        at = FindStartCode(data, at, block.filled);
        if (at < span) block.codes.push_back(static_cast<std::uint32_t>(at));
    }
}

void BlockScanner::StartThreads() {
    m_threads.reserve(kThreads);
    try {
        while (m_threads.size() < kThreads) {
            m_threads.emplace_back([this] {
                pthread_setname_np(pthread_self(), "index-read");
                Run();
            });
        }
    } catch (const std::system_error&) {
        // Fewer read as well, and without any the caller does: slower, but the same.
    }
}

void BlockScanner::Run() {
    std::unique_lock lock(m_mutex);
    while (true) {
        // The place of the block that the caller has in hand, the one before m_taken, is not free.
        m_changed.wait(lock, [&] { return m_stop || m_claimed + 1 < m_taken + kBlocks; });
        if (m_stop) return;
        const std::size_t number = m_claimed++;
        ScannedBlock& block = m_blocks[number % kBlocks];
        lock.unlock();
        std::exception_ptr failure;
        try {
            Fill(number, block);
        } catch (...) {
            failure = std::current_exception();
        }
        lock.lock();
        if (failure) m_failure = failure;
        m_ready[number % kBlocks] = true;
        // Behind the last block there is nothing to claim.
        if (failure || block.last) m_stop = true;
        m_changed.notify_all();
    }
}

} // namespace ordune

// Reads a file block by block and finds the start codes of each, on threads of its own where that is wanted:
// to copy a block out of the page cache takes longer than all that is done with its codes.
//
// Used by one thread at a time.
#pragma once

#include "ordune/FileSource.h"

#include <array>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

namespace ordune {

// A piece of the file with what stands behind it.
struct ScannedBlock {
    std::int64_t offset = 0;         // in the file
    std::vector<std::uint8_t> bytes; // `filled` of them
    std::size_t filled = 0;
    // Where the start codes are that begin in this block, from its first byte. Each has kLookAhead bytes from
    // there on to `filled`, or the file ends.
    std::vector<std::uint32_t> codes;
    std::int64_t end = 0; // where the next block begins; behind the last byte of the last one
    bool last = false;    // of the file, or of what can be read of it
};

class BlockScanner {
  public:
    // As much of what stands behind a start code as is there.
    static constexpr std::size_t kLookAhead = 4096;

    // Throws std::bad_alloc.
    BlockScanner(std::shared_ptr<const FileSource> file, std::size_t block);
    // Waits for a read that is under way.
    ~BlockScanner();
    BlockScanner(const BlockScanner&) = delete;
    BlockScanner& operator=(const BlockScanner&) = delete;

    // The next block, to be asked for until the last one has come; the one before is gone then. `ahead`:
    // those that follow are read meanwhile, from now on. Throws std::bad_alloc.
    const ScannedBlock& Next(bool ahead);

  private:
    static constexpr std::size_t kThreads = 2;
    // Blocks that are handed out, are being filled or lie ready: enough that nobody waits at every one.
    static constexpr std::size_t kBlocks = 2 * kThreads + 2;

    // The block of this number; each may be filled at the same time as others.
    void Fill(std::size_t number, ScannedBlock& block) const;
    void StartThreads();
    void Run();

    // Immutable.
    const std::shared_ptr<const FileSource> m_file;
    const std::size_t m_block;

    // Block n is at n % kBlocks: the caller's when it has been handed out last, else of the thread that has
    // claimed it until it is ready.
    std::array<ScannedBlock, kBlocks> m_blocks;

    std::mutex m_mutex;
    std::condition_variable m_changed;
    // Guarded by m_mutex, numbers of blocks:
    std::size_t m_claimed = 0; // to be filled next
    std::size_t m_taken = 0;   // to be handed out next
    std::array<bool, kBlocks> m_ready{};
    bool m_stop = false;          // nothing is to be claimed any more
    std::exception_ptr m_failure; // of a thread, which has ended then

    std::vector<std::thread> m_threads;
};

} // namespace ordune

// The content of a raw H.264 file. Its index is made on the spot when that takes no longer than a moment;
// else a thread of its own goes on with it, and is stopped and joined by the object's end.
#pragma once

#include "ordune/FileContent.h"
#include "ordune/ParameterHistory.h"
#include "ordune/RawIndexer.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <thread>

namespace ordune {

class RawContent final : public FileContent {
  public:
    // Whether the file looks like a raw H.264 stream: by its content, near its start.
    static bool Recognise(const FileSource& file);

    // Indexes for as long as `patience`, then leaves the rest to the thread. NoVideo where there is no
    // picture.
    static Result<std::shared_ptr<FileContent>> Make(const std::shared_ptr<const FileSource>& file,
                                                     std::chrono::milliseconds patience,
                                                     std::size_t block = RawIndexer::kBlock);
    ~RawContent() override;

    Result<std::unique_ptr<UnitReader>> MakeUnitReader(std::shared_ptr<const FileSource> file,
                                                       CancelToken cancel) const override;
    std::uint64_t WhenComplete(std::function<void()> done) override;
    void Withdraw(std::uint64_t number) override;

  private:
    RawContent(const std::shared_ptr<const FileSource>& file, std::size_t block);
    bool Describe();
    void Run();
    void Announce();

    // Immutable after Make.
    std::shared_ptr<ParameterHistory> m_history = std::make_shared<ParameterHistory>();

    // Make's thread, then the index thread alone.
    RawIndexer m_indexer;

    // Atomic.
    std::atomic<bool> m_stop{false};

    // Guarded by m_mutex. A call being made is out of the map and named in m_calling.
    std::mutex m_mutex;
    std::condition_variable m_called;
    std::map<std::uint64_t, std::function<void()>> m_waiting;
    std::uint64_t m_last_number = 0;
    std::uint64_t m_calling = 0;
    bool m_announced = false;

    std::thread m_thread; // last: it uses everything above
};

} // namespace ordune

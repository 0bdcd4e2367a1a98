#include "ordune/FrameReader.h"

#include "ordune/Ffmpeg.h"
#include "ordune/ReaderShares.h"
#include "ordune/ThreadedFrameReader.h"

#include <algorithm>
#include <new>
#include <system_error>
#include <thread>

#include <unistd.h>

namespace ordune {

namespace {

constexpr std::size_t kMostCacheBytes = std::size_t{512} << 20;
constexpr unsigned kMostThreads = 16;
// Unused buffers kept for the next pictures: with them the memory stays within a twentieth over the budget.
constexpr std::size_t kSpareShare = 20;
constexpr std::size_t kLeastSpareBytes = std::size_t{16} << 20;

std::size_t DefaultCacheBytes() {
    const long pages = sysconf(_SC_PHYS_PAGES);
    const long page_bytes = sysconf(_SC_PAGESIZE);
    if (pages <= 0 || page_bytes <= 0) return kMostCacheBytes;
    return std::min(kMostCacheBytes,
                    static_cast<std::size_t>(pages) * static_cast<std::size_t>(page_bytes) / 8);
}

int DefaultThreads() {
    return static_cast<int>(std::clamp(std::thread::hardware_concurrency(), 1U, kMostThreads));
}

ReaderMeans MakeMeans(std::size_t cache_bytes, int threads) {
    const std::size_t bytes = cache_bytes == 0 ? DefaultCacheBytes() : cache_bytes;
    return {std::make_shared<ReaderShares>(bytes, threads <= 0 ? DefaultThreads() : threads),
            std::make_shared<PicturePool>(std::max(kLeastSpareBytes, bytes / kSpareShare))};
}

// Those of the process. Never destroyed: a program may end with files open.
const ReaderMeans& SharedMeans() {
    static const auto* const means = new ReaderMeans(MakeMeans(0, 0));
    return *means;
}

} // namespace

Result<std::unique_ptr<FrameReader>> FrameReader::Make(std::shared_ptr<const MediaFile> file,
                                                       const FrameReaderOptions& options,
                                                       std::function<void()> progress) {
    ffmpeg::SetUp();
    const std::string path = file->Path();
    try {
        const bool shared = options.cache_bytes == 0 && options.threads <= 0;
        auto reader = std::make_unique<ThreadedFrameReader>(
            std::move(file), shared ? SharedMeans() : MakeMeans(options.cache_bytes, options.threads),
            options.ahead, std::move(progress));
        reader->Begin();
        return Result<std::unique_ptr<FrameReader>>(std::move(reader));
    } catch (const std::bad_alloc&) {
        return Error{ErrorKind::OutOfMemory, "no memory for a frame reader", path};
    } catch (const std::system_error& error) {
        return Error{ErrorKind::OutOfMemory, std::string("cannot start the decode thread: ") + error.what(),
                     path};
    }
}

} // namespace ordune

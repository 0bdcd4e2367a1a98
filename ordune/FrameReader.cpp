#include "ordune/FrameReader.h"

#include "ordune/Ffmpeg.h"
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

std::size_t DefaultCacheBytes() {
    const long pages = sysconf(_SC_PHYS_PAGES);
    const long page_bytes = sysconf(_SC_PAGESIZE);
    if (pages <= 0 || page_bytes <= 0) return kMostCacheBytes;
    return std::min(kMostCacheBytes,
                    static_cast<std::size_t>(pages) * static_cast<std::size_t>(page_bytes) / 8);
}

} // namespace

Result<std::unique_ptr<FrameReader>> FrameReader::Make(std::shared_ptr<const MediaFile> file,
                                                       const FrameReaderOptions& options,
                                                       std::function<void()> progress) {
    ffmpeg::QuietLog();
    FrameReaderOptions settled = options;
    if (settled.cache_bytes == 0) settled.cache_bytes = DefaultCacheBytes();
    if (settled.threads <= 0)
        settled.threads = static_cast<int>(std::clamp(std::thread::hardware_concurrency(), 1U, kMostThreads));
    const std::string path = file->Path();
    try {
        auto reader = std::make_unique<ThreadedFrameReader>(std::move(file), settled, std::move(progress));
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

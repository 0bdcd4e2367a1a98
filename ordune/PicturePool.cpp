#include "ordune/PicturePool.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/imgutils.h>
#include <libavutil/pixdesc.h>
}

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdint>
#include <iterator>
#include <mutex>
#include <new>
#include <vector>

#include <sys/mman.h>

namespace ordune {

namespace {

constexpr std::size_t kPage = 4096;
// What the widest vector instructions want of rows and planes; decoders may read this much past a plane's
// end.
constexpr std::size_t kAlignment = 64;
constexpr std::size_t kPadding = 2 * kAlignment;

std::size_t RoundUp(std::size_t size, std::size_t to) {
    return (size + to - 1) / to * to;
}

std::uint8_t* MapMemory(std::size_t bytes) {
    void* memory = mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED) return nullptr;
    // Only a wish: where the kernel has no large pages, small ones do.
    madvise(memory, bytes, MADV_HUGEPAGE);
    return static_cast<std::uint8_t*>(memory);
}

struct Layout {
    std::array<std::size_t, 4> offsets{};
    std::array<int, 4> strides{};
    int planes = 0;
    std::size_t bytes = 0;
};

// Where the planes of such a picture lie in one buffer; false for formats that are not plain planes.
bool MakeLayout(AVCodecContext* context, const AVFrame* frame, Layout& layout) {
    const auto format = static_cast<AVPixelFormat>(frame->format);
    const AVPixFmtDescriptor* description = av_pix_fmt_desc_get(format);
    if (!description || (description->flags & (AV_PIX_FMT_FLAG_HWACCEL | AV_PIX_FMT_FLAG_PAL)) != 0)
        return false;

    int width = frame->width;
    int height = frame->height;
    std::array<int, AV_NUM_DATA_POINTERS> wanted{};
    avcodec_align_dimensions2(context, &width, &height, wanted.data());
    // Rows of the subsampled planes come out aligned too.
    width =
        static_cast<int>(RoundUp(static_cast<std::size_t>(width), kAlignment << description->log2_chroma_w));
    if (av_image_fill_linesizes(layout.strides.data(), format, width) < 0) return false;

    std::array<std::ptrdiff_t, 4> strides{};
    for (std::size_t i = 0; i < strides.size(); ++i)
        strides[i] = layout.strides[i];
    std::array<std::size_t, 4> sizes{};
    if (av_image_fill_plane_sizes(sizes.data(), format, height, strides.data()) < 0) return false;
    layout.planes = av_pix_fmt_count_planes(format);
    for (int i = 0; i < layout.planes; ++i) {
        const auto plane = static_cast<std::size_t>(i);
        layout.offsets[plane] = layout.bytes;
        layout.bytes += RoundUp(sizes[plane] + kPadding, kAlignment);
    }
    layout.bytes = RoundUp(layout.bytes, kPage);
    return layout.planes > 0;
}

} // namespace

// The buffers. Those in use hold it alive, so that they can be given back after the pool's end.
struct PicturePool::Store : std::enable_shared_from_this<PicturePool::Store> {
    // Immutable.
    std::size_t spare_limit = 0;

    struct Buffer {
        std::uint8_t* memory = nullptr;
        std::size_t bytes = 0;
    };

    // Guarded by mutex.
    mutable std::mutex mutex;
    std::vector<Buffer> spare; // the one given back last stands last
    std::size_t spare_bytes = 0;
    std::size_t total_bytes = 0;
    std::size_t made = 0;
    bool closed = false;

    // One buffer in use.
    struct Loan {
        std::shared_ptr<Store> store;
        std::size_t bytes = 0;
        // libavutil counts references by means that no thread sanitizer sees; this says what they say: all
        // that was done at lending comes before the giving back, whichever thread does it.
        std::atomic<bool> lent{false};
    };

    ~Store() { FreeAll(spare); }

    static void FreeAll(const std::vector<Buffer>& buffers) {
        for (const Buffer& buffer : buffers)
            munmap(buffer.memory, buffer.bytes);
    }

    std::uint8_t* TakeSpare(std::size_t bytes) {
        const std::lock_guard lock(mutex);
        const auto found = std::find_if(spare.rbegin(), spare.rend(),
                                        [bytes](const Buffer& buffer) { return buffer.bytes == bytes; });
        if (found == spare.rend()) return nullptr;
        std::uint8_t* const memory = found->memory;
        spare.erase(std::prev(found.base()));
        spare_bytes -= bytes;
        return memory;
    }

    std::uint8_t* Take(std::size_t bytes) {
        if (std::uint8_t* spare_memory = TakeSpare(bytes)) return spare_memory;
        std::uint8_t* const memory = MapMemory(bytes);
        if (!memory) return nullptr;
        const std::lock_guard lock(mutex);
        total_bytes += bytes;
        ++made;
        return memory;
    }

    // Called as a picture ends, where nothing may throw: without memory to note it, the buffer is not kept.
    void GiveBack(std::uint8_t* memory, std::size_t bytes) {
        if (!Keep({memory, bytes})) munmap(memory, bytes);
        for (Buffer stale = TakeSurplus(); stale.memory; stale = TakeSurplus())
            munmap(stale.memory, stale.bytes);
    }

    bool Keep(const Buffer& buffer) {
        const std::lock_guard lock(mutex);
        if (!closed && buffer.bytes <= spare_limit) {
            try {
                spare.push_back(buffer);
                spare_bytes += buffer.bytes;
                return true;
            } catch (const std::bad_alloc&) {
            }
        }
        total_bytes -= buffer.bytes;
        return false;
    }

    // The oldest spare buffer while there are too many: its size may not be asked for any more.
    Buffer TakeSurplus() {
        const std::lock_guard lock(mutex);
        if (spare_bytes <= spare_limit) return {};
        const Buffer oldest = spare.front();
        spare.erase(spare.begin());
        spare_bytes -= oldest.bytes;
        total_bytes -= oldest.bytes;
        return oldest;
    }

    void Trim(bool close) {
        std::vector<Buffer> stale;
        {
            const std::lock_guard lock(mutex);
            stale.swap(spare);
            total_bytes -= spare_bytes;
            spare_bytes = 0;
            closed = closed || close;
        }
        FreeAll(stale);
    }

    static void Release(void* opaque, std::uint8_t* data) {
        const std::unique_ptr<Loan> loan(static_cast<Loan*>(opaque));
        static_cast<void>(loan->lent.load(std::memory_order_acquire));
        loan->store->GiveBack(data, loan->bytes);
    }
};

PicturePool::PicturePool(std::size_t spare_bytes) : m_store(std::make_shared<Store>()) {
    m_store->spare_limit = spare_bytes;
}

PicturePool::~PicturePool() {
    m_store->Trim(true);
}

bool PicturePool::Fill(AVCodecContext* context, AVFrame* frame) {
    Layout layout;
    if (!MakeLayout(context, frame, layout)) return false;

    std::unique_ptr<Store::Loan> loan(new (std::nothrow) Store::Loan{m_store, layout.bytes});
    if (!loan) return false;
    std::uint8_t* buffer = m_store->Take(layout.bytes);
    if (!buffer) return false;
    loan->lent.store(true, std::memory_order_release);
    frame->buf[0] = av_buffer_create(buffer, layout.bytes, &Store::Release, loan.get(), 0);
    if (!frame->buf[0]) {
        m_store->GiveBack(buffer, layout.bytes);
        return false;
    }
    static_cast<void>(loan.release()); // the buffer's end frees it
    for (int i = 0; i < layout.planes; ++i) {
        const auto plane = static_cast<std::size_t>(i);
        frame->data[i] = buffer + layout.offsets[plane];
        frame->linesize[i] = layout.strides[plane];
    }
    frame->extended_data = frame->data;
    return true;
}

void PicturePool::Trim() {
    m_store->Trim(false);
}

std::size_t PicturePool::Bytes() const {
    const std::lock_guard lock(m_store->mutex);
    return m_store->total_bytes;
}

std::size_t PicturePool::Made() const {
    const std::lock_guard lock(m_store->mutex);
    return m_store->made;
}

} // namespace ordune

#include "dravo/ImageSender.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>
#include <xcb/xcbext.h>

namespace dravo {

namespace {

constexpr std::uint8_t kSentByClient = 0x80;
// Room for the window to grow by a quarter before memory is asked for again; given back when three quarters
// are idle.
constexpr std::size_t kSlackDivisor = 4;
// Rows are sent in pieces of at most this, which every connection takes without a long wait.
constexpr std::size_t kLargestPiece = std::size_t{1} << 20;
constexpr std::size_t kRowPadding = 4; // what the server expects rows to be a multiple of, in bytes

std::size_t RoundedUp(std::size_t value, std::size_t unit) {
    return (value + unit - 1) / unit * unit;
}

} // namespace

ImageSender::ImageSender(XConnection& connection, XWindow& window)
    : m_connection(connection), m_window(window) {
    const xcb_query_extension_reply_t* shm = xcb_get_extension_data(connection.Raw(), &xcb_shm_id);
    m_use_shm = shm && shm->present != 0;
    if (m_use_shm) {
        m_first_shm_event = shm->first_event;
        m_shm_opcode = shm->major_opcode;
    }
}

ImageSender::~ImageSender() {
    for (const Buffer& buffer : m_buffers) {
        if (buffer.answer) xcb_discard_reply(m_connection.Raw(), *buffer.answer);
    }
}

bool ImageSender::IsReady() const {
    return std::any_of(m_buffers.begin(), m_buffers.end(),
                       [](const Buffer& b) { return b.with_server == 0; });
}

std::uint8_t* ImageSender::Room(Buffer& buffer, std::size_t bytes) {
    if (m_use_shm) {
        const std::size_t had = buffer.shared ? buffer.shared->Bytes() : 0;
        if (had >= bytes && had / kSlackDivisor <= bytes + kLargestPiece) return buffer.shared->Data();
        buffer.shared.reset();
        buffer.shared = ShmSegment::Make(m_connection, bytes + bytes / kSlackDivisor);
        if (buffer.shared) return buffer.shared->Data();
        GiveUpSharedMemory();
    }
    buffer.own.resize(bytes + kRowAlignment);
    std::uint8_t* first = buffer.own.data();
    return first + (kRowAlignment - reinterpret_cast<std::uintptr_t>(first) % kRowAlignment) % kRowAlignment;
}

void ImageSender::GiveUpSharedMemory() {
    m_use_shm = false;
    m_sent = nullptr;
    for (Buffer& buffer : m_buffers) {
        buffer.shared.reset();
        buffer.with_server = 0;
    }
}

ImageSender::Canvas ImageSender::Begin(int width, int height) try {
    m_writing = nullptr;
    const auto free = std::find_if(m_buffers.begin(), m_buffers.end(),
                                   [this](const Buffer& b) { return b.with_server == 0 && &b != m_sent; });
    const auto any = free != m_buffers.end()
                         ? free
                         : std::find_if(m_buffers.begin(), m_buffers.end(),
                                        [](const Buffer& b) { return b.with_server == 0; });
    if (any == m_buffers.end()) return {};
    Buffer& buffer = *any;
    if (&buffer == m_sent) m_sent = nullptr;
    const std::size_t row =
        static_cast<std::size_t>(width) * static_cast<std::size_t>(m_window.Layout().BytesPerPixel());
    const std::size_t stride = RoundedUp(row, kRowAlignment);
    std::uint8_t* pixels = Room(buffer, stride * static_cast<std::size_t>(height));
    buffer.width = width;
    buffer.height = height;
    buffer.stride = static_cast<int>(stride);
    m_writing = &buffer;
    return {pixels, buffer.stride};
} catch (const std::bad_alloc&) {
    return {};
}

void ImageSender::Send(int x, int y) {
    if (!m_writing) return;
    m_writing->x = x;
    m_writing->y = y;
    m_sent = m_writing;
    m_writing = nullptr;
    Put(*m_sent);
}

bool ImageSender::SendAgain() {
    if (!m_sent) return false;
    // Over the connection a second copy of the same picture would only queue up behind the first.
    if (!m_use_shm && m_sent->with_server > 0) return false;
    Put(*m_sent);
    return true;
}

void ImageSender::Put(Buffer& buffer) {
    if (!m_use_shm) {
        PutThroughConnection(buffer);
        return;
    }
    const int row_pixels = buffer.stride / m_window.Layout().BytesPerPixel();
    xcb_shm_put_image(m_connection.Raw(), m_window.Id(), m_window.Gc(),
                      static_cast<std::uint16_t>(row_pixels), static_cast<std::uint16_t>(buffer.height), 0, 0,
                      static_cast<std::uint16_t>(buffer.width), static_cast<std::uint16_t>(buffer.height),
                      static_cast<std::int16_t>(buffer.x), static_cast<std::int16_t>(buffer.y),
                      m_window.Depth(), XCB_IMAGE_FORMAT_Z_PIXMAP,
                      /*send_event=*/1, buffer.shared->Id(), 0);
    ++buffer.with_server;
}

void ImageSender::PutThroughConnection(Buffer& buffer) {
    const std::size_t pixel_bytes = static_cast<std::size_t>(m_window.Layout().BytesPerPixel());
    const std::size_t used = static_cast<std::size_t>(buffer.width) * pixel_bytes;
    const std::size_t row = RoundedUp(used, kRowPadding);
    // The longest request is told in units of four bytes, its head included.
    const std::size_t longest = std::size_t{xcb_get_maximum_request_length(m_connection.Raw())} * 4 -
                                sizeof(xcb_put_image_request_t) - 4;
    const int rows = static_cast<int>(std::max<std::size_t>(std::min(longest, kLargestPiece) / row, 1));
    m_rows.resize(row * static_cast<std::size_t>(rows));
    const std::uint8_t* pixels =
        Room(buffer, static_cast<std::size_t>(buffer.stride) * static_cast<std::size_t>(buffer.height));
    for (int y = 0; y < buffer.height; y += rows) {
        const int count = std::min(rows, buffer.height - y);
        for (int i = 0; i < count; ++i) {
            std::memcpy(m_rows.data() + static_cast<std::size_t>(i) * row,
                        pixels + static_cast<std::ptrdiff_t>(y + i) * buffer.stride, used);
        }
        xcb_put_image(m_connection.Raw(), XCB_IMAGE_FORMAT_Z_PIXMAP, m_window.Id(), m_window.Gc(),
                      static_cast<std::uint16_t>(buffer.width), static_cast<std::uint16_t>(count),
                      static_cast<std::int16_t>(buffer.x), static_cast<std::int16_t>(buffer.y + y), 0,
                      m_window.Depth(), static_cast<std::uint32_t>(row * static_cast<std::size_t>(count)),
                      m_rows.data());
    }
    // Answered in the order of requests: when this answer is here, the picture has been taken.
    buffer.answer = xcb_get_input_focus(m_connection.Raw()).sequence;
    ++buffer.with_server;
}

void ImageSender::HandleEvent(const xcb_generic_event_t& event) {
    const std::uint8_t type = event.response_type & ~kSentByClient;
    if (type == 0) {
        // A failed drawing is never reported as completed; without shared memory the picture gets there all
        // the same.
        const auto& error = reinterpret_cast<const xcb_generic_error_t&>(event);
        if (m_use_shm && error.major_code == m_shm_opcode) GiveUpSharedMemory();
        return;
    }
    if (!m_use_shm || type != m_first_shm_event + XCB_SHM_COMPLETION) return;
    const auto& completion = reinterpret_cast<const xcb_shm_completion_event_t&>(event);
    for (Buffer& buffer : m_buffers) {
        if (buffer.shared && buffer.shared->Id() == completion.shmseg && buffer.with_server > 0)
            --buffer.with_server;
    }
}

void ImageSender::HandleAnswers() {
    for (Buffer& buffer : m_buffers) {
        if (!buffer.answer) continue;
        void* reply = nullptr;
        xcb_generic_error_t* failure = nullptr;
        if (xcb_poll_for_reply(m_connection.Raw(), *buffer.answer, &reply, &failure) == 0) continue;
        std::free(reply);
        std::free(failure);
        buffer.answer.reset();
        buffer.with_server = 0;
    }
}

} // namespace dravo

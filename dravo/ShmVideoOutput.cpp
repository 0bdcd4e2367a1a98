#include "dravo/ShmVideoOutput.h"

#include "dravo/BrokenPipeGuard.h"

#include <algorithm>
#include <new>
#include <utility>

namespace dravo {

namespace {

constexpr int kPixelBytes = 4;

} // namespace

std::unique_ptr<VideoOutput> MakeXVideoOutput(std::uint32_t window) {
    return ShmVideoOutput::Make(window);
}

std::unique_ptr<ShmVideoOutput> ShmVideoOutput::Make(std::uint32_t window) {
    const BrokenPipeGuard guard;
    auto connection = XConnection::Open();
    if (!connection) return nullptr;
    auto own_window = XWindow::Make(*connection, window);
    if (!own_window) return nullptr;
    return std::unique_ptr<ShmVideoOutput>(new ShmVideoOutput(std::move(connection), std::move(own_window)));
}

ShmVideoOutput::ShmVideoOutput(std::unique_ptr<XConnection> connection, std::unique_ptr<XWindow> window)
    : m_connection(std::move(connection)), m_window(std::move(window)),
      m_sender(std::make_unique<ImageSender>(*m_connection, *m_window)) {}

ShmVideoOutput::~ShmVideoOutput() {
    const BrokenPipeGuard guard;
    m_sender.reset();
    m_window.reset();
    m_connection.reset();
}

int ShmVideoOutput::Descriptor() const {
    return m_connection->Descriptor();
}

OutputState ShmVideoOutput::State() const {
    return m_window->Exists() && m_connection->IsAlive() ? OutputState::Working : OutputState::Gone;
}

OutputState ShmVideoOutput::Show(ordune::PicturePtr picture, const DrawOptions& options) {
    const BrokenPipeGuard guard;
    m_picture = std::move(picture);
    m_options = options;
    m_new = true;
    ReadEvents();
    return Finish();
}

OutputState ShmVideoOutput::Redraw() {
    const BrokenPipeGuard guard;
    m_damaged = true;
    ReadEvents();
    return Finish();
}

OutputState ShmVideoOutput::HandleEvents() {
    const BrokenPipeGuard guard;
    ReadEvents();
    return Finish();
}

void ShmVideoOutput::TakeEvent(const xcb_generic_event_t& event) {
    const bool shared = m_sender->UsesSharedMemory();
    m_window->HandleEvent(event);
    m_sender->HandleEvent(event);
    if (shared != m_sender->UsesSharedMemory()) m_new = true; // the picture on its way was lost
}

void ShmVideoOutput::ReadEvents() {
    while (const XEvent event = m_connection->NextEvent())
        TakeEvent(*event);
    m_sender->HandleAnswers();
}

// Sending may read from the connection. What it read makes the descriptor silent, so it is dealt with here; a
// caller that waits for the descriptor would otherwise never learn of it.
OutputState ShmVideoOutput::Finish() {
    constexpr int kRounds =
        4; // a window whose size changes faster than that gets its picture with the next event
    for (int round = 0; round < kRounds; ++round) {
        DrawWhatIsDue();
        m_connection->Flush();
        bool news = false;
        while (const XEvent event = m_connection->NextQueuedEvent()) {
            TakeEvent(*event);
            news = true;
        }
        m_sender->HandleAnswers();
        if (!news) break;
    }
    return State();
}

void ShmVideoOutput::DrawWhatIsDue() {
    if (m_window->TakeDamage()) m_damaged = true;
    if (!m_picture || State() == OutputState::Gone || !m_window->IsMapped()) return;
    if (m_new || m_damaged) Draw();
}

void ShmVideoOutput::Draw() {
    const ordune::PictureArea area = ordune::ClipToPicture(m_options.area, *m_picture);
    const Box box =
        FitInWindow(area.width, area.height, AspectOf(*m_picture), m_window->Width(), m_window->Height());
    if (box.IsEmpty()) {
        m_window->Show();
        m_window->Blacken({});
        m_sender->Forget();
        m_new = false;
        m_damaged = false;
        return;
    }
    const bool moved = !(box == m_drawn);
    if (m_new || moved || !m_sender->SendAgain()) {
        if (!m_sender->IsReady()) return; // drawn when a buffer is back
        if (!Fill(box, area)) {
            m_new = false; // what failed once would fail with every event; the next picture is another try
            m_damaged = false;
            return;
        }
        m_window->Show();
        m_sender->Send(box.x, box.y);
    }
    if (moved || m_damaged) m_window->Blacken(box);
    m_drawn = box;
    m_new = false;
    m_damaged = false;
}

bool ShmVideoOutput::Fill(const Box& box, const ordune::PictureArea& area) try {
    const ImageSender::Canvas canvas = m_sender->Begin(box.width, box.height);
    if (!canvas.pixels) return false;
    const PixelLayout& layout = m_window->Layout();
    std::uint8_t* pixels = canvas.pixels;
    int stride = canvas.stride;
    if (!layout.IsBgra()) {
        stride = box.width * kPixelBytes;
        m_scratch.resize(static_cast<std::size_t>(stride) * static_cast<std::size_t>(box.height));
        pixels = m_scratch.data();
    }
    if (!m_scaler.Scale(*m_picture, area, m_options.quality, pixels, box.width, box.height, stride))
        return false;
    m_colour.Set(m_options.colour, m_options.brightness_offset);
    m_colour.Apply(pixels, box.width, box.height, stride);
    if (!layout.IsBgra()) {
        for (int y = 0; y < box.height; ++y) {
            layout.Convert(pixels + static_cast<std::ptrdiff_t>(y) * stride,
                           canvas.pixels + static_cast<std::ptrdiff_t>(y) * canvas.stride, box.width);
        }
    }
    return true;
} catch (const std::bad_alloc&) {
    return false;
}

} // namespace dravo

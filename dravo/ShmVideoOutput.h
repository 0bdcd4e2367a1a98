// Pictures into an X window by way of the processor: scaled to the size of the box they fill, coloured,
// handed over in shared memory.
//
// Owns its connection, its window inside the given one, and two buffers. Lives on the play thread. No call
// waits for an answer of the server, except at making; without shared memory a picture has to pass through
// the connection, and waits there while the server reads nothing. A picture that the server was not ready for
// is drawn by a later call: HandleEvents when the descriptor becomes readable, or the next Show.
#pragma once

#include "dravo/ColourAdjust.h"
#include "dravo/ImageSender.h"
#include "dravo/Letterbox.h"
#include "dravo/VideoOutput.h"
#include "dravo/XConnection.h"
#include "dravo/XWindow.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace dravo {

class ShmVideoOutput final : public VideoOutput {
  public:
    // Null when there is no server, no such window, or one whose pixels have no direct colours.
    static std::unique_ptr<ShmVideoOutput> Make(std::uint32_t window);
    ~ShmVideoOutput() override;

    OutputState Show(ordune::PicturePtr picture, const DrawOptions& options) override;
    OutputState Redraw() override;
    int Descriptor() const override;
    OutputState HandleEvents() override;

    // Whether pictures go through shared memory, not through the connection.
    bool UsesSharedMemory() const { return m_sender->UsesSharedMemory(); }

  private:
    ShmVideoOutput(std::unique_ptr<XConnection> connection, std::unique_ptr<XWindow> window);

    void TakeEvent(const xcb_generic_event_t& event);
    void ReadEvents();
    void Draw();
    void DrawWhatIsDue();
    bool Fill(const Box& box, const ordune::PictureArea& area);
    OutputState Finish();
    OutputState State() const;

    // In the order in which they need each other.
    std::unique_ptr<XConnection> m_connection;
    std::unique_ptr<XWindow> m_window;
    std::unique_ptr<ImageSender> m_sender;

    ordune::PictureScaler m_scaler;
    ColourAdjust m_colour;
    std::vector<std::uint8_t> m_scratch; // BGRA for servers with another layout

    ordune::PicturePtr m_picture;
    DrawOptions m_options;
    Box m_drawn;            // where the picture sent last lies; empty: nowhere
    bool m_new = false;     // the picture or the way to draw it has changed since it was drawn
    bool m_damaged = false; // the window lost content or changed its size since the picture was drawn
};

} // namespace dravo

// Where a port's pictures go. Everything is called on the port's play thread.
#pragma once

#include "ordune/Picture.h"
#include "ordune/PictureScaler.h"

#include <cstdint>
#include <memory>

namespace dravo {

// Colour of what is shown, four axes from 0 to 128 with 64 as neutral.
struct Colour {
    int brightness = 64;
    int contrast = 64;
    int saturation = 64;
    int hue = 64;
    bool operator==(const Colour&) const = default;
};

// How pictures are drawn.
struct DrawOptions {
    ordune::ScaleQuality quality = ordune::ScaleQuality::High;
    Colour colour;
    int brightness_offset = 0; // added to what is shown, in steps of 1/255
    ordune::PictureArea area;  // part of the picture that is shown; empty: all of it
};

enum class OutputState {
    Working,
    Gone, // the window was destroyed, or the server went away: nothing is drawn any more
};

class VideoOutput {
  public:
    virtual ~VideoOutput() = default;

    // Draws the picture with its own aspect ratio, centred, black around it, and keeps it for redrawing.
    virtual OutputState Show(ordune::PicturePtr picture, const DrawOptions& options) = 0;
    // Draws the kept picture again.
    virtual OutputState Redraw() = 0;
    // A descriptor that is readable when the server has something to say; -1 where there is none.
    virtual int Descriptor() const = 0;
    // Reads what the server said and redraws after an exposure or a change of size. Never blocks.
    virtual OutputState HandleEvents() = 0;
};

// An output into a child window of its own inside the X window; null when the server or the window is not
// there. `DISPLAY` tells the server.
std::unique_ptr<VideoOutput> MakeXVideoOutput(std::uint32_t window);

} // namespace dravo

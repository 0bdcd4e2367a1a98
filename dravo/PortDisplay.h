// The windows of a port: the main one (region 0) and up to fifteen further ones that show a part of the
// picture. Everything on the port's play thread.
#pragma once

#include "dravo/VideoOutput.h"

#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

namespace dravo {

class PortDisplay {
  public:
    static constexpr unsigned long kRegions = 16;
    using OutputFactory = std::function<std::unique_ptr<VideoOutput>(std::uint32_t window)>;

    explicit PortDisplay(OutputFactory factory) : m_factory(std::move(factory)) {}

    // Draws the main picture into `window` from now on, or nowhere when it is 0. The picture shown last is
    // drawn there at once. False when there is no such window; nothing is drawn then.
    bool SetWindow(std::uint32_t window);
    // Begins, changes or ends region `region`. For region 0 only the area counts.
    bool SetRegion(unsigned long region, const ordune::PictureArea& area, std::uint32_t window, bool enable);
    bool HasRegion(unsigned long region) const;
    void SetColour(unsigned long region, const Colour& colour);
    void SetQuality(ordune::ScaleQuality quality);

    // Draws a new picture everywhere, `brightness_offset` (in steps of 1/255) brighter than it is.
    void Show(const ordune::PicturePtr& picture, int brightness_offset);
    // Draws what was shown last again, with the options as they are now; a single region, or all.
    void Redraw();
    void RedrawRegion(unsigned long region);
    // Leaves all windows to their owners and forgets the picture. Regions and colours are kept for the next
    // SetWindow, which draws into the further windows again too.
    void Close();

    // Descriptors to wait on, and what to do when one is readable.
    void AppendDescriptors(std::vector<int>& descriptors) const;
    void HandleEvents();

  private:
    struct Region {
        std::uint32_t window = 0;
        std::unique_ptr<VideoOutput> output;
        DrawOptions options;
        bool enabled = false;
    };

    void Draw(Region& region);

    OutputFactory m_factory;
    std::array<Region, kRegions> m_regions;
    ordune::PicturePtr m_picture;
};

} // namespace dravo

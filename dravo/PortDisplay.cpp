#include "dravo/PortDisplay.h"

namespace dravo {

bool PortDisplay::SetWindow(std::uint32_t window) {
    Region& main = m_regions[0];
    for (unsigned long number = 1; number < kRegions; ++number) {
        Region& region = m_regions[number];
        if (region.enabled && !region.output) region.output = m_factory(region.window);
    }
    if (window == main.window && (main.output || window == 0)) return true;
    main.output.reset();
    main.window = window;
    if (window == 0) return true;
    main.output = m_factory(window);
    if (!main.output) return false;
    Draw(main);
    return true;
}

bool PortDisplay::SetRegion(unsigned long region, const ordune::PictureArea& area, std::uint32_t window,
                            bool enable) {
    if (region >= kRegions) return false;
    Region& entry = m_regions[region];
    if (region == 0) {
        entry.options.area = enable ? area : ordune::PictureArea{};
        return true;
    }
    if (!enable) {
        const bool was = entry.enabled;
        entry = Region{};
        return was;
    }
    if (window == 0) return false;
    if (!entry.output || entry.window != window) {
        entry.output.reset();
        entry.output = m_factory(window);
        if (!entry.output) {
            entry = Region{};
            return false;
        }
        entry.window = window;
    }
    entry.options.area = area;
    entry.options.quality = m_regions[0].options.quality;
    entry.enabled = true;
    return true;
}

bool PortDisplay::HasRegion(unsigned long region) const {
    return region == 0 || (region < kRegions && m_regions[region].enabled);
}

void PortDisplay::SetColour(unsigned long region, const Colour& colour) {
    if (region < kRegions) m_regions[region].options.colour = colour;
}

void PortDisplay::SetQuality(ordune::ScaleQuality quality) {
    for (Region& region : m_regions)
        region.options.quality = quality;
}

void PortDisplay::Show(const ordune::PicturePtr& picture, int brightness_offset) {
    m_picture = picture;
    for (Region& region : m_regions)
        region.options.brightness_offset = brightness_offset;
    Redraw();
}

void PortDisplay::Redraw() {
    for (Region& region : m_regions)
        Draw(region);
}

void PortDisplay::RedrawRegion(unsigned long region) {
    if (region < kRegions) Draw(m_regions[region]);
}

void PortDisplay::Draw(Region& region) {
    if (!region.output || !m_picture) return;
    // A window that is gone is its owner's doing; playing goes on without it.
    if (region.output->Show(m_picture, region.options) == OutputState::Gone) region.output.reset();
}

void PortDisplay::Close() {
    m_picture.reset();
    for (Region& region : m_regions)
        region.output.reset();
    m_regions[0].window = 0;
}

void PortDisplay::AppendDescriptors(std::vector<int>& descriptors) const {
    for (const Region& region : m_regions) {
        if (region.output && region.output->Descriptor() >= 0)
            descriptors.push_back(region.output->Descriptor());
    }
}

void PortDisplay::HandleEvents() {
    for (Region& region : m_regions) {
        if (region.output && region.output->HandleEvents() == OutputState::Gone) region.output.reset();
    }
}

} // namespace dravo

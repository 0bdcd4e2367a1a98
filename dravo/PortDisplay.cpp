#include "dravo/PortDisplay.h"

namespace dravo {

bool PortDisplay::SetWindow(std::uint32_t window) {
    Region& main = m_regions[0];
    if (window != main.window || (window != 0 && !main.output)) {
        std::unique_ptr<VideoOutput> output = window == 0 ? nullptr : m_factory(window);
        if (window != 0 && !output) return false;
        main.output = std::move(output);
        main.window = window;
        Draw(main);
    }
    for (unsigned long number = 1; number < kRegions; ++number) {
        Region& region = m_regions[number];
        if (!region.enabled || region.output) continue;
        region.output = m_factory(region.window);
        Draw(region);
    }
    return true;
}

bool PortDisplay::SetRegion(unsigned long region, const ordune::PictureArea& area, std::uint32_t window,
                            bool enable) {
    if (region >= kRegions) return false;
    Region& entry = m_regions[region];
    if (region == 0) {
        entry.options.area = enable ? area : ordune::PictureArea{};
        Draw(entry);
        return true;
    }
    if (!enable) {
        const bool was = entry.enabled;
        entry = Region{};
        return was;
    }
    if (window == 0) return false;
    if (!entry.output || entry.window != window) {
        std::unique_ptr<VideoOutput> output = m_factory(window);
        if (!output) return false;
        entry.output = std::move(output);
        entry.window = window;
    }
    entry.options.area = area;
    entry.options.quality = m_regions[0].options.quality;
    entry.options.brightness_offset = m_regions[0].options.brightness_offset;
    entry.enabled = true;
    Draw(entry);
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

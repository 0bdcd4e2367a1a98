#include "ordune/PictureCache.h"

extern "C" {
#include <libavutil/frame.h>
}

#include <iterator>
#include <utility>

namespace ordune {

PictureCache::PictureCache(std::size_t budget_bytes) : m_budget(budget_bytes) {}

void PictureCache::SetFocus(FrameNumber wanted, FrameNumber first, FrameNumber last) {
    m_wanted = wanted;
    m_first = first;
    m_last = last;
}

std::uint64_t PictureCache::Remoteness(FrameNumber frame) const {
    // Everything outside the window is worse than everything inside, so that a window that fits the budget is
    // filled whatever else is there.
    constexpr std::uint64_t kOutside = std::uint64_t{1} << 40;
    if (frame < m_first) return kOutside + (m_first - frame);
    if (frame > m_last) return kOutside + (frame - m_last);
    return frame < m_wanted ? m_wanted - frame : frame - m_wanted;
}

PictureCache::Pictures::iterator PictureCache::MostRemote() {
    // Remoteness grows to both sides of the wanted frame, so the worst picture is one of the two ends.
    const auto first = m_pictures.begin();
    const auto last = std::prev(m_pictures.end());
    return Remoteness(first->first) >= Remoteness(last->first) ? first : last;
}

void PictureCache::CountIn(const Picture& picture) {
    for (const AVBufferRef* buffer : picture.Frame()->buf) {
        if (buffer && ++m_holders[buffer->buffer] == 1) m_bytes += buffer->size;
    }
}

void PictureCache::CountOut(const Picture& picture) {
    for (const AVBufferRef* buffer : picture.Frame()->buf) {
        if (!buffer) continue;
        const auto holder = m_holders.find(buffer->buffer);
        if (holder == m_holders.end() || --holder->second > 0) continue;
        m_holders.erase(holder);
        m_bytes -= buffer->size;
    }
}

bool PictureCache::Add(PicturePtr picture, std::vector<PicturePtr>& dropped) {
    const FrameNumber number = picture->Number();
    if (m_pictures.contains(number)) return false;

    CountIn(*picture);
    m_pictures.emplace(number, picture);
    Fit(dropped);
    return m_pictures.contains(number);
}

void PictureCache::Fit(std::vector<PicturePtr>& dropped) {
    while (m_bytes > m_budget && m_pictures.size() > 1) {
        auto worst = MostRemote();
        if (worst->first == m_wanted)
            worst = std::next(worst) == m_pictures.end() ? m_pictures.begin() : std::next(worst);
        CountOut(*worst->second);
        dropped.push_back(std::move(worst->second));
        m_pictures.erase(worst);
    }
}

void PictureCache::SetBudget(std::size_t bytes, std::vector<PicturePtr>& dropped) {
    m_budget = bytes;
    Fit(dropped);
}

void PictureCache::Clear(std::vector<PicturePtr>& dropped) {
    for (auto& [number, picture] : m_pictures)
        dropped.push_back(std::move(picture));
    m_pictures.clear();
    m_holders.clear();
    m_bytes = 0;
}

void PictureCache::DropBehind(std::vector<PicturePtr>& dropped) {
    while (!m_pictures.empty() && m_pictures.begin()->first < m_first) {
        const auto oldest = m_pictures.begin();
        const auto next = std::next(oldest);
        if (next == m_pictures.end() || next->first > m_wanted) return;
        CountOut(*oldest->second);
        dropped.push_back(std::move(oldest->second));
        m_pictures.erase(oldest);
    }
}

PicturePtr PictureCache::Find(FrameNumber frame) const {
    const auto found = m_pictures.find(frame);
    return found == m_pictures.end() ? nullptr : found->second;
}

PicturePtr PictureCache::FindNewest(FrameNumber first, FrameNumber last) const {
    auto found = m_pictures.upper_bound(last);
    if (found == m_pictures.begin()) return nullptr;
    --found;
    return found->first >= first ? found->second : nullptr;
}

PicturePtr PictureCache::FindOldest(FrameNumber first, FrameNumber last) const {
    const auto found = m_pictures.lower_bound(first);
    return found != m_pictures.end() && found->first <= last ? found->second : nullptr;
}

} // namespace ordune

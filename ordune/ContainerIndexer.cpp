#include "ordune/ContainerIndexer.h"

#include <algorithm>
#include <cstddef>
#include <utility>

namespace ordune {

ContainerIndexer::ContainerIndexer(std::shared_ptr<const FileSource> file, std::unique_ptr<UnitSource> source,
                                   const AVCodecParameters& parameters, bool direct,
                                   std::shared_ptr<FrameTable> table)
    : m_file(std::move(file)), m_source(std::move(source)), m_direct(direct), m_table(std::move(table)),
      m_output(*m_table, m_source->Order()) {
    if (direct) m_inspector.emplace(m_file, parameters);
}

bool ContainerIndexer::Advance() {
    if (!m_more) return false;
    const std::size_t had = m_units.size();
    m_more = m_source->Read(m_units) && m_table->Units() < kMostUnits;
    if (m_direct) {
        const std::int64_t size = m_file->Size();
        const auto outside = std::remove_if(
            m_units.begin() + static_cast<std::ptrdiff_t>(had), m_units.end(), [size](const auto& unit) {
                return unit.offset_bytes < 0 || unit.size_bytes == 0 || unit.size_bytes > size ||
                       unit.offset_bytes > size - unit.size_bytes;
            });
        m_units.erase(outside, m_units.end());
    }
    m_begun = m_begun || Begun();
    if (m_begun) Flush();
    if (m_more) return true;
    if (m_file->ReadFailed()) m_table->MarkShort();
    m_output.Finish(-1);
    return false;
}

// Whether the inspector has enough to go by for its first look.
bool ContainerIndexer::Begun() const {
    if (!m_inspector || !m_more || m_units.size() >= UnitInspector::kFirst) return true;
    // A container that is read through need not be read so far for the first picture.
    const auto keys =
        std::count_if(m_units.begin(), m_units.end(), [](const auto& unit) { return unit.key; });
    return keys > 0 && static_cast<std::size_t>(keys) < m_units.size();
}

void ContainerIndexer::Flush() {
    if (m_inspector) m_inspector->Correct(m_units);
    for (const ContainerUnit& unit : m_units) {
        m_output.Add({.offset_bytes = unit.offset_bytes,
                      .order = unit.time,
                      .size_bytes = unit.size_bytes,
                      .duration = unit.duration,
                      .new_period = unit.new_period,
                      .referenced = unit.referenced,
                      .key = unit.key,
                      .closed = unit.closed,
                      .shown = unit.shown,
                      .recovered = true});
    }
    m_units.clear();
    if (!m_more) return;
    const double share = std::max(m_source->Share(), 1e-9);
    const double estimate = std::min(static_cast<double>(m_table->Frames()) / share, 4.0e9);
    m_output.Publish(static_cast<FrameNumber>(estimate));
}

} // namespace ordune

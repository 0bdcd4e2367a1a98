#include "ordune/SalvageIndexer.h"

#include <algorithm>
#include <utility>

namespace ordune {

namespace {

constexpr int kStepsAtATime = 512; // a NAL unit each, or a stretch without one

} // namespace

SalvageIndexer::SalvageIndexer(std::shared_ptr<const FileSource> file, std::int64_t begin, std::int64_t end,
                               std::size_t length_bytes, ParameterSets sets,
                               std::shared_ptr<FrameTable> table)
    : m_file(std::move(file)), m_begin(begin), m_end(end), m_table(std::move(table)),
      m_chain(m_file, begin, end, length_bytes), m_pictures(*m_table, nullptr, std::move(sets)) {}

bool SalvageIndexer::Advance() {
    for (int n = 0; n < kStepsAtATime && !m_chain.Done(); ++n) {
        const std::optional<NalChain::Nal> nal = m_chain.Next(m_pictures.Sets());
        if (!nal) continue;
        if (!nal->follows) m_pictures.Break();
        m_pictures.Take(nal->head, nal->offset, nal->end);
    }
    if (m_chain.Done()) {
        if (m_file->ReadFailed()) m_table->MarkShort();
        m_pictures.Finish(m_end);
        return false;
    }
    const double share = static_cast<double>(std::max<std::int64_t>(m_chain.Position() - m_begin, 1)) /
                         static_cast<double>(std::max<std::int64_t>(m_end - m_begin, 1));
    const double estimate = std::min(static_cast<double>(m_table->Frames()) / share, 4.0e9);
    m_pictures.Publish(static_cast<FrameNumber>(estimate));
    return true;
}

} // namespace ordune

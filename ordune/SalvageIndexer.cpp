#include "ordune/SalvageIndexer.h"

#include <algorithm>
#include <chrono>
#include <utility>

namespace ordune {

namespace {

// A step: as much as a disk gives in some hundredths of a second, and no longer where it gives less.
constexpr std::int64_t kWorkAtATime = 1 << 20;
constexpr std::chrono::milliseconds kLongestStep{20};

} // namespace

SalvageIndexer::SalvageIndexer(std::shared_ptr<const FileSource> file, std::int64_t begin, std::int64_t end,
                               std::size_t length_bytes, ParameterSets sets,
                               std::shared_ptr<FrameTable> table, CancelToken cancel)
    : m_file(std::move(file)), m_begin(begin), m_end(end), m_table(std::move(table)),
      m_cancel(std::move(cancel)), m_chain(m_file, begin, end, length_bytes),
      m_pictures(*m_table, nullptr, std::move(sets)) {}

bool SalvageIndexer::Advance() {
    const auto until = std::chrono::steady_clock::now() + kLongestStep;
    const std::int64_t most = m_chain.Work() + kWorkAtATime;
    while (!m_chain.Done() && !m_cancel.Cancelled() && m_chain.Work() < most &&
           std::chrono::steady_clock::now() < until) {
        const std::optional<NalChain::Nal> nal = m_chain.Next(m_pictures.Sets());
        if (!nal) continue;
        if (!nal->follows) m_pictures.Break();
        m_pictures.Take(nal->head, nal->offset, nal->end);
    }
    if (m_chain.Done()) {
        if (m_file->ReadFailed() || m_chain.GaveUp()) m_table->MarkShort();
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

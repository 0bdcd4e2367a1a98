#include "ordune/RawIndexer.h"

#include "ordune/NalScanner.h"

#include <algorithm>
#include <climits>
#include <cstring>

extern "C" {
#include <libavutil/rational.h>
}

namespace ordune {

namespace {

// As much of a NAL unit as is looked at. Slice headers and parameter sets are far shorter.
constexpr std::size_t kLookAhead = 4096;
constexpr std::size_t kStartCode = 3;

} // namespace

RawIndexer::RawIndexer(std::shared_ptr<const FileSource> file, FrameTable& table, ParameterHistory& history,
                       std::size_t block)
    : m_file(std::move(file)), m_table(table), m_pictures(table, &history, {}), m_buffer(block + kLookAhead) {
}

RawIndexer::Timing RawIndexer::TimingOf(const SequenceParameters& sequence) {
    Timing timing;
    if (sequence.units_in_tick == 0 || sequence.time_scale == 0) return timing;
    // A tick is the time of a field, whatever the pictures are (E.2.1).
    int numerator = 0;
    int denominator = 0;
    av_reduce(&numerator, &denominator, sequence.time_scale, std::int64_t{sequence.units_in_tick} * 2,
              INT_MAX);
    // Values outside this are leftovers of encoders that never set them.
    const bool sane = numerator > 0 && denominator > 0 && numerator / denominator <= 1000 &&
                      numerator >= std::int64_t{denominator} / 100;
    if (sane) timing = {numerator, denominator};
    return timing;
}

bool RawIndexer::Advance() {
    if (m_done) return false;
    // What was not looked at yet goes to the front.
    const std::size_t rest = m_filled - m_scanned;
    std::memmove(m_buffer.data(), m_buffer.data() + m_scanned, rest);
    m_buffer_offset += static_cast<std::int64_t>(m_scanned);
    m_filled = rest;
    m_scanned = 0;
    const std::int64_t at = m_buffer_offset + static_cast<std::int64_t>(rest);
    const std::int64_t want =
        std::min<std::int64_t>(static_cast<std::int64_t>(m_buffer.size() - rest), m_file->Size() - at);
    const std::int64_t got =
        want > 0 ? m_file->ReadAt(at, m_buffer.data() + rest, static_cast<std::size_t>(want)) : 0;
    m_filled += static_cast<std::size_t>(std::max<std::int64_t>(got, 0));
    const bool last = got < want || at + got >= m_file->Size();

    const std::size_t limit = last ? m_filled : m_filled - std::min(m_filled, kLookAhead);
    while (m_scanned < limit) {
        const std::size_t code = FindStartCode(m_buffer.data(), m_scanned, m_filled);
        if (code >= limit) {
            m_scanned = limit;
            break;
        }
        const std::size_t begin = code + kStartCode;
        const std::size_t end = std::min(m_filled, begin + kLookAhead - kStartCode);
        if (begin < end) {
            m_pictures.Take({m_buffer.data() + begin, end - begin},
                            m_buffer_offset + static_cast<std::int64_t>(code));
        }
        m_scanned = begin;
    }
    const std::int64_t scanned = m_buffer_offset + static_cast<std::int64_t>(m_scanned);
    if (last) {
        if (m_file->ReadFailed()) m_table.MarkShort();
        m_pictures.Finish(m_buffer_offset + static_cast<std::int64_t>(m_filled));
        m_done = true;
        return false;
    }
    const double share =
        static_cast<double>(m_file->Size()) / static_cast<double>(std::max<std::int64_t>(scanned, 1));
    const double estimate = std::min(static_cast<double>(m_table.Frames()) * share, 4.0e9);
    m_pictures.Publish(static_cast<FrameNumber>(estimate));
    return true;
}

} // namespace ordune

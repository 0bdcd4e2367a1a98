#include "ordune/RawIndexer.h"

#include <algorithm>
#include <climits>

extern "C" {
#include <libavutil/rational.h>
}

namespace ordune {

namespace {

constexpr std::size_t kStartCode = 3;

} // namespace

RawIndexer::RawIndexer(std::shared_ptr<const FileSource> file, FrameTable& table, ParameterHistory& history,
                       std::size_t block)
    : m_file(std::move(file)), m_table(table), m_blocks(m_file, block), m_pictures(table, &history, {}) {}

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
    // What is read ahead is not in the caller's working time, which bounds the search for a first picture.
    const ScannedBlock& block = m_blocks.Next(m_table.Known() > 0);
    for (const std::size_t code : block.codes) {
        const std::size_t begin = code + kStartCode;
        const std::size_t end = std::min(block.filled, code + BlockScanner::kLookAhead);
        if (begin >= end) continue;
        m_pictures.Take({block.bytes.data() + begin, end - begin},
                        block.offset + static_cast<std::int64_t>(code));
    }
    if (block.last) {
        if (m_file->ReadFailed()) m_table.MarkShort();
        m_pictures.Finish(block.end);
        m_done = true;
        return false;
    }
    const double share =
        static_cast<double>(m_file->Size()) / static_cast<double>(std::max<std::int64_t>(block.end, 1));
    const double estimate = std::min(static_cast<double>(m_table.Frames()) * share, 4.0e9);
    m_pictures.Publish(static_cast<FrameNumber>(estimate));
    return true;
}

} // namespace ordune

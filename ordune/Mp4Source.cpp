#include "ordune/Mp4Source.h"

#include "ordune/Mp4Fragments.h"
#include "ordune/SampleTable.h"

#include <algorithm>
#include <cstddef>
#include <optional>
#include <utility>

namespace ordune {

namespace {

constexpr std::size_t kSamplesInAStep = 4096;

class TableSource final : public UnitSource {
  public:
    TableSource(SampleTable table, std::int64_t shift)
        : m_table(std::move(table)), m_cursor(m_table), m_shift(shift) {}

    bool Read(ContainerUnits& units) override {
        for (std::size_t i = 0; i < kSamplesInAStep; ++i) {
            const std::optional<SampleTable::Sample> sample = m_cursor.Next();
            if (!sample) return false;
            ++m_read;
            ContainerUnit& unit = units.emplace_back();
            unit.offset_bytes = sample->offset_bytes;
            unit.size_bytes = sample->size_bytes;
            unit.time = sample->decode_time + sample->composition_offset + m_shift;
            unit.duration = sample->duration;
            unit.key = sample->key;
        }
        return true;
    }

    double Share() const override {
        return static_cast<double>(m_read) / std::max(1U, m_table.SampleCount());
    }

  private:
    const SampleTable m_table;
    SampleTable::Cursor m_cursor;
    const std::int64_t m_shift;
    std::uint32_t m_read = 0;
};

// The samples of the movie box, then those of the fragments behind it.
class FragmentedSource final : public UnitSource {
  public:
    FragmentedSource(std::unique_ptr<UnitSource> tables, Mp4Fragments fragments)
        : m_tables(std::move(tables)), m_fragments(std::move(fragments)) {}

    bool Read(ContainerUnits& units) override {
        if (m_tables && m_tables->Read(units)) return true;
        m_tables.reset();
        return m_fragments.Read(units);
    }
    double Share() const override { return m_fragments.Share(); }

  private:
    std::unique_ptr<UnitSource> m_tables;
    Mp4Fragments m_fragments;
};

} // namespace

std::unique_ptr<UnitSource> MakeMp4Source(std::shared_ptr<const FileSource> file,
                                          std::shared_ptr<const Mp4Movie> movie, std::uint32_t track_id) {
    const std::optional<mp4::Box> track = movie->Track(track_id);
    if (!track) return nullptr;
    const Mp4Movie::Placement placement = movie->PlacementOf(*track);
    std::optional<SampleTable> table = SampleTable::Read(movie, track_id);
    if (!placement.plain || !table || table->DescriptionCount() != 1 || !table->TellsKeys() ||
        table->SampleCount() > kMostUnits)
        return nullptr;
    const std::int64_t shift = placement.delay - placement.begin;
    const bool fragmented = movie->Fragmented();
    std::unique_ptr<UnitSource> tables;
    std::int64_t end = 0;
    if (table->SampleCount() > 0) {
        const std::optional<SampleTable::Span> span = table->TimeSpan();
        if (!span) return nullptr;
        const bool cut_off = placement.length >= 0 && span->last >= placement.begin + placement.length;
        if (!fragmented && placement.edited && (span->first != placement.begin || cut_off)) return nullptr;
        end = span->end;
        tables = std::make_unique<TableSource>(std::move(*table), shift);
    }
    if (!fragmented) return tables;
    return std::make_unique<FragmentedSource>(std::move(tables),
                                              Mp4Fragments(std::move(file), *movie, track_id, end, shift));
}

} // namespace ordune

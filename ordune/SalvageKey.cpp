#include "ordune/SalvageKey.h"

#include "ordune/FormatInput.h"
#include "ordune/Mp4Box.h"
#include "ordune/Mp4Movie.h"
#include "ordune/SampleTable.h"
#include "ordune/VideoDescription.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/rational.h>
}

#include <algorithm>
#include <climits>
#include <cstddef>
#include <cstring>
#include <memory>
#include <span>
#include <vector>

namespace ordune {

namespace {

// Sets that are in the data stand at its first picture.
constexpr std::int64_t kSetsWithin = 16 << 20;
constexpr std::size_t kLongestSet = 1024;
constexpr std::size_t kPiece = 1 << 20;
// A sequence and the picture sets behind it.
constexpr std::size_t kSetsTogether = 16 * kLongestSet;

// The set of this type behind a length field of four bytes at `at`; empty where there is none.
std::span<const std::uint8_t> SetAt(std::span<const std::uint8_t> bytes, std::size_t at, unsigned type) {
    if (at + 5 > bytes.size() || (bytes[at + 4] & 0x9fU) != type) return {};
    const std::size_t length = mp4::Read32(bytes.data() + at);
    if (length < 3 || length > kLongestSet || length > bytes.size() - at - 4) return {};
    const std::span<const std::uint8_t> set = bytes.subspan(at + 4, length);
    const bool good = type == 7 ? ParseSequenceParameters(set.subspan(1)).has_value()
                                : ParsePictureParameters(set.subspan(1)).has_value();
    return good ? set : std::span<const std::uint8_t>();
}

// The sequence at `at` with the picture sets behind it; nothing without both.
std::optional<AvcConfiguration> SetsAt(std::span<const std::uint8_t> bytes, std::size_t at) {
    AvcConfiguration configuration;
    for (auto set = SetAt(bytes, at, 7); !set.empty(); set = SetAt(bytes, at, 8)) {
        configuration.sets.emplace_back(set.begin(), set.end());
        at += 4 + set.size();
    }
    if (configuration.sets.size() < 2) return std::nullopt;
    return configuration;
}

std::optional<TimeScale> RateOf(const std::shared_ptr<const Mp4Movie>& movie, const AVStream& video) {
    const std::optional<SampleTable> table = SampleTable::Read(movie, static_cast<std::uint32_t>(video.id));
    const std::optional<SampleTable::Span> span = table ? table->TimeSpan() : std::nullopt;
    TimeScale rate;
    if (!span || span->end <= 0 || video.time_base.num <= 0 ||
        av_reduce(&rate.tick_numerator, &rate.tick_denominator, span->end * video.time_base.num,
                  std::int64_t{table->SampleCount()} * video.time_base.den, INT_MAX) < 0 ||
        rate.tick_numerator <= 0 || rate.tick_denominator <= 0)
        return std::nullopt;
    return rate;
}

} // namespace

std::optional<SalvageKey> KeyInData(const FileSource& file, std::int64_t begin, std::int64_t end,
                                    const CancelToken& cancel) {
    std::vector<std::uint8_t> bytes;
    const std::int64_t last = std::min(end, begin + kSetsWithin);
    for (std::int64_t from = begin; from < last && !cancel.Cancelled(); from += kPiece) {
        bytes.resize(static_cast<std::size_t>(
            std::min<std::int64_t>(static_cast<std::int64_t>(kPiece + kSetsTogether), end - from)));
        const std::int64_t got = file.ReadAt(from, bytes.data(), bytes.size());
        bytes.resize(static_cast<std::size_t>(std::max<std::int64_t>(got, 0)));
        for (std::size_t at = 0; at < std::min(kPiece, bytes.size()); ++at) {
            const void* zero = std::memchr(bytes.data() + at, 0, bytes.size() - at);
            if (!zero) break;
            at = static_cast<std::size_t>(static_cast<const std::uint8_t*>(zero) - bytes.data());
            if (const auto configuration = SetsAt(bytes, at))
                return SalvageKey{.configuration = *configuration};
        }
    }
    return std::nullopt;
}

std::optional<SalvageKey> KeyOfRecording(const std::shared_ptr<const FileSource>& file,
                                         std::int64_t& most_bytes, const CancelToken& cancel) {
    const std::shared_ptr<const Mp4Movie> movie = Mp4Movie::Read(*file, most_bytes, cancel);
    if (!movie) return std::nullopt;
    most_bytes -= static_cast<std::int64_t>(movie->Content().Whole().size());
    const Result<std::unique_ptr<FormatInput>> input = FormatInput::OpenHeaders(file, movie->Skeleton());
    AVStream* video = input ? FindVideoStream(input.Value()->Context()) : nullptr;
    if (!video || video->codecpar->codec_id != AV_CODEC_ID_H264 || !video->codecpar->extradata)
        return std::nullopt;
    const std::optional<AvcConfiguration> configuration = AvcConfiguration::Parse(
        {video->codecpar->extradata, static_cast<std::size_t>(video->codecpar->extradata_size)});
    if (!configuration || configuration->sets.empty()) return std::nullopt;
    const VideoInfo info = DescribeVideo(input.Value()->Context(), video);
    return SalvageKey{*configuration, RateOf(movie, *video), info.sample_aspect_numerator,
                      info.sample_aspect_denominator, info.rotation};
}

} // namespace ordune

#include "ordune/SoundReader.h"

#include "ordune/Ffmpeg.h"
#include "ordune/FileSource.h"
#include "ordune/FormatInput.h"
#include "ordune/SoundResampler.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/mathematics.h>
}

#include <algorithm>
#include <array>
#include <cstdlib>
#include <limits>

namespace ordune {

namespace {

using namespace std::chrono_literals;

constexpr AVRational kMicroseconds{1, 1'000'000};
// Codecs need a little of what comes before to give the right samples; if a seek lands behind the wanted
// time, the next longer run-up is tried, at last the file's start.
constexpr std::array<MediaTime, 2> kRunUps = {300ms, 5s};
// How much of the sound one call gives: a tenth of a second.
constexpr int kBlocksASecond = 10;
// Time stamps that stray less than this from the count of samples are rounding; more is a gap or an overlap.
constexpr int kJitterParts = 50; // of a second: 20 ms
// Frames without a time that are left out at the start of reading, in the hope of one that has a time.
constexpr int kMostUnplaced = 10;
// Time stamps beyond this (31 years) are damage.
constexpr MediaTime kFarthest{1'000'000'000'000'000};

// How the reader works, all in samples of the output, of which number 0 belongs to media time 0:
//  1. m_next is the number of the sample to be given out next.
//  2. Decoded frames are resampled into m_ready; m_ready_at is the number of its first sample, told by the
//  time stamp
//     of the frame and counted on from there.
//  3. Where m_ready begins later than m_next, silence fills the gap; where it begins earlier, it is cut.
//  4. A frame that does not continue m_ready waits until that has been given out.
class FileSoundReader final : public SoundReader {
  public:
    FileSoundReader(std::unique_ptr<FormatInput> input, AVStream* stream, ffmpeg::CodecContextPtr decoder,
                    MediaTime origin, int sample_rate, int channels)
        : m_input(std::move(input)), m_stream(stream), m_decoder(std::move(decoder)), m_origin(origin),
          m_sample_rate(sample_rate), m_channels(static_cast<std::size_t>(channels)),
          m_resampler(sample_rate, channels), m_packet(ffmpeg::MakePacket()), m_frame(ffmpeg::MakeFrame()) {}

    bool IsWhole() const { return m_packet && m_frame; }
    Result<void> SeekTo(MediaTime time) override;
    Result<std::optional<SoundBlock>> Next() override;

  private:
    enum class Step { Decoded, Nothing, End, Broken };

    std::int64_t NumberOf(MediaTime time) const {
        return av_rescale(time.count(), m_sample_rate, MediaTime(1s).count());
    }
    MediaTime TimeOf(std::int64_t number) const {
        return MediaTime(av_rescale(number, MediaTime(1s).count(), m_sample_rate));
    }
    std::int64_t ReadyEnd() const {
        return m_ready_at + static_cast<std::int64_t>(m_ready.size() / m_channels);
    }

    void Forget();
    bool Land(MediaTime time);
    Step Decode();
    Step SendPacket();
    std::optional<std::int64_t> NumberOfFrame() const;
    void TakeFrame();
    void PlaceFrame();
    void DropPast();
    SoundBlock Silence(std::int64_t count);
    SoundBlock Sound(std::int64_t count);

    const std::unique_ptr<FormatInput> m_input;
    AVStream* const m_stream; // the input's
    const ffmpeg::CodecContextPtr m_decoder;
    const MediaTime m_origin;
    const int m_sample_rate;
    const std::size_t m_channels;
    SoundResampler m_resampler;
    const ffmpeg::PacketPtr m_packet;
    const ffmpeg::FramePtr m_frame;

    std::int64_t m_next = 0;
    std::vector<float> m_ready;
    std::int64_t m_ready_at = 0;
    bool m_fresh = true;     // nothing has been read yet
    bool m_placed = false;   // m_ready_at has been told by a time stamp since the last seek
    int m_unplaced = 0;      // frames left out since nobody said where they belong
    bool m_waiting = false;  // m_frame holds a frame that does not continue m_ready
    bool m_at_end = false;   // nothing more can be decoded
    bool m_flushing = false; // the decoder was told that no packet follows
};

void FileSoundReader::Forget() {
    avcodec_flush_buffers(m_decoder.get());
    m_resampler.Reset();
    m_ready.clear();
    av_frame_unref(m_frame.get());
    m_placed = false;
    m_unplaced = 0;
    m_waiting = false;
    m_at_end = false;
    m_flushing = false;
}

Result<void> FileSoundReader::SeekTo(MediaTime time) {
    time = std::clamp(time, -kFarthest, kFarthest);
    m_next = NumberOf(time);
    // A reader at the start need not move: seeks of some containers to the start miss what lies before time
    // 0, which the first samples are decoded from.
    if (m_fresh && time < kRunUps.back()) return {};
    for (const MediaTime run_up : kRunUps) {
        if (!Land(time - run_up)) continue;
        // Where it landed, the first frame tells; the seek may have been misled by a poor index.
        Step step = Step::Nothing;
        while (!m_placed && (step == Step::Nothing || step == Step::Decoded))
            step = Decode();
        if (m_placed && m_ready_at <= m_next) return {};
    }
    const std::int64_t start = m_stream->start_time != AV_NOPTS_VALUE ? m_stream->start_time : 0;
    AVFormatContext* context = m_input->Context();
    if (avformat_seek_file(context, m_stream->index, std::numeric_limits<std::int64_t>::min(), start,
                           std::numeric_limits<std::int64_t>::max(), 0) < 0 &&
        avformat_seek_file(context, -1, std::numeric_limits<std::int64_t>::min(), 0,
                           std::numeric_limits<std::int64_t>::max(), AVSEEK_FLAG_BYTE) < 0) {
        m_at_end = true;
        return Error{ErrorKind::Io, "Cannot go to that place of the sound", m_input->File().Path()};
    }
    Forget();
    return {};
}

// Goes to a packet at or before the time.
bool FileSoundReader::Land(MediaTime time) {
    const std::int64_t wanted = av_rescale_q((time + m_origin).count(), kMicroseconds, m_stream->time_base);
    if (!m_input->SeekTo(m_stream->index, wanted)) return false;
    Forget();
    return true;
}

Result<std::optional<SoundBlock>> FileSoundReader::Next() {
    const std::int64_t most = m_sample_rate / kBlocksASecond;
    for (;;) {
        DropPast();
        if (!m_ready.empty()) {
            if (m_ready_at > m_next) return std::optional(Silence(std::min(most, m_ready_at - m_next)));
            return std::optional(Sound(std::min(most, ReadyEnd() - m_next)));
        }
        if (m_at_end) return std::optional<SoundBlock>();
        if (Decode() == Step::Broken)
            return Error{ErrorKind::Io, "Reading the sound failed", m_input->File().Path()};
    }
}

// Cuts what lies before the sample wanted next.
void FileSoundReader::DropPast() {
    if (m_ready.empty() || m_ready_at >= m_next) return;
    const std::int64_t cut = std::min(m_next, ReadyEnd()) - m_ready_at;
    m_ready.erase(m_ready.begin(), m_ready.begin() + cut * static_cast<std::int64_t>(m_channels));
    m_ready_at += cut;
}

SoundBlock FileSoundReader::Silence(std::int64_t count) {
    SoundBlock block{TimeOf(m_next), std::vector<float>(static_cast<std::size_t>(count) * m_channels)};
    m_next += count;
    return block;
}

SoundBlock FileSoundReader::Sound(std::int64_t count) {
    const auto end = m_ready.begin() + count * static_cast<std::int64_t>(m_channels);
    SoundBlock block{TimeOf(m_next), std::vector<float>(m_ready.begin(), end)};
    m_ready.erase(m_ready.begin(), end);
    m_ready_at += count;
    m_next += count;
    return block;
}

// Gets one more frame out of the decoder, or one more packet in. A frame that waits must only be asked for
// when nothing is ready.
FileSoundReader::Step FileSoundReader::Decode() {
    if (m_waiting) {
        PlaceFrame();
        return Step::Decoded;
    }
    const int code = avcodec_receive_frame(m_decoder.get(), m_frame.get());
    if (code >= 0) {
        TakeFrame();
        return Step::Decoded;
    }
    // A frame that cannot be decoded leaves a gap, which silence fills.
    if (!m_flushing) return SendPacket();
    m_resampler.Drain(m_ready);
    m_at_end = true;
    return Step::End;
}

FileSoundReader::Step FileSoundReader::SendPacket() {
    m_fresh = false;
    const int code = m_input->ReadPacket(m_packet.get());
    if (code == AVERROR(EAGAIN)) return Step::Nothing;
    if (code < 0) {
        m_flushing = true;
        avcodec_send_packet(m_decoder.get(), nullptr);
        return code == AVERROR(EIO) ? Step::Broken : Step::Nothing;
    }
    // A packet that the decoder refuses is a gap, too.
    if (m_packet->stream_index == m_stream->index) avcodec_send_packet(m_decoder.get(), m_packet.get());
    av_packet_unref(m_packet.get());
    return Step::Nothing;
}

// Number of the frame's first sample; nothing where the file does not say, or says what cannot be.
std::optional<std::int64_t> FileSoundReader::NumberOfFrame() const {
    const std::int64_t stamp = m_frame->best_effort_timestamp;
    if (stamp == AV_NOPTS_VALUE) return std::nullopt;
    const MediaTime time(av_rescale_q(stamp, m_stream->time_base, kMicroseconds));
    if (time > kFarthest || time < -kFarthest) return std::nullopt;
    return NumberOf(time - m_origin);
}

void FileSoundReader::TakeFrame() {
    const std::optional<std::int64_t> at = NumberOfFrame();
    // What an encoder put in front of time 0 can come without a time; the next frame has one.
    if (!m_placed && !at && m_unplaced++ < kMostUnplaced) {
        av_frame_unref(m_frame.get());
        return;
    }
    if (m_placed && at) {
        const std::int64_t expected = ReadyEnd() + m_resampler.HeldBack();
        if (std::abs(*at - expected) > m_sample_rate / kJitterParts) {
            m_resampler.Drain(m_ready);
            m_placed = false;
            m_waiting = true;
            return;
        }
    }
    PlaceFrame();
}

// Resamples the frame behind what is ready, or to its own place where nothing is.
void FileSoundReader::PlaceFrame() {
    if (!m_placed) m_ready_at = NumberOfFrame().value_or(m_next);
    m_placed = true;
    m_unplaced = 0;
    m_waiting = false;
    if (!m_resampler.Convert(*m_frame, m_ready)) m_resampler.Drain(m_ready);
    av_frame_unref(m_frame.get());
}

Result<ffmpeg::CodecContextPtr> OpenSoundDecoder(const AVStream& stream, const std::string& path) {
    // One thread: sound takes a percent of a core to decode.
    auto decoder = ffmpeg::OpenDecoder(stream.codecpar, 1, path);
    // Lets the decoder move time stamps along when it leaves out what an encoder put in front.
    if (decoder) decoder.Value()->pkt_timebase = stream.time_base;
    return decoder;
}

} // namespace

Result<std::unique_ptr<SoundReader>> SoundReader::Make(const MediaFile& file, int sample_rate, int channels,
                                                       const CancelToken& cancel) {
    const std::string& path = file.Path();
    if (sample_rate <= 0 || channels < 1 || channels > 2)
        return Error{ErrorKind::OutOfRange, "Sound cannot be given in that form", path};
    if (!file.Sound() || !file.Source())
        return Error{ErrorKind::NotMedia, "There is no sound in this file", path};
    auto opened = FormatInput::Open(file.Source(), FormatInput::Haste::None, cancel);
    if (!opened) return opened.Failure();
    std::unique_ptr<FormatInput> input = std::move(opened.Value());
    const auto index = static_cast<unsigned>(file.Sound()->stream_index);
    AVFormatContext* context = input->Context();
    const auto unknown = [&] {
        if (index >= context->nb_streams) return true;
        const AVCodecParameters& parameters = *context->streams[index]->codecpar;
        return parameters.codec_type != AVMEDIA_TYPE_AUDIO || parameters.sample_rate <= 0;
    };
    if (unknown()) input->FindStreamInfo();
    if (index >= context->nb_streams || context->streams[index]->codecpar->codec_type != AVMEDIA_TYPE_AUDIO)
        return Error{ErrorKind::NotMedia, "There is no sound in this file", path};
    input->ReadOnly(static_cast<int>(index));
    AVStream* stream = context->streams[index];
    auto decoder = OpenSoundDecoder(*stream, path);
    if (!decoder) return decoder.Failure();

    const MediaTime origin = std::clamp(file.Origin(), -kFarthest, kFarthest);
    auto reader = std::make_unique<FileSoundReader>(std::move(input), stream, std::move(decoder.Value()),
                                                    origin, sample_rate, channels);
    if (!reader->IsWhole()) return Error{ErrorKind::OutOfMemory, "No memory for sound", path};
    return std::unique_ptr<SoundReader>(std::move(reader));
}

} // namespace ordune

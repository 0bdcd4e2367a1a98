#include "tests/support/ClipMaker.h"

#include "tests/support/ClipTracks.h"

extern "C" {
#include <libavutil/display.h>
}

#include <cstring>
#include <memory>
#include <stdexcept>

namespace support {

namespace {

const char* MuxerName(const ClipOptions& options) {
    switch (options.container) {
    case ClipContainer::Mp4:
    case ClipContainer::FragmentedMp4:
        return "mp4";
    case ClipContainer::Mov:
        return "mov";
    case ClipContainer::Matroska:
        return "matroska";
    case ClipContainer::Avi:
        return "avi";
    case ClipContainer::Flv:
        return "flv";
    case ClipContainer::RawStream:
        break;
    }
    if (options.codec == "libx264") return "h264";
    if (options.codec == "libx265") return "hevc";
    if (options.codec == "mpeg4") return "m4v";
    throw std::runtime_error("no raw stream of " + options.codec);
}

void SetRotation(AVStream& stream, int degrees) {
    std::int32_t matrix[9];
    av_display_rotation_set(matrix, degrees);
#if LIBAVFORMAT_VERSION_INT >= AV_VERSION_INT(60, 15, 100)
    AVPacketSideData* side =
        av_packet_side_data_new(&stream.codecpar->coded_side_data, &stream.codecpar->nb_coded_side_data,
                                AV_PKT_DATA_DISPLAYMATRIX, sizeof matrix, 0);
    std::uint8_t* data = side != nullptr ? side->data : nullptr;
#else
    std::uint8_t* data = av_stream_new_side_data(&stream, AV_PKT_DATA_DISPLAYMATRIX, sizeof matrix);
#endif
    if (data == nullptr) throw std::runtime_error("no room for a display matrix");
    std::memcpy(data, matrix, sizeof matrix);
}

// One run of EncodeClip.
class Maker {
  public:
    Maker(const std::string& path, const ClipOptions& options) : m_options(options) {
        AVFormatContext* output = nullptr;
        CheckAv(avformat_alloc_output_context2(&output, nullptr, MuxerName(options), path.c_str()),
                "making " + path);
        m_output.reset(output);
        CheckAv(avio_open(&m_output->pb, path.c_str(), AVIO_FLAG_WRITE), "opening " + path);
        // Times below zero are what an edit list hides; they must not be moved.
        m_output->avoid_negative_ts = 0;
        m_output->flags |= AVFMT_FLAG_BITEXACT;
    }

    void Make() {
        Check();
        const bool globalHeader = (m_output->oformat->flags & AVFMT_GLOBALHEADER) != 0;
        auto pictures =
            std::make_unique<PictureTrack>(m_options, m_options.width, m_options.height, globalHeader);
        m_pictureStream = AddStream(pictures->Encoder());
        m_pictureStream->sample_aspect_ratio = pictures->Encoder().sample_aspect_ratio;
        m_pictureStream->avg_frame_rate = pictures->Encoder().framerate;
        if (m_options.rotation != 0) SetRotation(*m_pictureStream, m_options.rotation);
        std::unique_ptr<SoundTrack> sound;
        if (m_options.sound || m_options.toneHertz > 0) {
            sound = std::make_unique<SoundTrack>(m_options.toneHertz, globalHeader);
            m_soundStream = AddStream(sound->Encoder());
        }
        WriteHeader();
        WriteFilm(std::move(pictures), sound.get());
        CheckAv(av_write_trailer(m_output.get()), "ending the file");
    }

  private:
    void Check() const {
        const bool isRaw = m_options.container == ClipContainer::RawStream;
        if (!isRaw && !m_options.sizeChanges.empty())
            throw std::runtime_error("only raw streams change their size");
        if (isRaw && (m_options.sound || m_options.rotation != 0 || m_options.hiddenFrames != 0))
            throw std::runtime_error("a raw stream holds pictures alone");
    }

    AVStream* AddStream(const AVCodecContext& encoder) {
        AVStream* stream = avformat_new_stream(m_output.get(), nullptr);
        if (stream == nullptr) throw std::runtime_error("no room for a stream");
        CheckAv(avcodec_parameters_from_context(stream->codecpar, &encoder), "describing a stream");
        stream->time_base = encoder.time_base;
        return stream;
    }

    void WriteHeader() {
        AVDictionary* dictionary = nullptr;
        if (m_options.container == ClipContainer::FragmentedMp4)
            av_dict_set(&dictionary, "movflags", "frag_keyframe+delay_moov+default_base_moof", 0);
        const int code = avformat_write_header(m_output.get(), &dictionary);
        av_dict_free(&dictionary);
        CheckAv(code, "beginning the file");
    }

    std::int64_t Duration(int frame) const {
        if (m_options.durations.empty()) return 1;
        return m_options.durations[static_cast<std::size_t>(frame) % m_options.durations.size()];
    }

    // Presentation time of the first picture that is written.
    std::int64_t FirstTime() const {
        std::int64_t time = av_rescale_q(m_options.startDelayMs, {1, 1000}, ClipTimeBase(m_options));
        for (int frame = -m_options.hiddenFrames; frame < 0; ++frame)
            time -= Duration(-frame - 1);
        return time;
    }

    void WriteFilm(std::unique_ptr<PictureTrack> pictures, SoundTrack* sound) {
        const AVRational unit = ClipTimeBase(m_options);
        // Not every encoder hands durations on, and without the last one's the film ends before its picture.
        std::map<std::int64_t, std::int64_t> durations;
        const PacketSink toPictures = [&](AVPacket& packet) {
            if (const auto known = durations.find(packet.pts); known != durations.end())
                packet.duration = known->second;
            Write(packet, unit, *m_pictureStream);
        };
        const PacketSink toSound = [&](AVPacket& packet) { Write(packet, {1, 48000}, *m_soundStream); };
        std::int64_t time = FirstTime();
        std::size_t nextChange = 0;
        for (int frame = -m_options.hiddenFrames; frame < m_options.frames; ++frame) {
            const auto& changes = m_options.sizeChanges;
            if (nextChange < changes.size() && changes[nextChange].frame == frame) {
                pictures->Finish(toPictures);
                pictures = std::make_unique<PictureTrack>(m_options, changes[nextChange].width,
                                                          changes[nextChange].height, false);
                ++nextChange;
            }
            const int number =
                frame < 0 ? kHiddenNumber + m_options.hiddenFrames + frame : m_options.firstNumber + frame;
            const std::int64_t duration = Duration(frame < 0 ? -frame - 1 : frame);
            durations[time] = duration;
            pictures->Encode(number, time, duration, toPictures);
            time += duration;
            if (sound != nullptr) sound->EncodeUntil(static_cast<double>(time) * av_q2d(unit), toSound);
        }
        pictures->Finish(toPictures);
        if (sound != nullptr) sound->Finish(toSound);
    }

    void Write(AVPacket& packet, AVRational unit, AVStream& stream) {
        packet.stream_index = stream.index;
        av_packet_rescale_ts(&packet, unit, stream.time_base);
        CheckAv(av_interleaved_write_frame(m_output.get(), &packet), "writing a packet");
    }

    const ClipOptions& m_options;
    FormatHandle m_output;
    AVStream* m_pictureStream = nullptr;
    AVStream* m_soundStream = nullptr;
};

} // namespace

void EncodeClip(const std::string& path, const ClipOptions& options) {
    Maker(path, options).Make();
}

bool HasEncoder(const std::string& codec) {
    return avcodec_find_encoder_by_name(codec.c_str()) != nullptr;
}

} // namespace support

// A media file in memory whose units, groups and faults a test writes at will, and whose reading it can hold
// up and look into.
#pragma once

#include "ordune/MediaFile.h"
#include "tests/support/AvHandles.h"

#include <atomic>
#include <condition_variable>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace testing_ordune {

using namespace ordune;

struct Recipe {
    std::string encoder = "libx264";
    int width = 96;
    int height = 64;
    int frames = 60;
    int group = 20;
    int b_pictures = 0;
    bool pyramid = false;
    bool open_groups = false;
    int first_number = 0; // what the first picture's bar code says
};

struct ScriptedUnit {
    std::shared_ptr<AVPacket> packet;
    FrameNumber frame = kNoFrame;
    bool begins_group = false;
    bool referenced = true;
};

// Holds readers up after a number of units, and remembers what they did.
class Gate {
  public:
    // Readers may take this many more units; until the first call there is no limit.
    void Allow(int units);
    void Open();
    // Until a reader stands at the closed gate; false when that does not happen within 20 s.
    bool AwaitReaderWaiting();

    // For the reader.
    // False when the reading was cancelled meanwhile.
    bool Pass(UnitNumber unit, const CancelToken& cancel);
    void Seek(UnitNumber unit);

    std::vector<UnitNumber> UnitsRead() const;
    std::vector<UnitNumber> Seeks() const;
    void Forget();

  private:
    mutable std::mutex m_mutex;
    std::condition_variable m_changed;
    bool m_limited = false;
    int m_allowed = 0;
    bool m_waiting = false;
    std::vector<UnitNumber> m_read;
    std::vector<UnitNumber> m_sought;
};

class ScriptedMedia final : public MediaFile, public FrameIndex {
  public:
    // Encodes numbered pictures; throws std::runtime_error when the encoder is missing.
    static std::shared_ptr<ScriptedMedia> Encode(const Recipe& recipe);

    // To be changed before a reader is made.
    std::vector<ScriptedUnit> units;
    VideoInfo video;
    // Adds another file's pictures at the end; the units bring their parameter sets with them.
    void Append(const ScriptedMedia& other);
    // Puts other bytes into a unit so that it cannot be decoded.
    void Spoil(UnitNumber unit);
    // Numbers the frames and groups anew after units were changed, by presentation order of `order`.
    void Settle();
    // From now on only so many frames are known, until Complete is called.
    void KnowOnly(FrameNumber frames);
    void KnowAll();

    Gate& TheGate() const { return *m_gate; }
    // MD5 of each frame's planes, decoded in one pass from the first unit by plain libavcodec with one
    // thread; empty for frames that do not come out.
    std::vector<std::string> LinearSums() const;

    const std::string& Path() const override { return m_path; }
    std::shared_ptr<const FileSource> Source() const override { return nullptr; }
    const VideoInfo& Video() const override { return video; }
    const std::optional<SoundInfo>& Sound() const override { return m_sound; }
    const FrameIndex& Index() const override { return *this; }
    MediaTime Origin() const override { return MediaTime{0}; }
    const AVCodecParameters* VideoParameters() const override { return m_parameters.get(); }
    using MediaFile::MakeUnitReader;
    Result<std::unique_ptr<UnitReader>> MakeUnitReader(CancelToken cancel) const override;

    // While it is set, every read fails so.
    mutable std::atomic<std::optional<ErrorKind>> failure{std::nullopt};

    bool Complete() const override { return m_known.load() == kNoFrame; }
    FrameNumber Known() const override { return std::min(m_known.load(), Total()); }
    FrameNumber Total() const override { return static_cast<FrameNumber>(m_unit_of.size()); }
    MediaTime TimeOf(FrameNumber frame) const override { return MediaTime{std::int64_t{frame} * 40000}; }
    FrameNumber FrameAt(MediaTime time) const override {
        return static_cast<FrameNumber>(time.count() / 40000);
    }
    MediaTime Duration() const override { return TimeOf(Total()); }
    std::int64_t RateNumerator() const override { return 25; }
    std::int64_t RateDenominator() const override { return 1; }
    std::optional<Group> GroupOf(FrameNumber frame) const override;
    std::optional<Group> GroupOfUnit(UnitNumber unit) const override;
    FrameNumber FrameOf(UnitNumber unit) const override;
    UnitNumber UnitOf(FrameNumber frame) const override;
    bool Referenced(UnitNumber unit) const override { return unit >= units.size() || units[unit].referenced; }
    std::optional<KeyFrame> KeyAtOrBefore(FrameNumber frame) const override;
    std::optional<KeyFrame> KeyAfter(FrameNumber frame) const override;
    // How many units a reader may see.
    UnitNumber KnownUnits() const;

  private:
    struct ParametersDeleter {
        void operator()(AVCodecParameters* parameters) const { avcodec_parameters_free(&parameters); }
    };

    std::string m_path = "scripted";
    std::optional<SoundInfo> m_sound;
    std::unique_ptr<AVCodecParameters, ParametersDeleter> m_parameters;
    std::vector<UnitNumber> m_unit_of;
    std::vector<Group> m_groups;
    std::atomic<FrameNumber> m_known{kNoFrame};
    std::shared_ptr<Gate> m_gate = std::make_shared<Gate>();
};

// MD5 of the planes' visible pixels, row by row.
std::string SumOf(const AVFrame* frame);

} // namespace testing_ordune

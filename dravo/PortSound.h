// The sound of one port: reads it from the file, stretches it to the speed and hands it to the sound device
// in time with the picture.
//
// Has a thread of its own (the feeder), since reading a file and opening one may take a while and the picture
// must not wait for it. The play thread tells it what the clock does with Follow and asks Position; both
// return at once. The end of the object joins the feeder.
//
// The picture leads. When the sound is heard more than kTolerance away from the clock for a while (a device
// that began late, a stream that stalled), the sound begins anew at the right place; smaller differences are
// what the clock may steer by.
#pragma once

#include "dravo/PlayClock.h"
#include "dravo/SoundOutput.h"
#include "ordune/MediaFile.h"
#include "ordune/SoundReader.h"
#include "ordune/TimeStretch.h"

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

namespace dravo {

class PortSound {
  public:
    using OutputFactory = std::function<std::unique_ptr<SoundOutput>()>;

    static constexpr std::chrono::milliseconds kTolerance{30};
    // Differences in a row beyond the tolerance before the sound begins anew.
    static constexpr int kStrikes = 4;
    // ... doubled by each such beginning without a jump, up to this (ten seconds).
    static constexpr int kMostStrikes = 256;
    // How often the feeder looks when nothing wakes it: a fifth of what the ring of the output holds at the
    // least.
    static constexpr std::chrono::milliseconds kFeedInterval{40};
    // How long after a failure that may pass (of memory, of the disk) the sound is begun again.
    static constexpr std::chrono::milliseconds kTryAgainAfter{2000};

    PortSound(std::shared_ptr<const ordune::MediaFile> file, OutputFactory factory);
    ~PortSound();
    PortSound(const PortSound&) = delete;
    PortSound& operator=(const PortSound&) = delete;

    // What is to be heard: nothing unless `heard`, else the file at the clock's time and speed. `epoch`
    // changes with every jump of the clock; within one, a new clock only refines the old.
    void Follow(bool heard, const PlayClock& clock, const SpeedLadder& speed, std::uint64_t epoch);
    void SetVolume(std::uint16_t volume);
    // The media time that is heard at `now`, while it is really heard and close enough to the clock to steer
    // by.
    std::optional<ordune::MediaTime> Heard(WallTime now) const;

  private:
    struct Plan {
        bool heard = false;
        PlayClock clock;
        SpeedLadder speed;
        std::uint64_t epoch = 0;
    };

    void Feed();
    void Serve(const Plan& plan, bool fresh);
    // False where something is in the way that may pass.
    bool Begin(const Plan& plan);
    bool Prepare(); // the reader and the device
    void Fill();
    void Measure(const Plan& plan);
    bool NextSamples();

    // Immutable.
    const std::shared_ptr<const ordune::MediaFile> m_file;
    const OutputFactory m_factory;
    const ordune::CancelToken m_cancel = ordune::CancelToken::Make(); // reading, at the end

    // Guarded by m_mutex.
    mutable std::mutex m_mutex;
    std::condition_variable m_wake;
    Plan m_plan;
    bool m_plan_is_new = false;
    bool m_closing = false;
    std::optional<SoundPosition> m_position;
    double m_position_rate = 1.0;

    // Atomic.
    std::atomic<std::uint16_t> m_volume{65535};

    // Feeder only.
    std::unique_ptr<SoundOutput> m_output;
    std::unique_ptr<ordune::SoundReader> m_reader;
    std::unique_ptr<ordune::TimeStretch> m_stretch;
    bool m_hopeless = false; // there will be no sound for this file
    bool m_try_again = false;
    bool m_sounding = false;
    bool m_at_end = false;
    int m_strikes = 0;
    int m_patience = kStrikes; // strikes that are borne
    bool m_restarted = false;  // the plan is new because of strikes
    double m_tempo = 1.0;
    ordune::MediaTime m_next_time{0}; // of the first sample in m_samples
    std::vector<float> m_samples;     // read and stretched, not yet written
    std::size_t m_written = 0;        // of them

    std::thread m_feeder; // last: it uses all of the above
};

} // namespace dravo

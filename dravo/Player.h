// One open file that plays: the clock, the choice of the picture, the windows, the sound.
//
// The play thread belongs to the player; it starts with Begin and is joined by Close. It alone touches the
// windows, decides which picture is shown when, and makes all callbacks, with no lock held. The public
// functions may be called from any thread. Most change what is wanted under the one lock, wake the play
// thread and return; those that must wait (a new window, Stop, a step, a still) wait for the play thread
// holding no lock. Called from inside a callback they do not wait: on the port's own play thread the work is
// done at once, on another's it is left to it.
//
// Positions: `pending` is where the port is to be, `current` the picture it shows. A jump sets the former and
// bumps the epoch; the play thread makes it the latter when the picture is there, unless the epoch has moved
// on meanwhile.
#pragma once

#include "dravo/Deflash.h"
#include "dravo/DuePicture.h"
#include "dravo/NeighbourSearch.h"
#include "dravo/PlayClock.h"
#include "dravo/PortCallbacks.h"
#include "dravo/PortDisplay.h"
#include "dravo/PortSound.h"
#include "dravo/SpeedLadder.h"
#include "dravo/WakeUp.h"
#include "ordune/FrameReader.h"
#include "ordune/MediaFile.h"
#include "ordune/PlanarCopy.h"
#include "ordune/StillEncoder.h"

#include <array>
#include <atomic>
#include <bitset>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <thread>
#include <vector>

namespace dravo {

enum class StillKind { Bmp, Jpeg };

class Player {
  public:
    struct Parts {
        std::shared_ptr<PortCallbacks> callbacks;
        PortDisplay::OutputFactory make_output;
        PortSound::OutputFactory make_sound;
        ordune::FrameReaderOptions reader;
    };

    // How long a call waits at most for a picture that is being decoded.
    static constexpr std::chrono::seconds kLongestWait{20};

    static ordune::Result<std::shared_ptr<Player>> Open(const std::string& path, Parts parts);
    // Starts the play thread: from here on callbacks are made. Once, by the thread that opened it.
    void Begin();
    ~Player();
    Player(const Player&) = delete;
    Player& operator=(const Player&) = delete;

    // Ends playing and joins the play thread. Whoever waits in another call gets a failure. Not from a
    // callback.
    void Close();

    bool Play(std::uint32_t window);
    bool Pause(bool pause);
    bool Stop();
    bool ChangeSpeed(bool up);
    bool Step(ordune::Direction direction);
    void Refresh();
    bool RefreshRegion(unsigned long region);

    bool SeekToFrame(ordune::FrameNumber frame);
    bool SeekToPosition(float position);
    bool SeekToTime(std::chrono::milliseconds time);

    // A callback was registered: what it is owed is called.
    void CallbacksChanged() { m_wake.Wake(); }

    // Whether the port is the one that sounds, and how loud.
    void SetSound(bool wanted);
    void SetVolume(std::uint16_t volume);

    bool SetRegion(unsigned long region, const ordune::PictureArea& area, std::uint32_t window, bool enable);
    bool SetColour(unsigned long region, const Colour& colour);
    void SetHighQuality(bool high);
    void SetHalfResolution(bool half);
    void SetDeflash(bool on);
    void SetCoarseTimer(bool coarse);
    void SetLeaveOut(int count);

    // The position that is wanted, else the one that is shown; kNoFrame before the first picture.
    ordune::FrameNumber CurrentFrame() const;
    ordune::FrameNumber TotalFrames() const;
    float Position() const;
    ordune::MediaTime PlayedTime() const;
    ordune::MediaTime Duration() const;
    unsigned long FrameRate() const;
    void PictureSize(long& width, long& height) const;
    std::optional<ordune::KeyFrame> KeyFrameAt(ordune::FrameNumber frame) const;
    std::optional<ordune::KeyFrame> KeyFrameAfter(ordune::FrameNumber frame) const;
    // The frame shown at that time; nothing past the end.
    std::optional<ordune::FrameNumber> FrameAt(std::chrono::milliseconds time) const;

    // The current picture as a file image, after a pending position was reached. Length in bytes; 0 on
    // failure.
    std::size_t Still(StillKind kind, std::span<std::uint8_t> out);

  private:
    enum class State { Stopped, Playing, Paused };

    // What a waiter of a command gets told.
    struct Command {
        std::function<bool()> work;
        std::shared_ptr<std::optional<bool>> answer; // guarded by m_mutex
    };

    // What is to be drawn anew, and how. However often it is asked for, it is done once a turn.
    struct DisplayChanges {
        std::array<std::optional<Colour>, PortDisplay::kRegions> colours;
        std::bitset<PortDisplay::kRegions> redraw; // also where only the quality changed
    };

    // What the play loop does next.
    struct Next {
        bool again = false;            // at once
        std::optional<WallTime> until; // then; without it, when something wakes it
    };

    explicit Player(Parts parts);

    // Any thread.
    void Post(std::function<bool()> work);
    bool Ask(std::function<bool()> work);
    bool OnPlayThread() const;
    bool MustNotWait() const;
    bool Drawable(std::uint32_t window) const;
    bool HasRegion(unsigned long region) const;
    void SeekLocked(ordune::FrameNumber frame, ordune::Direction direction, bool stepping);
    bool SeekWithin(ordune::FrameNumber total, ordune::FrameNumber frame);
    bool WaitForEpochLocked(std::unique_lock<std::mutex>& lock, std::uint64_t epoch);
    ordune::FrameNumber CurrentFrameLocked() const;
    void Progressed();

    // Play thread: PlayerLoop.cpp.
    void Loop();
    Next Turn();
    void RunCommands();
    void ApplyDisplayChanges();
    void TellIndexDone();
    Next Advance();
    Next ServePending(ordune::FrameNumber frame, ordune::Direction direction, std::uint64_t epoch);
    bool SeekNearer(ordune::FrameNumber frame, std::uint64_t epoch);
    Next PassOver(std::uint64_t epoch, bool search);
    WallTime FirstLoss(std::uint64_t epoch);
    Next PlayOn(std::uint64_t epoch);
    Next AtEnd(std::uint64_t epoch);
    bool EndingTakesTooLong(std::uint64_t epoch);
    Next End(std::uint64_t epoch);
    void WantAhead(ordune::FrameNumber frame, std::chrono::nanoseconds interval);
    ordune::PicturePtr Choose(Pick pick, ordune::FrameNumber first, ordune::FrameNumber last) const;
    int BrightnessCorrection(const ordune::Picture& picture, bool arrived);
    bool Commit(const ordune::PicturePtr& picture, std::uint64_t epoch, bool arrived);
    void Present(const ordune::PicturePtr& picture, std::uint64_t epoch, bool arrived);
    void CallDisplay(const ordune::Picture& picture);
    void FollowWithSound();
    void Sleep(const Next& next);
    void Leave();

    // Immutable after Open.
    const Parts m_parts;
    std::shared_ptr<ordune::MediaFile> m_file;
    std::unique_ptr<ordune::FrameReader> m_reader;
    std::unique_ptr<PortSound> m_sound; // null for a file without sound

    // Atomic.
    std::atomic<bool> m_index_done{false};
    std::atomic<bool> m_hungry{false}; // the play thread waits for the reader's progress
    std::atomic<bool> m_coarse_timer{false};
    std::atomic<int> m_leave_out{0};
    std::array<std::atomic<bool>, PortDisplay::kRegions> m_has_region{}; // further ones; as m_display has it
    WakeUp m_wake;

    // Held by Play and Stop from beginning to end, so that neither comes between the two steps of the other.
    // Taken before m_mutex, and never waited for inside a callback.
    std::mutex m_calls;

    // Guarded by m_mutex.
    mutable std::mutex m_mutex;
    std::condition_variable m_changed; // a command was answered, a picture was shown, the player closes
    std::vector<Command> m_commands;
    bool m_closing = false;
    State m_state = State::Stopped;
    SpeedLadder m_speed;
    PlayClock m_clock;
    std::uint64_t m_epoch = 0;
    std::optional<ordune::FrameNumber> m_pending;
    NeighbourSearch m_search;        // for a picture in place of the pending one
    bool m_beginning = false;        // it is the first picture after Play
    bool m_ending = false;           // it is or was the last picture, of a film that was played past it
    std::uint64_t m_shown_epoch = 0; // the newest epoch whose position was reached, or given up
    std::uint64_t m_given_up_epoch = ~std::uint64_t{0}; // the newest one given up
    ordune::FrameNumber m_current = ordune::kNoFrame;
    ordune::PicturePtr m_picture; // the current one
    bool m_ended = false;
    bool m_stopped = false; // by Stop, after which no callback is made until the next Play
    bool m_sound_wanted = false;
    DisplayChanges m_changes;
    bool m_high_quality = true;
    bool m_half_resolution = false;
    bool m_deflash_on = true;

    // Play thread only.
    ordune::PicturePtr m_presenting; // the picture being displayed, for stills made from inside the callback
    PortDisplay m_display;
    Deflash m_deflash;
    EffortGovernor m_governor;
    std::uint64_t m_governed_epoch = ~std::uint64_t{0};
    WallTime m_last_shown{};
    // While the last picture is sought after the film's end: when the end is told without it, and, once it
    // has been told, when the picture is given up.
    std::optional<WallTime> m_ending_until;
    // Since when a picture of the pending position is lost or doubtful, and which position that is.
    WallTime m_first_loss{};
    std::uint64_t m_first_loss_epoch = ~std::uint64_t{0};
    ordune::PlanarCopy m_planar;
    bool m_index_told = false;
    int m_told_width = 0;
    int m_told_height = 0;

    // Guarded by m_still_mutex: stills are made one at a time, on the threads that ask for them.
    std::mutex m_still_mutex;
    ordune::StillEncoder m_encoder;

    std::thread m_thread; // last: it uses all of the above
};

} // namespace dravo

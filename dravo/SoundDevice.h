// The process's one connection to the sound server, and the thread that alone speaks with it.
//
// A sound server may hang in any call, for as long as it likes. So there is one thread a process for such
// calls, not one an output: all outputs speak with the same server, and a server that hangs then costs one
// stuck thread, however many files are opened meanwhile. The thread runs while an output is attached. When
// the last one goes it is asked to end, and joined once it has; a thread that is stuck in the server is left
// where it is and joined, or taken up again, when the next output comes. The object is never destroyed, so
// that a stuck call that returns while the process ends finds everything in its place; feeds are shared with
// it for the same reason.
//
// A device that is missing or dies is tried again after 1, 2 and then every 5 seconds.
#pragma once

#include "dravo/SoundFeed.h"

#include <cubeb/cubeb.h>

#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

namespace dravo {

class SoundDevice {
  public:
    // Any thread.
    static SoundDevice& Instance();
    SoundDevice(const SoundDevice&) = delete;
    SoundDevice& operator=(const SoundDevice&) = delete;

    // All of these: any thread. The feed sounds while it is attached and active.
    void Attach(std::shared_ptr<SoundFeed> feed);
    // The device lets go of the feed as soon as it can. Detaching the last one waits, shortly, for the
    // thread's end.
    void Detach(const std::shared_ptr<SoundFeed>& feed);
    // The feed has become active.
    void Wake();

  private:
    using Time = std::chrono::steady_clock::time_point;
    enum class Thread {
        None,
        Running,
        Ending, // asked to, or stuck on its way
        Ended,  // to be joined
    };

    // The device thread's side of one feed.
    struct Line {
        std::shared_ptr<SoundFeed> feed;
        cubeb_stream* stream = nullptr;
        bool running = false;
        Time last_active;
    };

    SoundDevice() = default;
    ~SoundDevice() = default; // never called
    void StartLocked();
    void Run();
    void Match(const std::vector<std::shared_ptr<SoundFeed>>& feeds);
    Time Serve(Time now);
    void ServeLine(Line& line, Time now);
    bool OpenContext();
    bool OpenStream(Line& line);
    void CloseStream(Line& line);
    void CloseAll();
    void TryLater(Time now);

    static long OnPull(cubeb_stream*, void* feed, const void*, void* out, long frames);
    static void OnState(cubeb_stream*, void* feed, cubeb_state state);

    // Guarded by m_mutex, which nobody holds while calling the server.
    std::mutex m_mutex;
    std::condition_variable m_wake;    // for the device thread
    std::condition_variable m_changed; // for those who wait for it
    std::vector<std::shared_ptr<SoundFeed>> m_feeds;
    Thread m_state = Thread::None;
    bool m_woken = false;
    std::thread m_thread;

    // Device thread only.
    cubeb* m_context = nullptr;
    std::vector<Line> m_lines;
    int m_failures = 0;
    Time m_next_try;
};

} // namespace dravo

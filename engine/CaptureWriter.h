// The thread that writes captured pictures.
//
// A disk may hang in any call (a server that is gone, a stick that was pulled), for as long as it likes: so
// this thread alone calls it. Whoever captures hands the bytes over and waits for the outcome, unless
// somebody waits for him in turn: while a CHaste lives, waiting ends kPatience after it began. A picture that
// was left like this is written all the same, in its turn. Should that fail, the others that were left are
// given up, and the failure is told once.
//
// Any thread may call everything. The end of the object writes what is left and joins the thread; a program
// that must not wait for its disk calls Finish and does not destroy it.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

class CCaptureWriter {
  public:
    static constexpr std::chrono::milliseconds kPatience{100};
    // Pictures left to a disk that hangs take no more than this, which is ten or so of the largest.
    static constexpr std::size_t kMostBytes = 256 << 20;

    // `lateFailure` is called on the writing thread when a picture that was left could not be written.
    explicit CCaptureWriter(std::function<void()> lateFailure);
    ~CCaptureWriter();
    CCaptureWriter(const CCaptureWriter&) = delete;
    CCaptureWriter& operator=(const CCaptureWriter&) = delete;

    // Writes the file `strName` as WriteCaptureFile does. False when that failed, or when no more pictures
    // can be left to the disk; true when it is written, or left.
    bool Write(const std::string& strName, const unsigned char* pData, std::size_t nSize);
    // Waits until everything is written, for as long as one picture after the other is written within
    // `patience`; from then on no failure is told. False when something is still unwritten.
    bool Finish(std::chrono::milliseconds patience);
    // Full name of the picture that was written last; empty before the first.
    std::string LastWritten() const;

    // While one lives, somebody waits for those who capture.
    class CHaste {
      public:
        explicit CHaste(CCaptureWriter& writer);
        ~CHaste();
        CHaste(const CHaste&) = delete;
        CHaste& operator=(const CHaste&) = delete;

      private:
        CCaptureWriter& m_writer;
    };

  private:
    using Clock = std::chrono::steady_clock;
    enum class Outcome { None, Written, Failed };

    struct Picture {
        std::string strName;
        std::vector<unsigned char> data;
        bool bLeft = false; // nobody waits for the outcome any more
        Outcome outcome = Outcome::None;
    };

    void Run();
    void GiveUpLeftLocked();
    bool AwaitLocked(std::unique_lock<std::mutex>& lock, Picture& picture);

    // Guarded by m_mutex, which is never held while the disk or `lateFailure` is called.
    mutable std::mutex m_mutex;
    std::condition_variable m_wake;    // for the thread
    std::condition_variable m_changed; // for those who wait: an outcome, a haste
    std::function<void()> m_lateFailure;
    std::deque<std::shared_ptr<Picture>> m_pictures; // to be written, the one that is being written first
    std::size_t m_nBytes = 0;                        // of them
    std::size_t m_nWritten = 0;                      // outcomes so far
    std::string m_strLast;
    int m_nHasty = 0;
    Clock::time_point m_hastySince;
    bool m_bTelling = false;
    bool m_bEnding = false;
    std::thread m_thread; // started for the first picture
};

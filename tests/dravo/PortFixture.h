// What tests of the C interface share: clips made once a run, a port with a file open on it, and a record of
// the pictures that the display callback was handed.
#pragma once

#include "dravo/include/Dravo.h"
#include "tests/support/BarCode.h"
#include "tests/support/ClipMaker.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/WaitUntil.h"

#include <gtest/gtest.h>

#include <array>
#include <chrono>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <vector>

namespace dravo_tests {

using namespace std::chrono_literals;

inline constexpr unsigned long kNoFrame = ~0UL;

// A clip by the options' name, made on first use and kept for the program's life.
inline const std::string& Clip(const std::string& name, const support::ClipOptions& options) {
    static support::TemporaryFolder folder;
    static std::map<std::string, std::string> clips;
    std::string& path = clips[name];
    if (path.empty()) {
        path = folder / name;
        support::MakeClip(path, options);
    }
    return path;
}

// 100 pictures at 25 a second, four seconds: closed groups of 25 with B pictures, as MP4 and as a raw stream.
inline const std::string& Film() {
    return Clip("film.mp4", {.keyInterval = 25, .bFrames = 3});
}
inline const std::string& RawFilm() {
    return Clip("film.264",
                {.keyInterval = 25, .bFrames = 3, .container = support::ClipContainer::RawStream});
}

// One displayed picture, as the callback was handed it.
struct Displayed {
    int number = -1; // read from its bar code
    int width = 0;
    int height = 0;
    int size = 0;
    int stamp = 0;
    int type = 0;
    unsigned long current_frame = 0; // what the port said from inside the callback
    std::chrono::steady_clock::time_point at;
};

// The display callback has no user value: a port's record is found by its number.
class DisplayRecord {
  public:
    static DisplayRecord& Of(int port) {
        static std::mutex mutex;
        static std::map<int, DisplayRecord> records;
        const std::lock_guard lock(mutex);
        return records[port];
    }

    static void Callback(int port, char* buffer, int size, int width, int height, int stamp, int type, int) {
        Displayed displayed;
        displayed.number =
            support::ReadBarCodeFromLuma(reinterpret_cast<std::uint8_t*>(buffer), width, width, height);
        displayed.width = width;
        displayed.height = height;
        displayed.size = size;
        displayed.stamp = stamp;
        displayed.type = type;
        displayed.current_frame = Dravo_GetCurrentFrameNum(port);
        displayed.at = std::chrono::steady_clock::now();
        DisplayRecord& record = Of(port);
        std::function<void()> during;
        {
            const std::lock_guard lock(record.m_mutex);
            record.m_displayed.push_back(displayed);
            during = record.m_during;
        }
        if (during) during();
    }

    std::vector<Displayed> All() const {
        const std::lock_guard lock(m_mutex);
        return m_displayed;
    }
    std::size_t Count() const {
        const std::lock_guard lock(m_mutex);
        return m_displayed.size();
    }
    int Last() const {
        const std::lock_guard lock(m_mutex);
        return m_displayed.empty() ? -1 : m_displayed.back().number;
    }
    void Clear() {
        const std::lock_guard lock(m_mutex);
        m_displayed.clear();
    }
    // Run inside every callback.
    void During(std::function<void()> during) {
        const std::lock_guard lock(m_mutex);
        m_during = std::move(during);
    }

  private:
    mutable std::mutex m_mutex;
    std::vector<Displayed> m_displayed;
    std::function<void()> m_during;
};

// A port with a file open on it, given back at the end.
class OpenPort {
  public:
    explicit OpenPort(const std::string& path) {
        EXPECT_TRUE(Dravo_GetPort(&m_port));
        Dravo_SetDisplayCallBack(m_port, DisplayRecord::Callback);
        DisplayRecord::Of(m_port).Clear();
        m_open = Dravo_OpenFile(m_port, path.c_str()) != 0;
    }
    ~OpenPort() {
        Dravo_FreePort(m_port);
        DisplayRecord::Of(m_port).During(nullptr);
    }
    OpenPort(const OpenPort&) = delete;
    OpenPort& operator=(const OpenPort&) = delete;

    bool Open() const { return m_open; }
    int Number() const { return m_port; }
    operator int() const { return m_port; }
    DisplayRecord& Pictures() const { return DisplayRecord::Of(m_port); }

    // Plays without a window and pauses at the first picture.
    void PlayPaused() const {
        ASSERT_TRUE(Dravo_Play(m_port, 0));
        ASSERT_TRUE(Dravo_Pause(m_port, 1));
        ASSERT_TRUE(Dravo_SetCurrentFrameNum(m_port, 0));
        ASSERT_TRUE(WaitForPicture(0));
    }
    bool WaitForPicture(int number) const {
        return support::WaitUntil([&] { return Pictures().Last() == number; }, 10s);
    }
    // The number in the current picture's still; -1 when there is none.
    int StillNumber(bool jpeg = false) const {
        long width = 0;
        long height = 0;
        if (!Dravo_GetPictureSize(m_port, &width, &height)) return -1;
        std::vector<std::uint8_t> bytes(static_cast<std::size_t>(width * height * 5));
        unsigned long written = 0;
        const int done = jpeg ? Dravo_GetJPEG(m_port, bytes.data(), bytes.size(), &written)
                              : Dravo_GetBMP(m_port, bytes.data(), bytes.size(), &written);
        if (!done) return -1;
        bytes.resize(written);
        return support::ReadBarCodeFromStill(bytes);
    }

  private:
    int m_port = 0;
    bool m_open = false;
};

} // namespace dravo_tests

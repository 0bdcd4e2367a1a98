// A folder on a disk that hangs: what is written to one of its files comes to no end.
//
// The file is that of a captured picture which is being written, by a process and with a counter that are
// known: pipes stand in its place, one for each second of the next minutes, that nobody reads.
#pragma once

#include <atomic>
#include <chrono>
#include <ctime>
#include <fcntl.h>
#include <filesystem>
#include <string>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/types.h>
#include <thread>
#include <unistd.h>
#include <utility>
#include <vector>

namespace support {

class HangingDisk {
  public:
    HangingDisk(std::filesystem::path folder, pid_t writer, int counter, const std::string& suffix)
        : m_folder(std::move(folder)) {
        constexpr int kSeconds = 120;
        std::time_t when = std::time(nullptr) - 1;
        for (int second = 0; second < kSeconds; ++second, ++when) {
            std::tm local{};
            localtime_r(&when, &local);
            char name[64];
            std::strftime(name, sizeof(name), "picture-%Y%m%d%H%M%S", &local);
            m_names.push_back(name + std::string(counter < 10 ? "0" : "") + std::to_string(counter) + "." +
                              suffix + "." + std::to_string(writer) + ".part");
            mkfifo((m_folder / m_names.back()).c_str(), 0666);
        }
    }
    ~HangingDisk() {
        m_ending = true;
        if (m_reader.joinable()) m_reader.join();
    }
    HangingDisk(const HangingDisk&) = delete;
    HangingDisk& operator=(const HangingDisk&) = delete;

    // Whether somebody waits for it.
    bool IsWaiting() const {
        for (const std::string& name : m_names) {
            const int pipe = open((m_folder / name).c_str(), O_RDONLY | O_NONBLOCK);
            const bool holds = Held(pipe) > 0;
            if (pipe >= 0) close(pipe);
            if (holds) return true;
        }
        return false;
    }

    // Takes what was and will be written, wherever the folder lies by now.
    void GoOn(const std::filesystem::path& folder) {
        std::vector<int> pipes;
        for (const std::string& name : m_names) {
            const std::filesystem::path path = folder / name;
            pipes.push_back(open(path.c_str(), O_RDONLY | O_NONBLOCK));
            if (Held(pipes.back()) == 0) std::filesystem::remove(path); // the name is free for a file
        }
        m_names.clear();
        if (pipes.empty()) return;
        m_reader = std::thread([this, pipes] {
            while (!m_ending) {
                for (const int pipe : pipes) {
                    char taken[65536];
                    while (read(pipe, taken, sizeof(taken)) > 0) {
                    }
                }
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
            }
            for (const int pipe : pipes)
                close(pipe);
        });
    }
    void GoOn() { GoOn(m_folder); }

  private:
    // Bytes that wait in a pipe.
    static int Held(int pipe) {
        int held = 0;
        return pipe >= 0 && ioctl(pipe, FIONREAD, &held) == 0 ? held : 0;
    }

    const std::filesystem::path m_folder;
    std::vector<std::string> m_names; // until it goes on
    std::atomic<bool> m_ending{false};
    std::thread m_reader;
};

} // namespace support

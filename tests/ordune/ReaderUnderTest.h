// A frame reader with waiting built in: every wait has a condition and a deadline.
#pragma once

#include "ordune/FrameReader.h"

#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <stdexcept>

namespace testing_ordune {

using namespace ordune;

class ReaderUnderTest {
  public:
    explicit ReaderUnderTest(std::shared_ptr<const MediaFile> file, FrameReaderOptions options = {}) {
        if (options.threads == 0) options.threads = 2;
        auto made = FrameReader::Make(std::move(file), options, [this] {
            const std::lock_guard lock(m_mutex);
            m_changed.notify_all();
        });
        if (!made) throw std::runtime_error(made.Failure().text);
        m_reader = std::move(made.Value());
    }

    FrameReader& operator*() { return *m_reader; }
    FrameReader* operator->() { return m_reader.get(); }

    // Until the condition holds; false when it does not within 20 s.
    bool Await(const std::function<bool()>& condition) {
        std::unique_lock lock(m_mutex);
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        while (!condition()) {
            // Not everything that conditions ask about comes with a call of `progress`.
            if (m_changed.wait_for(lock, std::chrono::milliseconds(20)) == std::cv_status::timeout &&
                std::chrono::steady_clock::now() > deadline)
                return condition();
        }
        return true;
    }

    // Wants the frame and waits for it; null when it is undecodable or does not come.
    PicturePtr Get(FrameNumber frame, Direction direction = Direction::Forward) {
        m_reader->SetWant({frame, direction, true, Effort::Every, 0});
        if (!Await([&] { return m_reader->StateOf(frame) != FrameReader::State::Pending; })) return nullptr;
        return m_reader->Find(frame);
    }

    void Play(FrameNumber frame, Effort effort = Effort::Every, int leave_out = 0) {
        m_reader->SetWant({frame, Direction::Forward, false, effort, leave_out});
    }

    bool AwaitReady(FrameNumber frame) {
        return Await([&] { return m_reader->StateOf(frame) == FrameReader::State::Ready; });
    }

  private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::unique_ptr<FrameReader> m_reader;
};

} // namespace testing_ordune

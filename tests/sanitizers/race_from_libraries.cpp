// A race between two functions of ours, one called by Qt's event loop, one by FFmpeg on another thread. The
// thread sanitizer's exit status tells whether it saw it.
extern "C" {
#include <libavutil/buffer.h>
}

#include <QCoreApplication>
#include <QTimer>

#include <atomic>
#include <cstdint>
#include <thread>

namespace {

int g_unguarded = 0;
// Relaxed, so that it orders nothing: it only keeps the two apart in time.
std::atomic<bool> g_freed = false;
std::uint8_t g_memory[1];

void WriteAsFreed(void* /*opaque*/, std::uint8_t* /*data*/) {
    g_unguarded = 1;
    g_freed.store(true, std::memory_order_relaxed);
}

void WriteFromEvent() {
    g_unguarded = 2;
    QCoreApplication::quit();
}

} // namespace

int main(int argc, char** argv) {
    const QCoreApplication application(argc, argv);
    std::thread other([] {
        AVBufferRef* buffer = av_buffer_create(g_memory, sizeof g_memory, &WriteAsFreed, nullptr, 0);
        av_buffer_unref(&buffer);
    });
    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, [] {
        if (g_freed.load(std::memory_order_relaxed)) WriteFromEvent();
    });
    timer.start(1);
    QCoreApplication::exec();
    other.join();
    return g_unguarded == 2 ? 0 : 1; // read, or there would be no writes
}

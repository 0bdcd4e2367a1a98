// What the library's threads do when operator new throws on them.
#include "ordune/RawContent.h"
#include "tests/ordune/ReaderUnderTest.h"
#include "tests/ordune/ScriptedMedia.h"
#include "tests/ordune/StreamBuilder.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <new>

#include <pthread.h>
#include <unistd.h>

namespace {

// The name of the thread that has no memory; null for none.
std::atomic<const char*> g_poor_thread{nullptr};
std::atomic<int> g_refused{0};

bool IsRefused() {
    const char* poor = g_poor_thread.load();
    char name[16] = "";
    if (!poor || pthread_getname_np(pthread_self(), name, sizeof name) != 0) return false;
    if (std::strcmp(name, poor) != 0) return false;
    ++g_refused;
    return true;
}

} // namespace

// Not to be inlined: the compiler would take malloc and delete, or new and free, for a mismatch.
[[gnu::noinline]] void* operator new(std::size_t size) {
    void* memory = IsRefused() ? nullptr : std::malloc(size > 0 ? size : 1);
    if (!memory) throw std::bad_alloc();
    return memory;
}
[[gnu::noinline]] void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return IsRefused() ? nullptr : std::malloc(size > 0 ? size : 1);
}
[[gnu::noinline]] void operator delete(void* memory) noexcept {
    std::free(memory);
}
[[gnu::noinline]] void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}

namespace testing_ordune {
namespace {

class LackOfMemory : public testing::Test {
  protected:
    void SetUp() override { g_refused = 0; }
    void TearDown() override { g_poor_thread = nullptr; }
};

TEST_F(LackOfMemory, LeavesARawIndexShortButFinished) {
    test::StreamBuilder stream;
    stream.Sequence({.order_type = 2}).Picture();
    constexpr unsigned kPictures = 100'000;
    for (unsigned i = 0; i < kPictures; ++i)
        stream.Slice({.type = i % 100 == 0 ? 2U : 0U, .idr = i % 100 == 0, .frame_number = i % 100 % 16});
    const std::string path = stream.Save("poor.264");
    const auto file = FileSource::Open(path);
    ASSERT_TRUE(file);
    g_poor_thread = "index";
    const auto content = RawContent::Make(file.Value(), std::chrono::milliseconds(0), 4096);
    ASSERT_TRUE(content) << content.Failure().text;
    std::mutex mutex;
    std::condition_variable told;
    bool complete = false;
    const std::uint64_t number = content.Value()->WhenComplete([&] {
        const std::lock_guard lock(mutex);
        complete = true;
        told.notify_all();
    });
    {
        std::unique_lock lock(mutex);
        EXPECT_TRUE(told.wait_for(lock, std::chrono::seconds(20), [&] { return complete; }));
    }
    content.Value()->Withdraw(number);
    const FrameTable& table = content.Value()->Table();
    EXPECT_GT(g_refused.load(), 0);
    EXPECT_TRUE(table.Complete());
    EXPECT_TRUE(content.Value()->IsShort());
    EXPECT_GT(table.Total(), 0U);
    EXPECT_LT(table.Total(), kPictures);
    EXPECT_EQ(table.Total(), table.Known());
    // What is known can be read to its end.
    const auto reader = content.Value()->MakeUnitReader(file.Value(), {});
    ASSERT_TRUE(reader);
    for (UnitNumber unit = 0;; ++unit) {
        const auto next = reader.Value()->Next();
        ASSERT_TRUE(next);
        if (!next.Value()) break;
        ASSERT_EQ(next.Value()->number, unit);
        ASSERT_LT(unit, kPictures);
    }
    ::unlink(path.c_str());
}

TEST_F(LackOfMemory, CostsAReaderTheWantedFrameAndNoMore) {
    const auto media = ScriptedMedia::Encode({.frames = 100, .group = 20, .b_pictures = 2});
    ReaderUnderTest reader(media);
    ASSERT_TRUE(reader.Get(5));
    for (int round = 0; round < 3; ++round) {
        g_poor_thread = "ordune-decode";
        EXPECT_FALSE(reader.Get(static_cast<FrameNumber>(60 + 10 * round)));
        EXPECT_GT(g_refused.exchange(0), 0);
        // What was made before is still there.
        EXPECT_TRUE(reader->Find(5));
        g_poor_thread = nullptr;
        EXPECT_TRUE(reader.Get(static_cast<FrameNumber>(61 + 10 * round)));
        EXPECT_TRUE(reader.Get(static_cast<FrameNumber>(60 + 10 * round)));
        ASSERT_TRUE(reader.Get(5));
    }
}

} // namespace
} // namespace testing_ordune

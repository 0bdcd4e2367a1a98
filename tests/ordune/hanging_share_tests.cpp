// Files on a share that does not answer: nobody waits long, and what it held can be had again once it
// answers.
//
// This program stands between the library and the system: calls that concern the folder of a test hang while
// the test says so, as they do in the kernel when a server has gone away.
#include "ordune/CallThread.h"
#include "ordune/FileSource.h"
#include "ordune/MediaFile.h"
#include "tests/support/ClipMaker.h"
#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdarg>
#include <cstring>
#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <future>
#include <linux/magic.h>
#include <memory>
#include <mutex>
#include <new>
#include <set>
#include <string>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/vfs.h>
#include <thread>
#include <unistd.h>

namespace {

// The server behind the folder: answers, or lets whoever asks hang.
class Server {
  public:
    void Serve(const std::string& folder) {
        const std::lock_guard lock(m_mutex);
        m_folder = folder;
    }
    void GoAway() {
        const std::lock_guard lock(m_mutex);
        m_away = true;
    }
    // Answers for files alone: whoever lists the folder hangs.
    void HideList() {
        const std::lock_guard lock(m_mutex);
        m_list_hidden = true;
    }
    void ComeBack() {
        const std::lock_guard lock(m_mutex);
        m_away = false;
        m_list_hidden = false;
        m_changed.notify_all();
    }
    // How often somebody has hung.
    int Hung() {
        const std::lock_guard lock(m_mutex);
        return m_hung;
    }

    void Answer(const char* path) {
        std::unique_lock lock(m_mutex);
        if (IsHere(path)) AnswerLocked(lock);
    }
    void AnswerList(const char* path) {
        std::unique_lock lock(m_mutex);
        if (IsHere(path)) m_changed.wait(lock, [this] { return !m_away && !m_list_hidden; });
    }
    void Answer(int descriptor) {
        std::unique_lock lock(m_mutex);
        if (m_open.contains(descriptor)) AnswerLocked(lock);
    }
    bool Holds(int descriptor) {
        const std::lock_guard lock(m_mutex);
        return m_open.contains(descriptor);
    }
    void Opened(const char* path, int descriptor) {
        const std::lock_guard lock(m_mutex);
        if (descriptor >= 0 && IsHere(path)) m_open.insert(descriptor);
    }
    void Closed(int descriptor) {
        const std::lock_guard lock(m_mutex);
        m_open.erase(descriptor);
    }

  private:
    bool IsHere(const char* path) const { return !m_folder.empty() && std::strstr(path, m_folder.c_str()); }
    void AnswerLocked(std::unique_lock<std::mutex>& lock) {
        if (m_away) ++m_hung;
        m_changed.wait(lock, [this] { return !m_away; });
    }

    std::mutex m_mutex;
    std::condition_variable m_changed;
    // Guarded by m_mutex.
    std::string m_folder;
    bool m_away = false;
    bool m_list_hidden = false;
    int m_hung = 0;
    std::set<int> m_open;
};

Server& TheServer() {
    static auto* const server = new Server; // outlives threads that hang
    return *server;
}

} // namespace

extern "C" {
#pragma GCC visibility push(default)

int stat(const char* path, struct stat* status) noexcept {
    TheServer().Answer(path);
    return static_cast<int>(::syscall(SYS_newfstatat, AT_FDCWD, path, status, 0));
}

int open(const char* path, int flags, ...) {
    std::va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
    va_end(arguments);
    TheServer().Answer(path);
    const int descriptor = static_cast<int>(::syscall(SYS_openat, AT_FDCWD, path, flags, mode));
    TheServer().Opened(path, descriptor);
    return descriptor;
}

DIR* opendir(const char* path) {
    TheServer().AnswerList(path);
    static const auto system = reinterpret_cast<DIR* (*)(const char*)>(::dlsym(RTLD_NEXT, "opendir"));
    return system(path);
}

int fstatfs(int descriptor, struct statfs* system) noexcept {
    TheServer().Answer(descriptor);
    const int result = static_cast<int>(::syscall(SYS_fstatfs, descriptor, system));
    if (result == 0 && TheServer().Holds(descriptor)) system->f_type = NFS_SUPER_MAGIC;
    return result;
}

ssize_t pread(int descriptor, void* buffer, std::size_t count, off_t offset) {
    TheServer().Answer(descriptor);
    return ::syscall(SYS_pread64, descriptor, buffer, count, offset);
}

int close(int descriptor) {
    TheServer().Answer(descriptor);
    TheServer().Closed(descriptor);
    return static_cast<int>(::syscall(SYS_close, descriptor));
}

#pragma GCC visibility pop
} // extern "C"

namespace ordune::test {

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

class HangingShare : public testing::Test {
  protected:
    HangingShare() {
        for (const char* name : {"a.mp4", "b.mp4"})
            support::MakeClip(m_share / name, {.frames = 30});
        TheServer().Serve(m_share.Path().string());
    }
    ~HangingShare() override {
        TheServer().ComeBack();
        TheServer().Serve("");
    }

    // Opening fails as a read does; gives how long it took.
    static Clock::duration TimeToRefuse(const std::string& path) {
        const auto from = Clock::now();
        const Result<std::shared_ptr<MediaFile>> file = MediaFile::Open(path);
        const auto took = Clock::now() - from;
        EXPECT_FALSE(file) << path;
        if (!file) {
            EXPECT_EQ(file.Failure().kind, ErrorKind::Io) << file.Failure().text;
        }
        return took;
    }
    // Opening works, at the latest when what hung has got its answer.
    static void ExpectOpensSoon(const std::string& path) {
        const auto until = Clock::now() + 20s;
        while (!MediaFile::Open(path) && Clock::now() < until)
            std::this_thread::sleep_for(5ms);
        EXPECT_TRUE(MediaFile::Open(path));
    }

    support::TemporaryFolder m_share;
};

} // namespace

TEST_F(HangingShare, OpeningGivesUpAndIsTheOnlyOneThatWaits) {
    TheServer().GoAway();
    EXPECT_GE(TimeToRefuse(m_share / "a.mp4"), FileSource::kPatience);
    EXPECT_EQ(TheServer().Hung(), 1);
    // A thousand files of the same list cost no further wait.
    const auto from = Clock::now();
    for (int n = 0; n < 1000; ++n)
        TimeToRefuse(m_share / (std::to_string(n) + ".mp4"));
    EXPECT_LT(Clock::now() - from, 100 * FileSource::kPatience);
    EXPECT_EQ(TheServer().Hung(), 1);
    // Other folders are not concerned.
    const support::TemporaryFolder other;
    support::MakeClip(other / "c.mp4", {.frames = 10});
    EXPECT_TRUE(MediaFile::Open(other / "c.mp4"));
    TheServer().ComeBack();
    ExpectOpensSoon(m_share / "a.mp4");
    ExpectOpensSoon(m_share / "b.mp4");
}

TEST_F(HangingShare, ReadingGivesUpAndGoesOnOnceTheShareAnswers) {
    const auto opened = FileSource::Open(m_share / "a.mp4");
    ASSERT_TRUE(opened) << opened.Failure().text;
    const FileSource& file = *opened.Value();
    std::string whole(static_cast<std::size_t>(file.Size()), '\0');
    ASSERT_EQ(file.ReadAt(0, whole.data(), whole.size()), file.Size());
    EXPECT_EQ(whole.substr(4, 4), "ftyp");
    EXPECT_TRUE(file.Unchanged());

    TheServer().GoAway();
    std::string part(1000, 'x');
    EXPECT_EQ(file.ReadAt(0, part.data(), part.size()), -1);
    EXPECT_EQ(part, std::string(1000, 'x'));
    const int hung = TheServer().Hung();
    // The next ones know it.
    for (int n = 0; n < 1000; ++n)
        EXPECT_EQ(file.ReadAt(n, part.data(), 1), -1);
    EXPECT_FALSE(file.Unchanged());
    EXPECT_EQ(TheServer().Hung(), hung);

    TheServer().ComeBack();
    const auto until = Clock::now() + 20s;
    while (file.ReadAt(0, part.data(), part.size()) < 0 && Clock::now() < until)
        std::this_thread::sleep_for(5ms);
    EXPECT_EQ(part, whole.substr(0, part.size()));
    // To the end and past it.
    EXPECT_EQ(file.ReadAt(file.Size() - 10, part.data(), 1000), 10);
    EXPECT_EQ(file.ReadAt(file.Size(), part.data(), 10), 0);
}

TEST_F(HangingShare, AFileMayBeLetGoWhileAReadHangs) {
    {
        const auto opened = FileSource::Open(m_share / "a.mp4");
        ASSERT_TRUE(opened);
        TheServer().GoAway();
        char byte = 0;
        EXPECT_EQ(opened.Value()->ReadAt(0, &byte, 1), -1);
    }
    {
        TheServer().ComeBack();
        const auto opened = FileSource::Open(m_share / "b.mp4");
        ASSERT_TRUE(opened);
        TheServer().GoAway(); // the first to notice is its closing
    }
    TheServer().ComeBack();
    ExpectOpensSoon(m_share / "a.mp4");
}

TEST_F(HangingShare, ARecordingThatLooksForOthersBesideItWaitsForTheirListOnlySoLong) {
    // It opens by the sets of one beside it, as soon as it can know of that.
    const std::string lost = m_share / "lost.mp4";
    std::filesystem::copy_file(m_share / "a.mp4", lost);
    std::filesystem::resize_file(lost, std::filesystem::file_size(lost) * 9 / 10);
    {
        std::fstream file(lost, std::ios::in | std::ios::out | std::ios::binary);
        std::string bytes(std::istreambuf_iterator<char>(file), {});
        const std::size_t movie = bytes.find("moov");
        if (movie != std::string::npos) std::filesystem::resize_file(lost, movie - 4);
    }
    TheServer().HideList();
    auto opening = std::async(std::launch::async, [&] { return MediaFile::Open(lost); });
    const bool returned = opening.wait_for(20s) == std::future_status::ready;
    if (!returned) TheServer().ComeBack();
    EXPECT_TRUE(returned);
    EXPECT_FALSE(opening.get());
    TheServer().ComeBack();
    ExpectOpensSoon(lost);
}

TEST(CallThread, DoesOneThingAfterTheOtherAndRefusesWhileOneHangs) {
    CallThread calls;
    int done = 0;
    EXPECT_TRUE(calls.Run([&] { ++done; }, 20s));
    EXPECT_TRUE(calls.Run([&] { ++done; }, 20s));
    EXPECT_EQ(done, 2);
    EXPECT_TRUE(calls.Run([] { throw std::bad_alloc(); }, 20s));
    const auto open = std::make_shared<std::atomic<bool>>(false);
    const auto hang = [open] {
        while (!*open)
            std::this_thread::sleep_for(1ms);
    };
    EXPECT_FALSE(calls.Run(hang, 1ms));
    EXPECT_FALSE(calls.Run([&] { ++done; }, 20s));
    EXPECT_EQ(done, 2);
    *open = true;
    const auto until = Clock::now() + 20s;
    while (!calls.Run([&] { ++done; }, 20s) && Clock::now() < until)
        std::this_thread::sleep_for(1ms);
    EXPECT_EQ(done, 3);
}

} // namespace ordune::test

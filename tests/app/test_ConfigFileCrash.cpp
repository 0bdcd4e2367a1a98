// Writing the settings file when the process, the disk or the user's rights give out on the way: what is
// there afterwards is the whole old file or the whole new one.
//
// The calls to the system that the writing makes are taken here first: counted, logged, refused, or the last
// thing that the process does.
#include "app/ConfigFile.h"
#include "tests/support/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace {

struct Calls {
    bool watched = false;
    int count = 0;
    int lethal = -1;     // the process is killed at this one
    std::string refused; // fails with `error`
    int error = 0;
    std::vector<std::string> log;
};
Calls g_calls;

// True when the call is to be made.
bool Admit(const char* name) {
    if (!g_calls.watched) return true;
    if (g_calls.count++ == g_calls.lethal) kill(getpid(), SIGKILL);
    g_calls.log.emplace_back(name);
    if (g_calls.refused != name) return true;
    errno = g_calls.error;
    return false;
}

} // namespace

#pragma GCC visibility push(default) // the toolkit is to find them
extern "C" {

ssize_t write(int file, const void* bytes, size_t size) {
    return Admit("write") ? syscall(SYS_write, file, bytes, size) : -1;
}

int fsync(int file) {
    return Admit("fsync") ? static_cast<int>(syscall(SYS_fsync, file)) : -1;
}

int rename(const char* from, const char* to) noexcept {
    return Admit("rename") ? static_cast<int>(syscall(SYS_renameat2, AT_FDCWD, from, AT_FDCWD, to, 0)) : -1;
}

int close(int file) {
    return Admit("close") ? static_cast<int>(syscall(SYS_close, file)) : -1;
}

} // extern "C"
#pragma GCC visibility pop

namespace {

namespace fs = std::filesystem;

const QStringList kOld = {"/old", "/pictures", "/series", "1", "0", "2", "1", "2", "0", "1"};
const QStringList kNew = {"/new/" + QString(5000, 'x'), "", "", "0", "1", "0", "2", "1", "1", "0"};

std::string Content(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

// What waitpid tells of a process that does `work` and ends with its answer.
int InProcess(const std::function<bool()>& work) {
    const pid_t child = fork();
    if (child == 0) _exit(work() ? 0 : 1);
    int status = -1;
    waitpid(child, &status, 0);
    return status;
}

class ConfigFileCrash : public testing::Test {
  protected:
    void SetUp() override {
        ASSERT_TRUE(WriteConfigFile(Path(), kOld));
        m_old = Content(m_path);
        const fs::path other = m_folder / "other.config";
        ASSERT_TRUE(WriteConfigFile(QString::fromStdString(other.string()), kNew));
        m_new = Content(other);
        fs::remove(other);
        ASSERT_NE(m_old, m_new);
    }
    void TearDown() override { g_calls = Calls(); }

    QString Path() const { return QString::fromStdString(m_path.string()); }
    bool WriteNew() const { return WriteConfigFile(Path(), kNew); }

    // The same by a user whom rights bind.
    int WriteNewAsNobody() {
        constexpr uid_t kNobody = 65534;
        return InProcess([&] {
            if (getuid() == 0 && (setgid(kNobody) != 0 || setuid(kNobody) != 0)) return true;
            return WriteNew();
        });
    }

    support::TemporaryFolder m_folder;
    fs::path m_path = m_folder / "Player.config";
    std::string m_old;
    std::string m_new;
};

} // namespace

TEST_F(ConfigFileCrash, WhenKilledAtAnyCallTheFileIsTheOldOrTheNewOne) {
    bool leftOld = false;
    int status = -1;
    for (int call = 0; call < 100 && status != 0; ++call) {
        SetUp();
        status = InProcess([&] {
            g_calls.watched = true;
            g_calls.lethal = call;
            return WriteNew();
        });
        const std::string found = Content(m_path);
        ASSERT_TRUE(found == m_old || found == m_new) << "killed at call " << call << ": " << found;
        if (status == 0) {
            EXPECT_EQ(found, m_new);
            break;
        }
        ASSERT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL) << status;
        leftOld = leftOld || found == m_old;
    }
    EXPECT_EQ(status, 0);
    EXPECT_TRUE(leftOld);
}

TEST_F(ConfigFileCrash, TheNewFileIsOnTheDiskBeforeItTakesTheOldOnesPlace) {
    g_calls.watched = true;
    ASSERT_TRUE(WriteNew());
    g_calls.watched = false;
    std::string calls;
    for (const std::string& call : g_calls.log)
        calls += call + " ";
    EXPECT_THAT(calls, testing::MatchesRegex("(write )+fsync .*rename .*"));
    EXPECT_THAT(calls.substr(calls.find("fsync")), testing::Not(testing::HasSubstr("write")));
}

TEST_F(ConfigFileCrash, ADiskThatRefusesAnyStepLeavesTheOldFileAndNothingBeside) {
    for (const char* step : {"write", "fsync", "rename"}) {
        for (const int error : {ENOSPC, EIO}) {
            g_calls.watched = true;
            g_calls.refused = step;
            g_calls.error = error;
            EXPECT_FALSE(WriteNew()) << step;
            g_calls = Calls();
            EXPECT_EQ(Content(m_path), m_old) << step;
            EXPECT_EQ(std::distance(fs::directory_iterator(m_folder.Path()), {}), 1) << step;
        }
    }
}

TEST_F(ConfigFileCrash, AProcessThatIsEndedForWritingTooMuchLeavesTheOldFile) {
    const int status = InProcess([&] {
        const struct rlimit tight = {100, 100};
        setrlimit(RLIMIT_FSIZE, &tight);
        return WriteNew(); // the signal ends the process
    });
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGXFSZ) << status;
    EXPECT_EQ(Content(m_path), m_old);
}

TEST_F(ConfigFileCrash, AFolderThatTakesNoFileKeepsTheOldOne) {
    fs::permissions(m_path, fs::perms::all);
    fs::permissions(m_folder.Path(), fs::perms::owner_read | fs::perms::owner_exec | fs::perms::others_read |
                                         fs::perms::others_exec);
    EXPECT_NE(WriteNewAsNobody(), 0);
    fs::permissions(m_folder.Path(), fs::perms::owner_all);
    EXPECT_EQ(Content(m_path), m_old);
}

TEST_F(ConfigFileCrash, AFileThatMayNotBeWrittenStaysInAFolderThatMay) {
    fs::permissions(m_folder.Path(), fs::perms::all);
    fs::permissions(m_path, fs::perms::owner_read | fs::perms::others_read);
    EXPECT_NE(WriteNewAsNobody(), 0);
    EXPECT_EQ(Content(m_path), m_old);
}

TEST_F(ConfigFileCrash, AFileThatMayNotBeReadGivesNothing) {
    fs::permissions(m_folder.Path(), fs::perms::all);
    fs::permissions(m_path, fs::perms::none);
    constexpr uid_t kNobody = 65534;
    EXPECT_EQ(InProcess([&] {
                  if (getuid() == 0 && (setgid(kNobody) != 0 || setuid(kNobody) != 0)) return false;
                  return ReadConfigFile(Path()).isEmpty();
              }),
              0);
    fs::permissions(m_path, fs::perms::owner_all);
    EXPECT_FALSE(ReadConfigFile(Path()).isEmpty());
}

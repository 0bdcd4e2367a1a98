#include "tests/support/ChildProcess.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/WaitUntil.h"

#include <csignal>
#include <filesystem>
#include <gtest/gtest.h>
#include <unistd.h>

using namespace std::chrono_literals;
using support::ChildProcess;

TEST(ChildProcess, GivesExitCodeAndOutput) {
    const auto result = ChildProcess::Run({"sh", "-c", "echo out; echo err >&2; exit 7"}, 10s);
    EXPECT_EQ(result.exitCode, 7);
    EXPECT_EQ(result.output, "out\nerr\n");
}

TEST(ChildProcess, TellsAProgramThatIsNotThere) {
    EXPECT_EQ(ChildProcess::Run({"no-such-program-of-ours"}, 10s).exitCode, 127);
}

TEST(ChildProcess, SetsAndRemovesEnvironment) {
    setenv("SUPPORT_TEST_GONE", "here", 1);
    ChildProcess::Setup setup;
    setup.environment = {{"SUPPORT_TEST_SET", "a value"}, {"SUPPORT_TEST_GONE", std::nullopt}};
    const auto result =
        ChildProcess::Run({"sh", "-c", "echo [$SUPPORT_TEST_SET] [${SUPPORT_TEST_GONE-unset}]"}, 10s, setup);
    EXPECT_EQ(result.output, "[a value] [unset]\n");
}

TEST(ChildProcess, RunsInTheFolderItIsTold) {
    support::TemporaryFolder folder;
    ChildProcess::Setup setup;
    setup.workingDirectory = folder.Path();
    const auto result = ChildProcess::Run({"pwd", "-P"}, 10s, setup);
    EXPECT_EQ(result.output, std::filesystem::canonical(folder.Path()).string() + "\n");
}

TEST(ChildProcess, HandsOutLinesAsTheyAreWritten) {
    ChildProcess child = ChildProcess::Start({"sh", "-c", "echo one; echo two; exec sleep 60"});
    EXPECT_EQ(child.ReadLine(10s), "one");
    EXPECT_EQ(child.ReadLine(10s), "two");
    EXPECT_EQ(child.ReadLine(20ms), std::nullopt);
    EXPECT_TRUE(child.IsRunning());
}

TEST(ChildProcess, DoesNotBlockAChildThatTalksALot) {
    const auto result = ChildProcess::Run({"sh", "-c", "head -c 1000000 /dev/zero"}, 20s);
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.output.size(), 1000000U);
}

TEST(ChildProcess, RunEndsAChildThatOverstaysItsLimit) {
    const auto result = ChildProcess::Run({"sleep", "600"}, 50ms);
    EXPECT_EQ(result.exitCode, -1);
}

TEST(ChildProcess, GoingAwayEndsTheWholeGroup) {
    pid_t grandchild = 0;
    {
        ChildProcess child = ChildProcess::Start({"sh", "-c", "sleep 600 & echo $!; wait"});
        const auto line = child.ReadLine(10s);
        ASSERT_TRUE(line.has_value());
        grandchild = static_cast<pid_t>(std::stol(*line));
        ASSERT_EQ(kill(grandchild, 0), 0);
    }
    // An orphan killed by us stays a zombie until the init process has reaped it, which not every container's
    // does.
    const std::string status = "/proc/" + std::to_string(grandchild) + "/exe";
    EXPECT_TRUE(support::WaitUntil(
        [&] {
            char target[8];
            return readlink(status.c_str(), target, sizeof target) < 0;
        },
        10s));
}

TEST(ChildProcess, TerminateKillsAChildThatRefusesToEnd) {
    ChildProcess child =
        ChildProcess::Start({"sh", "-c", "trap '' TERM; echo ready; while :; do sleep 1; done"});
    ASSERT_TRUE(child.WaitForOutput("ready", 10s));
    EXPECT_EQ(child.Terminate(50ms), 128 + SIGKILL);
    EXPECT_FALSE(child.IsRunning());
}

// The reports are made up and caught, so that nobody takes them for this program's own.
TEST(ChildProcess, PassesOnWhatASanitizerReported) {
    for (const std::string report :
         {"WARNING: ThreadSanitizer: data race (pid=1)", "==1==ERROR: AddressSanitizer: heap-use-after-free",
          "Player.cpp:1:2: runtime error: signed integer overflow"}) {
        testing::internal::CaptureStderr();
        ChildProcess::Run({"sh", "-c", "echo before; echo \"$0\"; exec sleep 600", report}, 50ms);
        EXPECT_EQ(testing::internal::GetCapturedStderr(),
                  "A child of this test wrote a report:\nbefore\n" + report + "\n\n");
    }
    testing::internal::CaptureStderr();
    ChildProcess::Run({"sh", "-c", "echo all is well"}, 10s);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

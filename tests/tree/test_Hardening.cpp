// What the compiler and the linker put between a bug and whoever would use it is really in what was built.
#include "tests/support/ChildProcess.h"

#include <chrono>
#include <gtest/gtest.h>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

namespace {

const std::vector<std::string> kBinaries = {TALVIO_FILE, DRAVO_FILE, ORDUNE_FILE};

std::string ReadElf(const std::string& option, const std::string& file) {
    const auto result = support::ChildProcess::Run({"readelf", "-W", option, file}, std::chrono::seconds(60));
    EXPECT_EQ(result.exitCode, 0) << result.output;
    return result.output;
}

bool Has(const std::string& text, const std::string& pattern) {
    return std::regex_search(text, std::regex(pattern));
}

} // namespace

TEST(Hardening, TheProgramCanBeLoadedAnywhere) {
    EXPECT_TRUE(Has(ReadElf("-h", TALVIO_FILE), "Type:\\s+DYN"));
    EXPECT_TRUE(Has(ReadElf("-d", TALVIO_FILE), "FLAGS_1.*\\bPIE\\b"));
}

TEST(Hardening, AddressesAreBoundAtTheStartAndThenReadOnly) {
    for (const std::string& file : kBinaries) {
        SCOPED_TRACE(file);
        EXPECT_TRUE(Has(ReadElf("-d", file), "BIND_NOW|FLAGS_1.*\\bNOW\\b"));
        EXPECT_TRUE(Has(ReadElf("-l", file), "GNU_RELRO"));
    }
}

TEST(Hardening, NoMemoryIsBothWritableAndExecutable) {
    for (const std::string& file : kBinaries) {
        SCOPED_TRACE(file);
        const std::string segments = ReadElf("-l", file);
        EXPECT_TRUE(Has(segments, "GNU_STACK.*\\bRW "));
        EXPECT_FALSE(Has(segments, "(LOAD|GNU_STACK).*\\bRWE\\b"));
    }
}

TEST(Hardening, StacksAreGuardedEverywhereAndCopiesWhereTheirSizeIsKnown) {
    std::string all;
    for (const std::string& file : kBinaries) {
        const std::string symbols = ReadElf("--dyn-syms", file);
        EXPECT_TRUE(Has(symbols, "__stack_chk_fail")) << file;
        all += symbols;
    }
    // Few functions of ours are of the kind that has a checked twin: one is enough to know that they are
    // used.
    EXPECT_TRUE(Has(all, "__\\w+_chk@"));
}

TEST(Hardening, LargeStackFramesAreTouchedPageByPage) {
    if (!Has(ReadElf("-h", TALVIO_FILE), "Machine:.*(X86-64|80386)"))
        GTEST_SKIP() << "only known how a probe looks on x86";
    // Frames of more than a page are few: the probe of one is enough to know that they are there.
    std::string all;
    for (const std::string& file : kBinaries) {
        const auto code = support::ChildProcess::Run({"objdump", "-d", file}, std::chrono::seconds(60));
        EXPECT_EQ(code.exitCode, 0) << file;
        all += code.output;
    }
    EXPECT_TRUE(all.find("orq    $0x0,") != std::string::npos);
}

TEST(Hardening, ContainersAreNotReadBesideTheirEnds) {
    for (const std::string& file : kBinaries)
        EXPECT_TRUE(Has(ReadElf("--dyn-syms", file), "__glibcxx_assert_fail")) << file;
}

TEST(Hardening, LibrariesAreLookedForBesideTheProgramAlone) {
    for (const std::string& file : kBinaries) {
        SCOPED_TRACE(file);
        std::smatch match;
        const std::string dynamic = ReadElf("-d", file);
        ASSERT_TRUE(std::regex_search(dynamic, match, std::regex(R"((?:RUNPATH|RPATH).*\[(.*)\])")));
        // An empty part would be the folder that the program was started from.
        std::istringstream parts(match[1].str() + ":end");
        for (std::string part; std::getline(parts, part, ':') && part != "end";)
            EXPECT_TRUE(part.starts_with("$ORIGIN")) << "'" << part << "'";
    }
}

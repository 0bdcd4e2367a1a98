// What libDravo.so shows to the world is what its header declares, name by name.
#include "tests/support/ChildProcess.h"

#include <chrono>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <regex>
#include <set>
#include <sstream>
#include <string>

namespace {

std::set<std::string> DeclaredNames() {
    std::ifstream file(std::string(TALVIO_SOURCE_DIR) + "/dravo/include/Dravo.h");
    const std::string text{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    static const std::regex declaration(R"(DRAVO_API[^;(]*\b(Dravo_\w+)\()");
    std::set<std::string> names;
    for (std::sregex_iterator it(text.begin(), text.end(), declaration), end; it != end; ++it)
        names.insert((*it)[1]);
    return names;
}

std::set<std::string> ExportedNames() {
    const auto result = support::ChildProcess::Run(
        {"nm", "-D", "--defined-only", "--format=posix", DRAVO_FILE}, std::chrono::seconds(30));
    EXPECT_EQ(result.exitCode, 0) << result.output;
    std::set<std::string> names;
    std::istringstream lines(result.output);
    for (std::string line; std::getline(lines, line);)
        names.insert(line.substr(0, line.find(' ')));
    // The linker's own marks of where sections end.
    for (const char* mark : {"__bss_start", "_edata", "_end"})
        names.erase(mark);
    return names;
}

} // namespace

TEST(Exports, ThePlaybackLibraryShowsExactlyItsHeader) {
    const auto declared = DeclaredNames();
    ASSERT_EQ(declared.size(), 41U) << "the count of the header's functions";
    EXPECT_EQ(ExportedNames(), declared);
}

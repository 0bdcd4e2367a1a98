// docs/dependencies.md tells exactly the libraries that the program and its two libraries are linked with,
// and their packages.
#include "tests/support/ChildProcess.h"

#include <chrono>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iostream>
#include <iterator>
#include <map>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace {

using Names = std::set<std::string>;

struct Row {
    Names users; // of talvio, libDravo, libOrdune
    std::string package;
    std::string licence;
    std::string purpose;
};

std::string Trimmed(const std::string& text) {
    const auto begin = text.find_first_not_of(" `");
    const auto end = text.find_last_not_of(" `");
    return begin == std::string::npos ? "" : text.substr(begin, end - begin + 1);
}

std::vector<std::string> Split(const std::string& text, char separator) {
    std::vector<std::string> parts;
    std::istringstream stream(text);
    for (std::string part; std::getline(stream, part, separator);)
        parts.push_back(Trimmed(part));
    return parts;
}

// The first table of the file, by library: | library | linked into | package | licence | what for |
std::map<std::string, Row> Table() {
    std::ifstream file(std::string(TALVIO_SOURCE_DIR) + "/docs/dependencies.md");
    std::map<std::string, Row> rows;
    for (std::string line; std::getline(file, line);) {
        const std::vector<std::string> cells = Split(line, '|');
        if (cells.size() != 6 || cells[1].find(".so") == std::string::npos) continue;
        const std::vector<std::string> users = Split(cells[2], ',');
        EXPECT_FALSE(rows.contains(cells[1])) << cells[1] << " stands there twice";
        rows[cells[1]] = {Names(users.begin(), users.end()), cells[3], cells[4], cells[5]};
    }
    return rows;
}

// Names without versions, which differ from one release of a distribution to the next.
Names LinkedInto(const std::string& binary) {
    const auto result = support::ChildProcess::Run({"readelf", "-W", "-d", binary}, std::chrono::seconds(60));
    EXPECT_EQ(result.exitCode, 0) << result.output;
    static const std::regex needed(R"(\(NEEDED\).*\[(.+\.so)(\.[0-9.]+)?\])");
    Names names;
    for (std::sregex_iterator it(result.output.begin(), result.output.end(), needed), end; it != end; ++it)
        names.insert((*it)[1]);
    // Our own, and the compiler's, which depend on how it is called.
    for (const char* own :
         {"libDravo.so", "libOrdune.so", "libstdc++.so", "libgcc_s.so", "libc.so", "libm.so",
          "ld-linux-x86-64.so", "ld-linux-aarch64.so", "libasan.so", "libubsan.so", "libtsan.so"})
        names.erase(own);
    return names;
}

Names ListedFor(const std::string& user) {
    Names names;
    for (const auto& [library, row] : Table()) {
        if (row.users.contains(user)) names.insert(library);
    }
    return names;
}

bool IsDebian12() {
    std::ifstream file("/etc/os-release");
    const std::string text(std::istreambuf_iterator<char>(file), {});
    return text.find("\nID=debian\n") != std::string::npos &&
           text.find("\nVERSION_ID=\"12\"\n") != std::string::npos;
}

// Files that the loader takes, without symbolic links, by the library's name without its version.
std::map<std::string, std::string> LoadedFiles() {
    static const std::regex loaded(R"(\s(\S+\.so)[0-9.]* => (/\S+))");
    std::map<std::string, std::string> files;
    for (const char* binary : {TALVIO_FILE, DRAVO_FILE, ORDUNE_FILE}) {
        const auto result = support::ChildProcess::Run({"ldd", binary}, std::chrono::seconds(60));
        EXPECT_EQ(result.exitCode, 0) << result.output;
        for (std::sregex_iterator it(result.output.begin(), result.output.end(), loaded), end; it != end;
             ++it)
            files[(*it)[1]] = std::filesystem::canonical((*it)[2].str());
    }
    return files;
}

// Packages by the files that they brought; a file that none brought is missing.
std::map<std::string, std::string> PackagesOf(const std::map<std::string, std::string>& files) {
    std::vector<std::string> command = {"dpkg", "-S"};
    for (const auto& [library, file] : files) {
        command.push_back(file);
        // As a package may name it that is older than the link from /lib to /usr/lib.
        if (file.starts_with("/usr/lib")) command.push_back(file.substr(4));
    }
    const auto result = support::ChildProcess::Run(command, std::chrono::seconds(60));
    static const std::regex found(R"(([^\s:]+)(?::\S+)?: (?:/usr)?(/\S+))");
    std::map<std::string, std::string> packages;
    std::istringstream lines(result.output);
    for (std::string line; std::getline(lines, line);) {
        std::smatch match;
        if (!std::regex_match(line, match, found)) continue;
        const std::string file = match[2];
        packages[file.starts_with("/lib") ? "/usr" + file : file] = match[1];
    }
    return packages;
}

} // namespace

TEST(Dependencies, AreListedAsTheyAreLinked) {
    EXPECT_EQ(ListedFor("talvio"), LinkedInto(TALVIO_FILE));
    EXPECT_EQ(ListedFor("libDravo"), LinkedInto(DRAVO_FILE));
    EXPECT_EQ(ListedFor("libOrdune"), LinkedInto(ORDUNE_FILE));
}

TEST(Dependencies, AreListedWithTheirPackages) {
    if (!IsDebian12()) GTEST_SKIP() << "the list names Debian 12's packages";
    const auto files = LoadedFiles();
    const auto packages = PackagesOf(files);
    if (packages.empty()) GTEST_SKIP() << "dpkg is not there or knows none of the libraries";
    for (const auto& [library, row] : Table()) {
        const auto file = files.find(library);
        ASSERT_NE(file, files.end()) << library << " is loaded from nowhere";
        const auto package = packages.find(file->second);
        if (package == packages.end()) {
            std::cout << file->second << " is of no package, and not compared\n";
            continue;
        }
        EXPECT_EQ(row.package, package->second) << library;
    }
}

TEST(Dependencies, EachHasALicenceAndAPurpose) {
    EXPECT_GT(Table().size(), 10U);
    for (const auto& [library, row] : Table()) {
        EXPECT_FALSE(row.licence.empty()) << library;
        EXPECT_FALSE(row.purpose.empty()) << library;
        for (const std::string& user : row.users)
            EXPECT_TRUE(user == "talvio" || user == "libDravo" || user == "libOrdune") << user;
    }
}

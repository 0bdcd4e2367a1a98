// Which folder may include what: every storey stands on the ones below it and knows nothing of the ones
// above.
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <regex>
#include <set>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;

struct Include {
    std::string file;   // relative to the tree's root, '/' between
    std::string target; // as written
};

std::string FirstFolder(const std::string& path) {
    return path.substr(0, path.find('/'));
}

bool IsSource(const fs::path& path) {
    return path.extension() == ".h" || path.extension() == ".cpp" || path.extension() == ".c";
}

// Every #include of the folders given.
std::vector<Include> IncludesOf(const std::vector<std::string>& folders) {
    static const std::regex pattern(R"(^\s*#\s*include\s*[<"]([^>"]+)[>"])");
    std::vector<Include> includes;
    for (const auto& folder : folders) {
        const fs::path root = TALVIO_SOURCE_DIR;
        if (!fs::exists(root / folder)) continue;
        for (const auto& entry : fs::recursive_directory_iterator(root / folder)) {
            if (!entry.is_regular_file() || !IsSource(entry.path())) continue;
            std::ifstream file(entry.path());
            std::smatch match;
            for (std::string line; std::getline(file, line);) {
                if (std::regex_search(line, match, pattern))
                    includes.push_back({fs::relative(entry.path(), root).generic_string(), match[1]});
            }
        }
    }
    return includes;
}

const std::vector<std::string> kProduct = {"app",     "widgets", "playlist", "settings",
                                           "dialogs", "engine",  "dravo",    "ordune"};

// Names the includes of `folders` that `isForbidden` says are.
template <typename Predicate>
std::vector<std::string> Offences(const std::vector<std::string>& folders, Predicate&& isForbidden) {
    std::vector<std::string> offences;
    for (const auto& include : IncludesOf(folders)) {
        if (isForbidden(include)) offences.push_back(include.file + " includes " + include.target);
    }
    return offences;
}

bool IsQt(const std::string& target) {
    return target.starts_with("Qt") || (target.size() > 1 && target[0] == 'Q' && std::isupper(target[1]));
}

} // namespace

TEST(Layers, TheTreeIsReallyRead) {
    const auto includes = IncludesOf(kProduct);
    EXPECT_GT(includes.size(), 100U);
    EXPECT_TRUE(
        std::any_of(includes.begin(), includes.end(), [](const Include& i) { return IsQt(i.target); }));
}

TEST(Layers, NothingOutsideAppIncludesTheMainWindow) {
    const auto offences =
        Offences({"widgets", "playlist", "settings", "dialogs", "engine", "dravo", "ordune"},
                 [](const Include& include) { return FirstFolder(include.target) == "app"; });
    EXPECT_EQ(offences, std::vector<std::string>());
}

TEST(Layers, TheLibrariesKnowNoQt) {
    const auto offences =
        Offences({"dravo", "ordune"}, [](const Include& include) { return IsQt(include.target); });
    EXPECT_EQ(offences, std::vector<std::string>());
}

TEST(Layers, OnlyTheAdapterKnowsThePlaybackLibrary) {
    const auto offences =
        Offences({"app", "widgets", "playlist", "settings", "dialogs", "engine"}, [](const Include& include) {
            const bool isLibrary = include.target == "Dravo.h" || FirstFolder(include.target) == "dravo" ||
                                   FirstFolder(include.target) == "ordune";
            return isLibrary && include.file != "engine/BrekCtrl.cpp";
        });
    EXPECT_EQ(offences, std::vector<std::string>());
}

TEST(Layers, LibavStaysInTheMediaLibrary) {
    const auto offences = Offences({"app", "widgets", "playlist", "settings", "dialogs", "engine", "dravo"},
                                   [](const Include& include) {
                                       const std::string folder = FirstFolder(include.target);
                                       return folder.starts_with("libav") || folder.starts_with("libsw");
                                   });
    EXPECT_EQ(offences, std::vector<std::string>());
}

TEST(Layers, TheMediaLibraryKnowsNeitherScreenNorSoundDeviceNorPlayer) {
    const std::set<std::string> forbidden = {"X11", "xcb", "cubeb", "dravo", "engine", "widgets", "app"};
    const auto offences = Offences(
        {"ordune"}, [&](const Include& include) { return forbidden.contains(FirstFolder(include.target)); });
    EXPECT_EQ(offences, std::vector<std::string>());
}

#include "ordune/Neighbours.h"

#include "ordune/CallThread.h"
#include "ordune/FileSource.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <dirent.h>
#include <memory>
#include <string_view>
#include <sys/stat.h>
#include <system_error>
#include <utility>

namespace ordune {

namespace {

// A folder of a year's recordings has fewer; a hostile one is not read to its end.
constexpr int kMostEntries = 20'000;
// Whose times are asked for: that can take long on a network.
constexpr std::size_t kMostAsked = 64;

struct CloseFolder {
    void operator()(DIR* folder) const { ::closedir(folder); }
};

struct Neighbour {
    std::string name;
    std::size_t shared = 0;
    std::int64_t apart = 0; // seconds
};

std::string SuffixOf(const std::string& name) {
    const std::size_t dot = name.rfind('.');
    std::string suffix = dot == std::string::npos ? "" : name.substr(dot);
    // Not by the locale: names are bytes.
    std::transform(suffix.begin(), suffix.end(), suffix.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
    return suffix;
}

bool IsMp4(const std::string& suffix) {
    constexpr std::array<std::string_view, 4> kSuffixes = {".mp4", ".mov", ".m4v", ".3gp"};
    return std::find(kSuffixes.begin(), kSuffixes.end(), suffix) != kSuffixes.end();
}

std::vector<std::string> List(const std::string& path, std::size_t most) {
    const std::size_t slash = path.rfind('/');
    const std::string prefix = slash == std::string::npos ? "" : path.substr(0, slash + 1);
    const std::string own = path.substr(prefix.size());
    const std::string suffix = SuffixOf(own);
    const std::unique_ptr<DIR, CloseFolder> folder(::opendir(prefix.empty() ? "." : prefix.c_str()));
    struct stat self {};
    std::vector<Neighbour> found;
    if (!folder || ::stat(path.c_str(), &self) != 0) return {};
    for (int n = 0; n < kMostEntries; ++n) {
        const dirent* entry = ::readdir(folder.get());
        if (!entry) break;
        std::string name = entry->d_name;
        if (name == own || name[0] == '.') continue;
        const std::string its = SuffixOf(name);
        if (its != suffix && (IsMp4(suffix) || !IsMp4(its))) continue;
        const auto differ = std::mismatch(name.begin(), name.end(), own.begin(), own.end());
        found.push_back({std::move(name), static_cast<std::size_t>(differ.second - own.begin())});
    }
    const auto nearer = [](const Neighbour& a, const Neighbour& b) {
        if (a.shared != b.shared) return a.shared > b.shared;
        if (a.apart != b.apart) return a.apart < b.apart;
        return a.name < b.name;
    };
    std::sort(found.begin(), found.end(), nearer);
    found.resize(std::min(found.size(), kMostAsked));
    std::erase_if(found, [&](Neighbour& neighbour) {
        struct stat status {};
        if (::stat((prefix + neighbour.name).c_str(), &status) != 0 || !S_ISREG(status.st_mode)) return true;
        neighbour.apart = std::llabs(static_cast<long long>(status.st_mtime) - self.st_mtime);
        return false;
    });
    std::sort(found.begin(), found.end(), nearer);
    found.resize(std::min(found.size(), most));
    std::vector<std::string> paths;
    paths.reserve(found.size());
    for (const Neighbour& neighbour : found)
        paths.push_back(prefix + neighbour.name);
    return paths;
}

} // namespace

std::vector<std::string> NeighboursOf(const std::string& path, std::size_t most) {
    // On a thread of its own: the share may have gone away.
    const auto found = std::make_shared<std::vector<std::string>>();
    try {
        CallThread calls;
        if (!calls.Run([=] { *found = List(path, most); }, FileSource::kPatience)) return {};
    } catch (const std::system_error&) {
        return {};
    }
    return std::move(*found);
}

} // namespace ordune

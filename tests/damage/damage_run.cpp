// Many broken variants of the files given: damage_run [variants=N] [seed=N] [keep=FOLDER] FILE-OR-FOLDER...
//
// Spreads the variants evenly over the files, prints every promise that was broken as it happens, and at the
// end a table of what became of each kind of damage. Fails when a promise was broken.
#include "tests/damage/Examination.h"
#include "tests/support/TemporaryFolder.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace fs = std::filesystem;
using namespace damage;

namespace {

struct Tally {
    int variants = 0;
    int refused = 0;
    int before = 0;
    int after = 0;
    int numbered = 0;
    int inexact = 0;
    int broken = 0;
    std::chrono::milliseconds slowest{0};
    std::uint64_t peak_kilobytes = 0;

    void Add(const Verdict& verdict) {
        ++variants;
        refused += verdict.opened ? 0 : 1;
        before += verdict.checked_before ? 1 : 0;
        after += verdict.checked_after ? 1 : 0;
        numbered += verdict.checked_number ? 1 : 0;
        inexact += verdict.inexact.empty() ? 0 : 1;
        broken += verdict.broken.empty() ? 0 : 1;
        slowest = std::max(slowest, verdict.slowest);
        peak_kilobytes = std::max(peak_kilobytes, verdict.peak_kilobytes);
    }
    void Print(const char* place, const char* harm) const {
        std::printf("%-14s %-11s %8d %8d %8d %8d %8d %8d %8d %8lld %8llu\n", place, harm, variants, refused,
                    before, after, numbered, inexact, broken, static_cast<long long>(slowest.count()),
                    static_cast<unsigned long long>(peak_kilobytes / 1024));
    }
};

std::vector<std::pair<Place, Harm>> AllKinds() {
    std::vector<std::pair<Place, Harm>> kinds;
    for (const Place place : kPlaces) {
        for (const Harm harm : kHarms)
            kinds.emplace_back(place, harm);
    }
    return kinds;
}

// Everything in the folders but lists and notes.
std::vector<fs::path> FilesIn(const std::vector<std::string>& arguments) {
    std::vector<fs::path> files;
    for (const std::string& argument : arguments) {
        if (!fs::is_directory(argument)) {
            files.emplace_back(argument);
            continue;
        }
        for (const fs::directory_entry& entry : fs::recursive_directory_iterator(argument)) {
            const std::string ending = entry.path().extension().string();
            if (entry.is_regular_file() && ending != ".md5" && ending != ".md" && ending != ".tsv")
                files.push_back(entry.path());
        }
    }
    std::sort(files.begin(), files.end());
    return files;
}

} // namespace

int main(int argc, char** argv) {
    int variants = 1000;
    std::uint64_t seed = std::random_device()();
    std::string keep;
    std::vector<std::string> arguments;
    for (int i = 1; i < argc; ++i) {
        const std::string argument = argv[i];
        if (argument.starts_with("variants=")) {
            variants = std::stoi(argument.substr(9));
        } else if (argument.starts_with("seed=")) {
            seed = std::stoull(argument.substr(5));
        } else if (argument.starts_with("keep=")) {
            keep = argument.substr(5);
            fs::create_directories(keep);
        } else {
            arguments.push_back(argument);
        }
    }
    const support::TemporaryFolder scratch;
    std::vector<std::pair<std::string, std::unique_ptr<Examination>>> files;
    for (const fs::path& path : FilesIn(arguments)) {
        const std::string name = path.filename().string();
        auto examination =
            std::make_unique<Examination>(path.string(), keep.empty() ? scratch.Path().string() : keep, name);
        if (examination->Usable()) files.emplace_back(name, std::move(examination));
    }
    if (files.empty()) {
        std::fputs("usage: damage_run [variants=N] [seed=N] [keep=FOLDER] FILE-OR-FOLDER...\n", stderr);
        return 2;
    }
    std::printf("%d variants of %zu files, seed %llu\n", variants, files.size(),
                static_cast<unsigned long long>(seed));

    std::map<std::pair<Place, Harm>, Tally> tallies;
    Tally all;
    Random random(seed);
    // A short run too gets to see any of them.
    std::shuffle(files.begin(), files.end(), random);
    std::vector<std::pair<Place, Harm>> kinds = AllKinds();
    for (int round = 0; all.variants < variants; ++round) {
        std::shuffle(kinds.begin(), kinds.end(), random);
        for (std::size_t i = 0; i < files.size() && all.variants < variants; ++i) {
            const std::uint64_t own_seed = random();
            const auto [place, harm] = kinds[i % kinds.size()];
            Verdict verdict;
            if (!files[i].second->Try(place, harm, own_seed, verdict)) continue;
            all.Add(verdict);
            tallies[{place, harm}].Add(verdict);
            for (const std::string& promise : verdict.broken) {
                std::printf("%s, %s, %s, %llu: %s\n", files[i].first.c_str(), NameOf(place), NameOf(harm),
                            static_cast<unsigned long long>(own_seed), promise.c_str());
                std::fflush(stdout);
            }
        }
    }
    std::printf("\n%-14s %-11s %8s %8s %8s %8s %8s %8s %8s %8s %8s\n", "place", "harm", "variants", "refused",
                "before", "after", "numbered", "inexact", "broken", "call ms", "peak MB");
    for (const auto& [kind, tally] : tallies)
        tally.Print(NameOf(kind.first), NameOf(kind.second));
    all.Print("all", "");
    return all.broken == 0 ? 0 : 1;
}

// Breaks a file, lets a process of its own play it, and says whether what was promised of broken files held:
//
// - no crash;
// - no call longer than two seconds, or than twice what it takes on the whole file where that is more;
// - less than 1 GB of memory;
// - pictures before the damage are exact, under their own numbers;
// - the pictures of the next whole group are there, counted from the end of the film, and playing reaches
//   them;
// - where the container tells it, they have the number that they had.
//
// One more thing is told, but not demanded: whether those pictures are exact. A decoder that has met damage
// is replaced, but not every codec tells that it has (ordune/PictureDecoder.h).
#pragma once

#include "tests/damage/Damage.h"

#include <chrono>
#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace damage {

// What must hold of a broken file.
struct Expectation {
    std::vector<std::uint32_t> before; // exact under these numbers
    std::vector<std::uint32_t> after;  // of the next whole group; the first is its key picture
    bool numbered = false;             // whether the file's tables tell the numbers of `after`

    bool MustOpen() const { return !before.empty() || !after.empty(); }
};

Expectation ExpectationOf(const FilePlan& plan, const std::vector<std::uint8_t>& whole,
                          const Damaged& damaged);

struct Verdict {
    Place place{};
    Harm harm{};
    bool opened = false;
    bool checked_before = false;
    bool checked_after = false;
    bool checked_number = false; // of the first picture after the damage
    std::chrono::milliseconds slowest{0};
    std::string slowest_call;
    std::uint64_t peak_kilobytes = 0;
    std::vector<std::string> broken;  // promises; empty when all held
    std::vector<std::string> inexact; // pictures after the damage
};

// One file. Used by one thread.
class Examination {
  public:
    static constexpr std::chrono::milliseconds kLongestCall{2000};
    static constexpr std::uint64_t kMostKilobytes = 1 << 20;

    // Broken copies come to lie in `folder` under `name`, and stay there when a promise was broken.
    Examination(std::string path, std::string folder, std::string name);

    // Whether the file has pictures at all.
    bool Usable() const { return !m_plan.units.empty(); }

    // One variant. The same seed gives the same one. False where the file has no such place.
    bool Try(Place place, Harm harm, std::uint64_t seed, Verdict& verdict);

  private:
    struct Report {
        int exit_code = 0;
        bool opened = false;
        std::uint32_t total = 0;                     // frames
        std::map<std::string, std::string> pictures; // "frame 7", "last 3": the hash
        std::string played;                          // empty: not asked, or no answer
        std::chrono::milliseconds slowest{0};
        std::string slowest_call;
        std::uint64_t peak_kilobytes = 0;
        std::string output;
    };

    static Report Probe(const std::string& path, const std::vector<std::string>& wishes);
    void LearnHashes(const std::set<std::uint32_t>& frames);
    // Of those without a picture in the whole file nothing can be asked.
    void LeaveOutUnknown(std::vector<std::uint32_t>& frames) const;
    std::vector<std::string> WishesFor(const Expectation& expectation) const;
    void Judge(const Expectation& expectation, const Report& report, Verdict& verdict) const;

    const std::string m_path;
    const std::string m_folder;
    const std::string m_name;
    std::vector<std::uint8_t> m_whole;
    FilePlan m_plan;
    std::map<std::uint32_t, std::string> m_hashes;       // of the whole file's pictures
    std::chrono::milliseconds m_patience = kLongestCall; // of the variant being tried
};

} // namespace damage

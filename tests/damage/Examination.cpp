#include "tests/damage/Examination.h"

#include "tests/support/ChildProcess.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <sstream>
#include <utility>

namespace damage {

namespace {

constexpr std::uint32_t kNotShown = ~std::uint32_t{0};
constexpr auto kPatience = std::chrono::seconds(60); // of a whole variant
constexpr std::uint32_t kMostPlayed = 400;           // frames
constexpr std::uint32_t kMostSteps = 30;

bool Overlap(Range a, Range b) {
    return a.begin < b.end && b.begin < a.end;
}

// Whether the bytes begin a parameter set of H.264 (7, 8) within the range.
bool HasSets(const std::vector<std::uint8_t>& bytes, Range range) {
    // A set that is cut into begins some bytes before.
    const std::size_t begin = range.begin - std::min<std::size_t>(range.begin, 128);
    for (std::size_t at = begin; at + 3 < std::min(range.end + 3, bytes.size()); ++at) {
        if (bytes[at] != 0 || bytes[at + 1] != 0 || bytes[at + 2] != 1) continue;
        const unsigned type = bytes[at + 3] & 31U;
        if (type == 7 || type == 8) return true;
    }
    return false;
}

// What the damage reaches first in the order of decoding; all units when it reaches none.
std::size_t FirstTouched(const FilePlan& plan, Range touched) {
    std::size_t first = 0;
    while (first < plan.units.size() && plan.units[first].bytes.end <= touched.begin)
        ++first;
    return first;
}

bool IsAmongPictures(const FilePlan& plan, Range touched) {
    if (touched.begin < plan.units.front().bytes.begin) return false;
    // What is put in right ahead of MP4's tables may be taken for theirs.
    const std::size_t end = plan.layout == Layout::Packets ? touched.end : touched.end + 1;
    return std::none_of(plan.tables.begin(), plan.tables.end(), [&](Range table) {
        return Overlap(table, {touched.begin, end});
    });
}

// Whether the tables that tell of what lies before the damage can still be found.
bool TablesStand(const FilePlan& plan, const Damaged& damaged) {
    if (!damaged.moved || plan.layout != Layout::Table) return true;
    return std::all_of(plan.tables.begin(), plan.tables.end(),
                       [&](Range table) { return table.end <= damaged.touched.begin; });
}

bool IsWithinAUnit(const FilePlan& plan, Range touched) {
    return std::any_of(plan.units.begin(), plan.units.end(), [&](const Unit& unit) {
        return unit.bytes.begin <= touched.begin && touched.end <= unit.bytes.end;
    });
}

// Whether what lies behind the damage can be found: in MP4 where the tables say that it is, elsewhere by what
// it begins with.
bool GoesOnAfter(const FilePlan& plan, const Damaged& damaged) {
    if (!damaged.moved || plan.layout == Layout::RawStream) return true;
    return plan.layout == Layout::Packets && IsWithinAUnit(plan, damaged.touched);
}

// Whether the container, rather than the pictures, tells the number of what lies behind the damage. Headers
// between packets may be gone with what is around them.
bool NumbersStand(const FilePlan& plan, const Damaged& damaged) {
    if (plan.layout == Layout::RawStream || damaged.moved) return false;
    return plan.layout != Layout::Packets || IsWithinAUnit(plan, damaged.touched);
}

// The first whole group that needs nothing of what the damage reached.
std::optional<std::size_t> GroupAfter(const FilePlan& plan, const std::vector<std::uint8_t>& whole,
                                      Range touched) {
    const bool raw = plan.layout == Layout::RawStream;
    const bool sets_lost = raw && HasSets(whole, touched);
    for (std::size_t i = 1; i < plan.units.size(); ++i) {
        const Unit& unit = plan.units[i];
        if (!unit.key || unit.frame == kNotShown) continue;
        if (unit.bytes.begin < touched.end + (raw ? 4 : 0)) continue;
        if (!sets_lost || HasSets(whole, unit.bytes)) return i;
    }
    return std::nullopt;
}

std::string Joined(const std::vector<std::uint32_t>& numbers) {
    std::string text;
    for (const std::uint32_t number : numbers)
        text += (text.empty() ? "" : ",") + std::to_string(number);
    return text;
}

} // namespace

Expectation ExpectationOf(const FilePlan& plan, const std::vector<std::uint8_t>& whole,
                          const Damaged& damaged) {
    Expectation expectation;
    if (!IsAmongPictures(plan, damaged.touched) || !TablesStand(plan, damaged)) return expectation;
    // In the order of presentation, what comes before every picture that the damage may have reached. A raw
    // stream tells that order nowhere but in the pictures themselves, for one group at a time: a picture that
    // has lost its place may rightly be shown anywhere in the group of the one before it.
    std::size_t first = FirstTouched(plan, damaged.touched);
    if (plan.layout == Layout::RawStream && damaged.misplaced && first > 0) {
        do
            --first;
        while (first > 0 && !plan.units[first].key);
    }
    std::uint32_t limit = plan.total;
    for (std::size_t i = first; i < plan.units.size(); ++i)
        limit = std::min(limit, plan.units[i].frame);
    if (limit > 0) {
        std::set<std::uint32_t> frames = {0, limit / 2, limit - 1};
        if (limit > 1) frames.insert(limit - 2);
        expectation.before.assign(frames.begin(), frames.end());
    }
    if (!GoesOnAfter(plan, damaged)) return expectation;
    if (const auto group = GroupAfter(plan, whole, damaged.touched)) {
        const std::uint32_t key = plan.units[*group].frame;
        std::set<std::uint32_t> frames = {key};
        if (key + 1 < plan.total) frames.insert({key + 1, plan.total - 1});
        expectation.after.assign(frames.begin(), frames.end());
        expectation.numbered = NumbersStand(plan, damaged);
    }
    return expectation;
}

Examination::Examination(std::string path, std::string folder, std::string name)
    : m_path(std::move(path)), m_folder(std::move(folder)), m_name(std::move(name)), m_plan(PlanOf(m_path)) {
    std::ifstream file(m_path, std::ios::binary);
    m_whole.assign(std::istreambuf_iterator<char>(file), {});
}

Examination::Report Examination::Probe(const std::string& path, const std::vector<std::string>& wishes) {
    std::vector<std::string> command = {DAMAGE_PROBE, path};
    command.insert(command.end(), wishes.begin(), wishes.end());
    const auto result = support::ChildProcess::Run(command, kPatience);
    Report report;
    report.exit_code = result.exitCode;
    report.output = result.output;
    std::istringstream lines(result.output);
    for (std::string line; std::getline(lines, line);) {
        std::istringstream words(line);
        std::string word;
        words >> word;
        if (word == "open") {
            report.opened = true;
            words >> report.total;
        } else if (word == "frame" || word == "last") {
            std::string number;
            std::string hash;
            words >> number >> hash;
            report.pictures[word.append(" ").append(number)] = hash;
        } else if (word == "played") {
            words >> report.played;
        } else if (word == "slowest") {
            std::int64_t count = 0;
            words >> count >> report.slowest_call;
            report.slowest = std::chrono::milliseconds(count);
        } else if (word == "peak") {
            words >> report.peak_kilobytes;
        }
    }
    return report;
}

void Examination::LearnHashes(const std::set<std::uint32_t>& frames) {
    std::vector<std::uint32_t> missing;
    for (const std::uint32_t frame : frames) {
        if (!m_hashes.contains(frame)) missing.push_back(frame);
    }
    if (missing.empty()) return;
    const Report report = Probe(m_path, {"frames=" + Joined(missing)});
    for (const std::uint32_t frame : missing) {
        const auto found = report.pictures.find("frame " + std::to_string(frame));
        m_hashes[frame] = found == report.pictures.end() ? "-" : found->second;
    }
}

void Examination::LeaveOutUnknown(std::vector<std::uint32_t>& frames) const {
    std::erase_if(frames, [&](std::uint32_t frame) { return m_hashes.at(frame) == "-"; });
}

std::vector<std::string> Examination::WishesFor(const Expectation& expectation) const {
    std::vector<std::string> wishes;
    if (!expectation.before.empty()) wishes.push_back("frames=" + Joined(expectation.before));
    if (!expectation.after.empty()) {
        if (expectation.numbered) wishes.push_back("frames=" + std::to_string(expectation.after.front()));
        std::vector<std::uint32_t> back;
        for (const std::uint32_t frame : expectation.after)
            back.push_back(m_plan.total - 1 - frame);
        wishes.push_back("last=" + Joined(back));
    }
    // Through the damage, step by step and playing.
    const std::uint32_t from = expectation.before.empty() ? 0 : expectation.before.back();
    wishes.push_back("steps=" + std::to_string(from) + "," + std::to_string(kMostSteps));
    if (expectation.after.empty()) {
        wishes.push_back("play=" + std::to_string(from) + ",0");
    } else if (expectation.after.front() - std::min(from, expectation.after.front()) < kMostPlayed) {
        wishes.push_back("play=" + std::to_string(from) + "," +
                         std::to_string(m_plan.total - 1 - expectation.after.front()));
    }
    return wishes;
}

void Examination::Judge(const Expectation& expectation, const Report& report, Verdict& verdict) const {
    verdict.opened = report.opened;
    verdict.slowest = report.slowest;
    verdict.slowest_call = report.slowest_call;
    verdict.peak_kilobytes = report.peak_kilobytes;
    if (report.exit_code == -1) {
        verdict.broken.push_back("it hangs");
    } else if (report.exit_code != 0) {
        verdict.broken.push_back("it ends with code " + std::to_string(report.exit_code));
    }
    if (!verdict.broken.empty()) return;
    if (report.slowest > m_patience) {
        verdict.broken.push_back(report.slowest_call + " takes " + std::to_string(report.slowest.count()) +
                                 " ms");
    }
    if (report.peak_kilobytes > kMostKilobytes)
        verdict.broken.push_back("it takes " + std::to_string(report.peak_kilobytes) + " kB");
    if (!report.opened) {
        if (expectation.MustOpen()) verdict.broken.push_back("it is refused");
        return;
    }
    const auto shown = [&](const std::string& key) {
        const auto found = report.pictures.find(key);
        return found == report.pictures.end() ? std::string("-") : found->second;
    };
    for (const std::uint32_t frame : expectation.before) {
        if (shown("frame " + std::to_string(frame)) != m_hashes.at(frame))
            verdict.broken.push_back("picture " + std::to_string(frame) + " before the damage is wrong");
    }
    for (const std::uint32_t frame : expectation.after) {
        const std::string picture = shown("last " + std::to_string(m_plan.total - 1 - frame));
        if (picture == "-") {
            verdict.broken.push_back("picture " + std::to_string(frame) + " after the damage is missing");
        } else if (picture != m_hashes.at(frame)) {
            verdict.inexact.push_back("picture " + std::to_string(frame) + " after the damage is not exact");
        }
    }
    if (expectation.numbered) {
        const std::uint32_t key = expectation.after.front();
        if (report.total != m_plan.total || shown("frame " + std::to_string(key)) == "-")
            verdict.broken.push_back("picture " + std::to_string(key) + " has lost its number");
    }
    verdict.checked_before = !expectation.before.empty();
    verdict.checked_after = !expectation.after.empty();
    verdict.checked_number = expectation.numbered;
    if (expectation.after.empty() || report.played.empty()) return;
    const std::uint32_t key_back = m_plan.total - 1 - expectation.after.front();
    if (report.played == "-" || std::stoul(report.played) > key_back)
        verdict.broken.push_back("playing stops at " + report.played + " before the end");
}

bool Examination::Try(Place place, Harm harm, std::uint64_t seed, Verdict& verdict) {
    verdict = {};
    verdict.place = place;
    verdict.harm = harm;
    Random random(seed);
    const Range part = PartOf(m_plan, m_whole.size(), place, random);
    if (part.Size() == 0) return false;
    const Damaged damaged = Break(m_whole, part, harm, random);
    Expectation expectation = ExpectationOf(m_plan, m_whole, damaged);
    std::set<std::uint32_t> frames(expectation.before.begin(), expectation.before.end());
    frames.insert(expectation.after.begin(), expectation.after.end());
    LearnHashes(frames);
    LeaveOutUnknown(expectation.before);
    LeaveOutUnknown(expectation.after);
    expectation.numbered = expectation.numbered && !expectation.after.empty();

    const std::string path = m_folder + "/" + m_name;
    std::ofstream(path, std::ios::binary)
        .write(reinterpret_cast<const char*>(damaged.bytes.data()),
               static_cast<std::streamsize>(damaged.bytes.size()));
    const std::vector<std::string> wishes = WishesFor(expectation);
    Report report = Probe(path, wishes);
    m_patience = kLongestCall;
    if (report.exit_code == -1 || report.slowest > kLongestCall) {
        // Before the damage is blamed: the same asked of the whole file, which may be large and the machine
        // busy.
        m_patience = std::max(kLongestCall, 2 * Probe(m_path, wishes).slowest);
        report = Probe(path, wishes);
    }
    Judge(expectation, report, verdict);
    if (verdict.broken.empty()) {
        std::filesystem::remove(path);
    } else {
        std::filesystem::rename(path, m_folder + "/" + std::to_string(seed) + "-" + m_name);
    }
    return true;
}

} // namespace damage

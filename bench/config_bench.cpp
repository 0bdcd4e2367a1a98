/*
 * How long the player takes from the start of its process to its window with settings files that are not of
 * its form, beside a start without one in the same run.
 *
 * Usage: config_bench [RUNS]. The kinds of file take turns, so that what else the machine does meets all of
 * them alike. Prints medians with the smallest and the largest run, and how much longer each took than the
 * plain start.
 */
#include "tests/system/Desktop.h"
#include "tests/system/PlayerRun.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

namespace fs = std::filesystem;
using system_tests::Desktop;
using system_tests::PlayerRun;

constexpr uid_t kNobody = 65534;

struct Kind {
    const char* name;
    std::function<void(const fs::path&)> make; // the settings file
    bool asNobody = false;
    std::vector<double> times;
};

void Write(const fs::path& path, const std::string& content) {
    std::ofstream(path, std::ios::binary) << content;
}

std::string File(const std::string& folder, const std::string& timer) {
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<PlayerSettings>\n    <FilePath>" + folder +
           "</FilePath>\n    <CappicPath>/</CappicPath>\n    <ConCapPath>/</ConCapPath>\n"
           "    <HighQuality>1</HighQuality>\n    <Deflash>1</Deflash>\n    <ThrowBNum>0</ThrowBNum>\n    "
           "<Timer>" +
           timer +
           "</Timer>\n    <DisplayType>1</DisplayType>\n    <CappicType>0</CappicType>\n"
           "    <ConCapType>0</ConCapType>\n</PlayerSettings>\n";
}

std::string Repeated(const std::string& text, std::size_t bytes) {
    std::string all;
    while (all.size() < bytes)
        all += text;
    return all;
}

std::string BillionLaughs() {
    std::string text = "<!DOCTYPE P [<!ENTITY a0 \"lol\">";
    for (int n = 1; n < 10; ++n)
        text += "<!ENTITY a" + std::to_string(n) + " \"" + Repeated("&a" + std::to_string(n - 1) + ";", 40) +
                "\">";
    return text + "]>" + File("&a9;", "1").substr(File("", "1").find("<P"));
}

std::string Reversed() {
    const std::string text = File("/x", "2");
    const std::size_t first = text.find("    <FilePath>");
    const std::size_t end = text.find("</PlayerSettings>");
    std::string reversed;
    for (std::size_t from = first; from < end;) {
        const std::size_t next = text.find('\n', from) + 1;
        reversed.insert(0, text, from, next - from);
        from = next;
    }
    return text.substr(0, first) + reversed + text.substr(end);
}

std::vector<Kind> Kinds() {
    const auto text = [](std::string content) {
        return [content = std::move(content)](const fs::path& path) { Write(path, content); };
    };
    const std::string attributes = [] {
        std::string tag = "<PlayerSettings";
        for (int n = 0; tag.size() < 200'000; ++n)
            tag += " a" + std::to_string(n) + "=\"\"";
        return tag + "/>";
    }();
    return {
        {"no file", [](const fs::path&) {}, false, {}},
        {"a good one", text(File("/films", "1")), false, {}},
        {"a directory", [](const fs::path& path) { fs::create_directory(path); }, false, {}},
        {"one that may not be read",
         [](const fs::path& path) {
             Write(path, File("/films", "1"));
             fs::permissions(path, fs::perms::none);
         },
         getuid() == 0,
         {}},
        {"1 GB of zeros",
         [](const fs::path& path) {
             Write(path, "");
             fs::resize_file(path, 1'000'000'000);
         },
         false,
         {}},
        {"a billion laughs", text(BillionLaughs()), false, {}},
        {"bytes of another encoding", text(File("/\xd3\xb0\xc6\xac", "1")), false, {}},
        {"ten elements in the wrong order", text(Reversed()), false, {}},
        {"a number out of range", text(File("/films", "99999999999")), false, {}},
        {"a path of 5,000 characters", text(File("/" + std::string(4999, 'x'), "1")), false, {}},
        {"elements nested 60,000 deep", text("<PlayerSettings>" + Repeated("<a>", 180'000)), false, {}},
        {"20,000 attributes", text(attributes), false, {}},
        {"not XML", text(Repeated("HighQuality=1\n", 200'000)), false, {}},
    };
}

} // namespace

int main(int argc, char** argv) {
    const int runs = argc > 1 ? std::atoi(argv[1]) : 5;
    try {
        std::vector<Kind> kinds = Kinds();
        Desktop desktop;
        for (int run = 0; run < runs; ++run) {
            for (Kind& kind : kinds) {
                PlayerRun::Setup setup;
                setup.prepare = [&kind](const fs::path& folder) { kind.make(folder / "Player.config"); };
                if (kind.asNobody) setup.user = kNobody;
                const PlayerRun player(desktop, setup);
                kind.times.push_back(player.StartMilliseconds());
            }
        }
        std::printf("Start of the process -> window shown, ms, %d runs each.\n\n", runs);
        std::printf("| %-34s | median | smallest .. largest | over the plain start |\n|---|---|---|---|\n",
                    "settings file");
        double plain = 0;
        for (Kind& kind : kinds) {
            std::sort(kind.times.begin(), kind.times.end());
            const double median = kind.times[kind.times.size() / 2];
            if (&kind == &kinds.front()) plain = median;
            std::printf("| %-34s | %6.0f | %.0f .. %.0f | %+.0f |\n", kind.name, median, kind.times.front(),
                        kind.times.back(), median - plain);
        }
    } catch (const std::exception& error) {
        std::fprintf(stderr, "config_bench: %s\n", error.what());
        return 1;
    }
    return 0;
}

// Makes the harnesses' first inputs: make_seeds FOLDER. A folder of each harness's name is filled below it.
#include "tests/support/ClipMaker.h"

#include <array>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <string>

namespace fs = std::filesystem;
using support::ClipContainer;
using support::ClipOptions;
using support::ClipScan;

namespace {

// Small pictures and few of them: a fuzzer changes every byte many times.
ClipOptions Small(ClipOptions options) {
    options.width = 64;
    options.height = 48;
    if (options.frames == ClipOptions().frames) options.frames = 10;
    return options;
}

std::map<std::string, ClipOptions> RawStreams() {
    constexpr auto raw = ClipContainer::RawStream;
    return {
        {"plain", Small({.keyInterval = 5, .container = raw})},
        {"reordered",
         Small({.frames = 16, .keyInterval = 8, .bFrames = 3, .bPyramid = true, .container = raw})},
        {"open_groups",
         Small({.frames = 16, .keyInterval = 6, .bFrames = 2, .openGop = true, .container = raw})},
        {"fields", Small({.keyInterval = 5, .scan = ClipScan::TopFieldFirst, .container = raw})},
        {"two_sizes", Small({.keyInterval = 5, .container = raw, .sizeChanges = {{5, 96, 64}}})},
    };
}

std::map<std::string, ClipOptions> Containers() {
    return {
        {"plain.mp4", Small({.keyInterval = 5, .bFrames = 2})},
        {"sound.mp4", Small({.keyInterval = 5, .sound = true})},
        {"edited.mp4", Small({.keyInterval = 5, .startDelayMs = 200, .hiddenFrames = 2})},
        {"turned.mp4", Small({.keyInterval = 5, .rotation = 90})},
        {"uneven.mp4", Small({.durations = {20, 80}, .keyInterval = 5})},
        {"fragments.mp4", Small({.keyInterval = 4, .bFrames = 2, .container = ClipContainer::FragmentedMp4})},
        {"plain.mov", Small({.keyInterval = 5, .container = ClipContainer::Mov})},
        {"plain.mkv", Small({.keyInterval = 5, .container = ClipContainer::Matroska, .sound = true})},
        {"plain.avi", Small({.keyInterval = 5, .container = ClipContainer::Avi, .sound = true})},
        {"plain.flv",
         Small({.keyInterval = 5, .bFrames = 2, .container = ClipContainer::Flv, .sound = true})},
        {"hevc.mp4", Small({.codec = "libx265", .keyInterval = 5})},
        {"vp9.mkv", Small({.codec = "libvpx-vp9", .keyInterval = 5, .container = ClipContainer::Matroska})},
        {"part2.mp4", Small({.codec = "mpeg4", .keyInterval = 5})},
        {"hevc.265", Small({.codec = "libx265", .keyInterval = 5, .container = ClipContainer::RawStream})},
    };
}

std::string Content(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

void Write(const fs::path& path, const std::string& bytes) {
    std::ofstream file(path, std::ios::binary);
    file << bytes;
    if (!file.flush()) throw std::runtime_error("cannot write " + path.string());
}

// The clip as it is left by a recorder that lost power before it wrote the movie box.
std::string WithoutMovie(const ClipOptions& options, const fs::path& path) {
    support::MakeClip(path.string(), options);
    std::string bytes = Content(path);
    bytes.resize(bytes.rfind("moov") - 4);
    bytes.replace(bytes.find("mdat") - 4, 4, 4, '\0');
    return bytes;
}

// There is nothing beside the input: the sets are in the data.
std::map<std::string, ClipOptions> LostRecordings() {
    return {
        {"lost.mp4", Small({.keyInterval = 5, .codecOptions = {{"x264-params", "repeat-headers=1"}}})},
        {"lost_sound.mp4", Small({.keyInterval = 5,
                                  .bFrames = 2,
                                  .openGop = true,
                                  .codecOptions = {{"x264-params", "repeat-headers=1:open-gop=1"}},
                                  .sound = true})},
    };
}

// As calls.cpp reads them: a count, then a call and its argument each.
std::string Calls(std::initializer_list<std::array<int, 2>> calls) {
    std::string bytes(1, static_cast<char>(calls.size()));
    for (const auto& call : calls)
        bytes.append({static_cast<char>(call[0]), static_cast<char>(call[1])});
    return bytes;
}

const std::map<std::string, std::string>& Scripts() {
    static const std::map<std::string, std::string> scripts = {
        {"steps", Calls({{0, 0}, {1, 1}, {5, 0}, {5, 0}, {6, 0}, {15, 0}, {12, 0}})},
        {"seeks", Calls({{0, 0}, {1, 1}, {7, 200}, {12, 0}, {8, 30}, {13, 0}, {9, 120}, {5, 0}, {10, 90}})},
        {"speeds", Calls({{0, 0}, {3, 0}, {3, 0}, {3, 0}, {4, 0}, {14, 130}, {2, 0}, {0, 0}, {11, 128}})},
        {"sound", Calls({{16, 255}, {0, 0}, {7, 0}, {3, 0}, {17, 4}, {17, 132}, {4, 0}, {8, 120}, {16, 0}})},
    };
    return scripts;
}

std::string Settings(const std::string& film) {
    std::string text = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<PlayerSettings>\n    <FilePath>" + film +
                       "</FilePath>\n    <CappicPath>/pictures</CappicPath>\n    <ConCapPath/>\n";
    for (const char* key :
         {"HighQuality", "Deflash", "ThrowBNum", "Timer", "DisplayType", "CappicType", "ConCapType"})
        text += std::string("    <") + key + ">1</" + key + ">\n";
    return text + "</PlayerSettings>\n";
}

void MakeAll(const fs::path& folder) {
    for (const char* harness : {"raw_index", "container", "calls", "settings"})
        fs::create_directories(folder / harness);
    for (const auto& [name, options] : RawStreams())
        support::MakeClip((folder / "raw_index" / (name + ".264")).string(), options);
    for (const auto& [name, options] : Containers())
        support::MakeClip((folder / "container" / name).string(), options);
    for (const auto& [name, options] : LostRecordings())
        Write(folder / "container" / name, WithoutMovie(options, folder / "container" / name));
    const std::array<fs::path, 5> played = {
        folder / "raw_index" / "reordered.264", folder / "container" / "plain.mp4",
        folder / "container" / "fragments.mp4", folder / "container" / "plain.mkv",
        folder / "container" / "lost_sound.mp4"};
    for (const auto& [name, calls] : Scripts()) {
        for (const fs::path& film : played)
            Write(folder / "calls" / (name + "_" + film.filename().string()), calls + Content(film));
    }
    Write(folder / "settings" / "plain.xml", Settings("/films"));
    Write(folder / "settings" / "escaped.xml", Settings("&lt;&amp;&#x4e2d;<![CDATA[a]]><!-- b -->"));
    Write(folder / "settings" / "entity.xml",
          "<!DOCTYPE PlayerSettings [<!ENTITY a \"b\">]>\n" + Settings("&a;"));
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fputs("usage: make_seeds FOLDER\n", stderr);
        return 2;
    }
    try {
        MakeAll(argv[1]);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "make_seeds: %s\n", error.what());
        return 1;
    }
    return 0;
}

// Makes a clip with numbered pictures from the command line: make_clip FILE [NAME=VALUE]...
#include "tests/support/ClipMaker.h"

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <functional>
#include <map>
#include <sstream>
#include <stdexcept>
#include <string>

namespace {

using support::ClipContainer;
using support::ClipOptions;
using support::ClipScan;

constexpr const char* kUsage =
    "usage: make_clip FILE [NAME=VALUE]...\n"
    "  width height frames first-number   whole numbers\n"
    "  rate=N or rate=N/D                 pictures a second\n"
    "  durations=MS,MS,...                variable rate instead\n"
    "  codec=libx264 pixels=yuv420p profile=NAME option.NAME=VALUE\n"
    "  key-interval b-frames              whole numbers; b-pyramid=1 open-gop=1\n"
    "  scan=progressive|top|bottom        field order\n"
    "  aspect=N/D rotation=0|90|180|270\n"
    "  container=mp4|fragmented|mov|mkv|flv|raw   told by FILE's ending when not given\n"
    "  start-delay=MS hidden-frames=N sound=1 tone=HERTZ\n";

int Number(const std::string& text) {
    std::size_t end = 0;
    const int number = std::stoi(text, &end);
    if (end != text.size()) throw std::invalid_argument("not a number: " + text);
    return number;
}

void Fraction(const std::string& text, int& numerator, int& denominator) {
    const auto slash = text.find('/');
    numerator = Number(text.substr(0, slash));
    denominator = slash == std::string::npos ? 1 : Number(text.substr(slash + 1));
}

ClipContainer ContainerNamed(const std::string& name) {
    static const std::map<std::string, ClipContainer> containers = {
        {"mp4", ClipContainer::Mp4},       {"fragmented", ClipContainer::FragmentedMp4},
        {"mov", ClipContainer::Mov},       {"mkv", ClipContainer::Matroska},
        {"flv", ClipContainer::Flv},       {"raw", ClipContainer::RawStream},
        {"264", ClipContainer::RawStream}, {"h264", ClipContainer::RawStream},
        {"265", ClipContainer::RawStream},
    };
    const auto found = containers.find(name);
    if (found == containers.end()) throw std::invalid_argument("no container " + name);
    return found->second;
}

ClipScan ScanNamed(const std::string& name) {
    if (name == "top") return ClipScan::TopFieldFirst;
    if (name == "bottom") return ClipScan::BottomFieldFirst;
    if (name == "progressive") return ClipScan::Progressive;
    throw std::invalid_argument("no scan " + name);
}

void Set(ClipOptions& options, const std::string& name, const std::string& value) {
    const std::map<std::string, std::function<void()>> setters = {
        {"width", [&] { options.width = Number(value); }},
        {"height", [&] { options.height = Number(value); }},
        {"frames", [&] { options.frames = Number(value); }},
        {"first-number", [&] { options.firstNumber = Number(value); }},
        {"rate", [&] { Fraction(value, options.rateNumerator, options.rateDenominator); }},
        {"durations",
         [&] {
             std::istringstream list(value);
             for (std::string item; std::getline(list, item, ',');)
                 options.durations.push_back(Number(item));
         }},
        {"codec", [&] { options.codec = value; }},
        {"pixels", [&] { options.pixelFormat = value; }},
        {"profile", [&] { options.profile = value; }},
        {"key-interval", [&] { options.keyInterval = Number(value); }},
        {"b-frames", [&] { options.bFrames = Number(value); }},
        {"b-pyramid", [&] { options.bPyramid = Number(value) != 0; }},
        {"open-gop", [&] { options.openGop = Number(value) != 0; }},
        {"scan", [&] { options.scan = ScanNamed(value); }},
        {"aspect", [&] { Fraction(value, options.sampleAspectNumerator, options.sampleAspectDenominator); }},
        {"rotation", [&] { options.rotation = Number(value); }},
        {"container", [&] { options.container = ContainerNamed(value); }},
        {"start-delay", [&] { options.startDelayMs = Number(value); }},
        {"hidden-frames", [&] { options.hiddenFrames = Number(value); }},
        {"sound", [&] { options.sound = Number(value) != 0; }},
        {"tone", [&] { options.toneHertz = Number(value); }},
    };
    if (name.starts_with("option.")) {
        options.codecOptions[name.substr(7)] = value;
        return;
    }
    const auto found = setters.find(name);
    if (found == setters.end()) throw std::invalid_argument("no option " + name);
    found->second();
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 2) {
        std::fputs(kUsage, stderr);
        return 2;
    }
    try {
        const std::string path = argv[1];
        ClipOptions options;
        const auto dot = path.rfind('.');
        options.container = ContainerNamed(dot == std::string::npos ? "mp4" : path.substr(dot + 1));
        for (int i = 2; i < argc; ++i) {
            const std::string argument = argv[i];
            const auto equals = argument.find('=');
            if (equals == std::string::npos) throw std::invalid_argument("not NAME=VALUE: " + argument);
            Set(options, argument.substr(0, equals), argument.substr(equals + 1));
        }
        support::EncodeClip(path, options);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "make_clip: %s\n%s", error.what(), kUsage);
        return 1;
    }
    return 0;
}

// Clips are encoded once a build: most tests ask for the same few, each in a process of its own.
#include "tests/support/ClipMaker.h"

#include <filesystem>
#include <functional>
#include <sstream>
#include <string>
#include <unistd.h>

namespace support {

namespace {

namespace fs = std::filesystem;

// Every option, so that two clips that differ never share a name. The bindings stop compiling when an option
// is added and not written here.
std::string KeyOf(const ClipOptions& options) {
    const auto& [width, height, frames, first, rate_numerator, rate_denominator, durations, codec, format,
                 profile, key_interval, b_frames, b_pyramid, open_gop, scan, codec_options, aspect_numerator,
                 aspect_denominator, rotation, container, start_delay, hidden, size_changes, sound, tone] =
        options;
    std::ostringstream text;
    for (const int number : {width, height, frames, first, rate_numerator, rate_denominator, key_interval,
                             b_frames, static_cast<int>(b_pyramid), static_cast<int>(open_gop),
                             static_cast<int>(scan), aspect_numerator, aspect_denominator, rotation,
                             static_cast<int>(container), start_delay, hidden, static_cast<int>(sound), tone})
        text << number << ' ';
    for (const std::string& word : {codec, format, profile})
        text << word.size() << ':' << word << ' ';
    for (const int duration : durations)
        text << duration << 'd';
    for (const auto& [name, value] : codec_options)
        text << name.size() << ':' << name << '=' << value.size() << ':' << value << ' ';
    for (const ClipSizeChange& change : size_changes)
        text << change.frame << '@' << change.width << 'x' << change.height << ' ';
    std::ostringstream key;
    key << std::hex << std::hash<std::string>()(text.str()) << '-' << frames;
    return key.str();
}

} // namespace

void MakeClip(const std::string& path, const ClipOptions& options) {
    const fs::path store = TALVIO_CLIP_STORE;
    fs::create_directories(store);
    const fs::path stored = store / KeyOf(options);
    if (!fs::exists(stored)) {
        // Two tests may want it at once: each makes its own, and the last one's name stays.
        fs::path part = stored;
        part += "." + std::to_string(getpid());
        try {
            EncodeClip(part, options);
        } catch (...) {
            fs::remove(part);
            throw;
        }
        fs::rename(part, stored);
    }
    fs::copy_file(stored, path, fs::copy_options::overwrite_existing);
}

} // namespace support

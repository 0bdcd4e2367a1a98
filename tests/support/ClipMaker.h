/*
 * Makes video files whose every picture carries its frame number as a bar code (BarCode.h).
 *
 * Frame n of a clip, in presentation order and counted from 0, shows number firstNumber + n. The same options
 * give the same bytes on one machine: encoders run with one thread and fixed settings. A clip of 100 small
 * pictures takes a tenth of a second.
 */
#pragma once

#include <map>
#include <string>
#include <vector>

namespace support {

enum class ClipContainer {
    Mp4,
    FragmentedMp4, // a fragment a key picture
    Mov,
    Matroska,
    Avi,
    Flv,
    RawStream, // the codec's elementary stream: Annex B for H.264 and HEVC
};

enum class ClipScan { Progressive, TopFieldFirst, BottomFieldFirst };

// From frame `frame` on the pictures have another size. Raw streams only.
struct ClipSizeChange {
    int frame;
    int width;
    int height;
};

struct ClipOptions {
    // As it is to be seen, after the rotation.
    int width = 320;
    int height = 180;
    int frames = 100;
    int firstNumber = 0;

    int rateNumerator = 25;
    int rateDenominator = 1;
    // Variable rate: how long each picture stays, in milliseconds, starting over at the end of the list.
    // Replaces the constant rate.
    std::vector<int> durations;

    std::string codec = "libx264"; // libx265, mpeg4, libvpx-vp9, libaom-av1, libsvtav1
    std::string pixelFormat = "yuv420p";
    std::string profile;
    int keyInterval = 50;
    int bFrames = 0;
    bool bPyramid = false; // B pictures that others refer to; H.264 and HEVC
    bool openGop = false;  // B pictures before a key picture refer to the group before; H.264 and HEVC
    ClipScan scan = ClipScan::Progressive;
    // Given to the encoder as they are, after the ones above.
    std::map<std::string, std::string> codecOptions;

    int sampleAspectNumerator = 1;
    int sampleAspectDenominator = 1;
    // Degrees by which the container asks the player to turn the picture clockwise: 0, 90, 180 or 270. The
    // stored picture is turned the other way, so that the code stands upright when the request is honoured.
    int rotation = 0;

    ClipContainer container = ClipContainer::Mp4;
    // The film begins this much later than the file does (an empty edit). MP4 and MOV.
    int startDelayMs = 0;
    // Pictures before frame 0 that an edit list hides; they show kHiddenNumber and following. MP4 and MOV.
    int hiddenFrames = 0;
    std::vector<ClipSizeChange> sizeChanges;

    // AAC, 48 kHz, stereo: a beep of 1 kHz and 50 ms at each full second.
    bool sound = false;
    // A quiet tone behind the beeps; 0 for none.
    int toneHertz = 0;
};

inline constexpr int kHiddenNumber = 900000;

// Writes the clip to `path`, over what is there. Throws std::runtime_error with a text when an encoder or a
// container cannot do what is asked.
void EncodeClip(const std::string& path, const ClipOptions& options = {});

// The same, but a clip that this build's tests have asked for before is copied from the build folder.
void MakeClip(const std::string& path, const ClipOptions& options = {});

// Whether this machine's libavcodec has the encoder.
bool HasEncoder(const std::string& codec);

} // namespace support

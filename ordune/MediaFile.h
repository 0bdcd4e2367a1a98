// A file opened for watching: what streams it has, its index, and readers of its coded units.
//
// Immutable after opening but for the index that a large file completes in the background; every
// function may be called from any thread. The file is only ever read. It ends when the last holder lets go,
// which stops and joins the index thread.
#pragma once

#include "ordune/CancelToken.h"
#include "ordune/Error.h"
#include "ordune/FrameIndex.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>

struct AVCodecParameters;
struct AVPacket;

namespace ordune {

class FileSource;

struct VideoInfo {
    std::string codec; // libavcodec's name of it, such as "h264"
    int width = 0;     // of the decoded picture in pixels, before rotation
    int height = 0;
    int sample_aspect_numerator = 1; // shape of a pixel, width / height, of the picture before rotation
    int sample_aspect_denominator = 1;
    int rotation = 0; // degrees clockwise by which the picture is to be turned for showing: 0, 90, 180 or 270
};

struct SoundInfo {
    int stream_index = -1; // libavformat's number of the stream that is heard
    int sample_rate = 0;
    int channels = 0;
};

// One coded unit, ready for the decoder: the packet's pts is the unit's number, so that the decoder hands it
// back on the picture and nobody needs to guess which one it is.
struct CodedUnit {
    AVPacket* packet = nullptr; // owned by the UnitReader, valid until its next call
    UnitNumber number = kNoUnit;
    bool key = false;       // begins a group
    bool referenced = true; // other pictures refer to it, or that cannot be told
};

// Reads coded units in the order of the file. Used by one thread at a time; several may exist side by side.
class UnitReader {
  public:
    virtual ~UnitReader() = default;

    // Goes to the unit, which must be the first of a group. What a decoder needs to start there (parameter
    // sets in force) comes with the unit read next.
    virtual Result<void> SeekTo(UnitNumber first_of_group) = 0;
    // The next unit; nothing at the end of the file (or of what a growing index knows).
    virtual Result<std::optional<CodedUnit>> Next() = 0;
};

class MediaFile {
  public:
    // Opens the file for reading: recognises it, makes its index (or begins to, where that takes more than
    // 100 ms) and makes sure that at least one picture can be decoded. `index_done`
    // is called once, on whatever thread completes the index, also from within Open; it must not call back
    // into this file's end.
    static Result<std::shared_ptr<MediaFile>> Open(const std::string& path,
                                                   std::function<void()> index_done = nullptr);
    virtual ~MediaFile() = default;

    virtual const std::string& Path() const = 0;
    // The open file, for whoever reads another stream of it: it stays what was opened when its name is given
    // to another file, or to none. Null where nothing of it is read from a file.
    virtual std::shared_ptr<const FileSource> Source() const = 0;
    virtual const VideoInfo& Video() const = 0;
    virtual const std::optional<SoundInfo>& Sound() const = 0;
    virtual const FrameIndex& Index() const = 0;

    // The container's own time of frame 0: what sound has to be moved back by to lie on the pictures' axis.
    virtual MediaTime Origin() const = 0;

    // Parameters for a decoder of the video stream; owned by the file. `video_delay` says how deep the
    // pictures known at opening are reordered, so that the decoder waits as long as it must and no longer.
    virtual const AVCodecParameters* VideoParameters() const = 0;
    // A reader of its own, with its own file position. Once `cancel` is, it gives nothing but failures of the
    // kind Cancelled, however long what it was doing would have taken.
    virtual Result<std::unique_ptr<UnitReader>> MakeUnitReader(CancelToken cancel) const = 0;
    Result<std::unique_ptr<UnitReader>> MakeUnitReader() const { return MakeUnitReader(CancelToken()); }
};

} // namespace ordune

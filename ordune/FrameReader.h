// Pictures of a file by frame number: decodes what is wanted, and what will be wanted next, on a thread of
// its own.
//
// The owner says what it wants with SetWant (the newest word counts, a stale one costs at most the unit being
// decoded) and takes pictures with Find. Decoded pictures are kept, references not copies, within a byte
// budget: ahead of the wanted frame when going forward, behind it when going back, so that a step either way
// finds its picture made. The decode thread starts with the object and is joined by its end.
#pragma once

#include "ordune/Error.h"
#include "ordune/MediaFile.h"
#include "ordune/Picture.h"

#include <cstddef>
#include <functional>
#include <memory>

namespace ordune {

// Which neighbours will be wanted after the wanted frame.
enum class Direction { Forward, Backward };

// Which pictures are worth decoding while playing fast. A picture that others refer to is never left out
// singly: what refers to it would come out wrong.
enum class Effort {
    Every,      // all of them
    Referenced, // leave out those that no other refers to
    KeysOnly,   // key pictures alone
};

struct Want {
    FrameNumber frame = 0;
    Direction direction = Direction::Forward;
    // For a position (a seek, a step, a pause) `exact` is true and the frame itself is made, with
    // Effort::Every around it. While playing it is false: the effort holds, and a reader that has fallen
    // behind the wanted frame takes up again at a key picture at or before it when that saves work.
    bool exact = true;
    Effort effort = Effort::Every;
    // Of each run of pictures that no other refers to, leave out this many at its front while playing (0, 1,
    // 2).
    int leave_out = 0;
    // While playing, how many frames apart the pictures are that are shown; 0 where it is every one.
    FrameNumber stride = 0;
};

struct FrameReaderOptions {
    // Memory for kept pictures, and decoder threads. With 0 for both, as a program's readers have it, all
    // such readers share what the process has: the smaller of 512 MB and an eighth of the machine's memory,
    // and as many threads as there are cores (at most 16). With 0 for one of them it is that much for this
    // reader.
    std::size_t cache_bytes = 0;
    int threads = 0;
    FrameNumber ahead = 8; // how many frames are kept decoded ahead of the wanted one
};

class FrameReader {
  public:
    enum class State {
        Pending, // not made yet
        Ready,   // Find gives it
        // Tried from as far back as can matter, and it does not come out. Also, until another frame is
        // wanted, where memory ran out over it or the file could not be read.
        Undecodable,
    };

    // `progress` is called on the decode thread, with no lock held, whenever a picture was added, a frame was
    // found undecodable or the end was reached; it must return soon.
    static Result<std::unique_ptr<FrameReader>> Make(std::shared_ptr<const MediaFile> file,
                                                     const FrameReaderOptions& options,
                                                     std::function<void()> progress);
    virtual ~FrameReader() = default;

    // All of these: any thread, at once, no decoding in the call.
    virtual void SetWant(const Want& want) = 0;
    // Nothing is wanted until the next SetWant: pictures and decoders are let go of, and other readers may
    // have the memory.
    virtual void WantNothing() = 0;
    virtual PicturePtr Find(FrameNumber frame) const = 0;
    // The newest kept picture whose number lies in [first, last]; null where there is none.
    virtual PicturePtr FindNewest(FrameNumber first, FrameNumber last) const = 0;
    // The oldest kept picture whose number lies in [first, last]; null where there is none.
    virtual PicturePtr FindOldest(FrameNumber first, FrameNumber last) const = 0;
    virtual State StateOf(FrameNumber frame) const = 0;
    // Whether the frame did not come out from its own key picture nor from the one before, and is tried, when
    // it is wanted, from so far back that it can take minutes: damaged, as a rule.
    virtual bool Doubtful(FrameNumber frame) const = 0;
    // Memory that kept pictures hold.
    virtual std::size_t CacheBytes() const = 0;
};

} // namespace ordune

// What a file was found to hold. Depends on the file's bytes alone, so that it is shared by everyone who has
// the same unchanged file open, and kept for a while for whoever opens it next.
//
// Immutable but for an index that still grows; every function may be called from any thread.
#pragma once

#include "ordune/CancelToken.h"
#include "ordune/Ffmpeg.h"
#include "ordune/FileSource.h"
#include "ordune/FrameTable.h"
#include "ordune/MediaFile.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

namespace ordune {

class FileContent {
  public:
    virtual ~FileContent() = default;

    const VideoInfo& Video() const { return m_video; }
    const std::optional<SoundInfo>& Sound() const { return m_sound; }
    const AVCodecParameters* VideoParameters() const { return m_parameters.get(); }
    MediaTime Origin() const { return m_origin; }
    const FrameTable& Table() const { return *m_table; }

    // Whether the index was given up before the file's end for want of memory: not to be kept for others.
    bool IsShort() const { return m_short.load(std::memory_order_acquire); }

    // A reader of the units through this descriptor of the same file; see MediaFile.
    virtual Result<std::unique_ptr<UnitReader>> MakeUnitReader(std::shared_ptr<const FileSource> file,
                                                               CancelToken cancel) const = 0;

    // Calls `done` once when the index is complete: now, if it is already, or on the index's thread, with no
    // lock held. The number withdraws it again.
    virtual std::uint64_t WhenComplete(std::function<void()> done) = 0;
    // After this the call has returned or will not be made. Not to be called from within it.
    virtual void Withdraw(std::uint64_t number) = 0;

  protected:
    // Immutable once the object has been handed out.
    VideoInfo m_video;
    std::optional<SoundInfo> m_sound;
    ffmpeg::ParametersPtr m_parameters;
    MediaTime m_origin{0};
    std::shared_ptr<FrameTable> m_table;

    // Atomic; set before the table is complete.
    std::atomic<bool> m_short{false};
};

} // namespace ordune

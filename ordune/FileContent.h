// What a file was found to hold. Depends on the file's bytes alone, so that it is shared by everyone who has
// the same unchanged file open, and kept for a while for whoever opens it next.
//
// Immutable but for an index that still grows; every function may be called from any thread.
#pragma once

#include "ordune/CancelToken.h"
#include "ordune/Ffmpeg.h"
#include "ordune/FileSource.h"
#include "ordune/FrameTable.h"
#include "ordune/IndexRun.h"
#include "ordune/MediaFile.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <utility>

namespace ordune {

class FileContent {
  public:
    virtual ~FileContent() = default;

    const VideoInfo& Video() const { return m_video; }
    const std::optional<SoundInfo>& Sound() const { return m_sound; }
    const AVCodecParameters* VideoParameters() const { return m_parameters.get(); }
    MediaTime Origin() const { return m_origin; }
    const FrameTable& Table() const { return *m_table; }

    // Whether the index ends before the file does, for want of memory or because it could not be read: not to
    // be kept for others.
    bool IsShort() const { return m_table->IsShort(); }

    // A reader of the units through this descriptor of the same file; see MediaFile.
    virtual Result<std::unique_ptr<UnitReader>> MakeUnitReader(std::shared_ptr<const FileSource> file,
                                                               CancelToken cancel) const = 0;

    // Calls `done` once when the index is complete: now, if it is already, or on the index's thread, with no
    // lock held. The number withdraws it again.
    std::uint64_t WhenComplete(std::function<void()> done) { return m_run->WhenComplete(std::move(done)); }
    // After this the call has returned or will not be made. Not to be called from within it.
    void Withdraw(std::uint64_t number) { m_run->Withdraw(number); }

  protected:
    // Immutable once the object has been handed out.
    VideoInfo m_video;
    std::optional<SoundInfo> m_sound;
    ffmpeg::ParametersPtr m_parameters;
    MediaTime m_origin{0};
    std::shared_ptr<FrameTable> m_table;
    // Made before the object is handed out; what its steps use, they own.
    std::unique_ptr<IndexRun> m_run;
};

} // namespace ordune

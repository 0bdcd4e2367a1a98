// libavformat on a file that is already open: nothing but that file can be reached, whatever the file says.
//
// Used by one thread at a time.
#pragma once

#include "ordune/CancelToken.h"
#include "ordune/Error.h"
#include "ordune/Ffmpeg.h"
#include "ordune/FileSource.h"

#include <cstdint>
#include <memory>
#include <utility>

struct AVFormatContext;
struct AVStream;

namespace ordune {

class FormatInput {
  public:
    // Recognises the file by its content and reads its headers, no more: no picture is decoded.
    // NotMedia where it is no container that is known, Damaged where one is begun and broken.
    // Once cancelled, opening fails with Cancelled, and what reads through the context gets AVERROR_EXIT.
    static Result<std::unique_ptr<FormatInput>> Open(std::shared_ptr<const FileSource> file,
                                                     CancelToken cancel = {});
    ~FormatInput();
    FormatInput(const FormatInput&) = delete;
    FormatInput& operator=(const FormatInput&) = delete;

    AVFormatContext* Context() const { return m_context.get(); }
    const FileSource& File() const { return *m_file; }
    // The short name of the container's reader, such as "matroska,webm".
    const char* FormatName() const;
    bool IsMp4() const;
    // Stops reading streams other than this one.
    void ReadOnly(int stream_index) const;

    // Where the headers do not tell what a decoder needs: reads on, decoding where it must, within bounds.
    void FindStreamInfo() const;

  private:
    FormatInput(std::shared_ptr<const FileSource> file, CancelToken cancel)
        : m_file(std::move(file)), m_cancel(std::move(cancel)) {}
    static int Interrupted(void* self);
    static int Read(void* self, std::uint8_t* buffer, int count);
    static std::int64_t Seek(void* self, std::int64_t offset, int whence);

    const std::shared_ptr<const FileSource> m_file;
    const CancelToken m_cancel;
    std::int64_t m_position = 0;
    ffmpeg::IoContextPtr m_io; // outlives m_context, which reads through it
    ffmpeg::FormatContextPtr m_context;
};

// The stream that a person would call the video (not a cover picture); null where there is none.
AVStream* FindVideoStream(AVFormatContext* context);
// The sound stream that is played with it; null where there is none.
AVStream* FindSoundStream(AVFormatContext* context, const AVStream* video);

} // namespace ordune

// libavformat on a file that is already open: nothing but that file can be reached, whatever the file says.
//
// libavformat reads on through gigabytes that hold nothing, a few bytes at a time. So each piece of work has
// an end of its own, which no honest file comes near: headers and the look ahead have so many bytes, a packet
// has so much of the thread's time (not of the clock's: a slow disk and a busy machine are nobody's fault).
//
// Used by one thread at a time.
#pragma once

#include "ordune/CancelToken.h"
#include "ordune/Error.h"
#include "ordune/Ffmpeg.h"
#include "ordune/FileSource.h"

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

struct AVFormatContext;
struct AVPacket;
struct AVStream;

namespace ordune {

class FormatInput {
  public:
    // Whether somebody waits for the file to be opened.
    enum class Haste { Opening, None };

    // Recognises the file by its content and reads its headers, no more: no picture is decoded.
    // NotMedia where it is no container that is known, Damaged where one is begun and broken, or goes on
    // without end; with Haste::Opening also where its headers alone would take seconds.
    // Once cancelled, opening fails with Cancelled, and what reads through the context gets AVERROR_EXIT.
    static Result<std::unique_ptr<FormatInput>> Open(std::shared_ptr<const FileSource> file, Haste haste,
                                                     CancelToken cancel = {});
    // The same for bytes that stand for the file's headers; nothing can be read through it but these. Damaged
    // where there are none.
    static Result<std::unique_ptr<FormatInput>> OpenHeaders(std::shared_ptr<const FileSource> file,
                                                            std::vector<std::uint8_t> headers);
    ~FormatInput();
    FormatInput(const FormatInput&) = delete;
    FormatInput& operator=(const FormatInput&) = delete;

    AVFormatContext* Context() const { return m_context.get(); }
    const FileSource& File() const { return *m_file; }
    const CancelToken& Cancel() const { return m_cancel; }
    // How far into the file was read last.
    std::int64_t Position() const { return m_position; }
    // The short name of the container's reader, such as "matroska,webm".
    const char* FormatName() const;
    bool IsMp4() const;
    // Whether the container says when pictures are shown, not only in which order they are decoded.
    bool HasTimes() const;
    // Stops reading streams other than this one.
    void ReadOnly(int stream_index) const;

    // Where the headers do not tell what a decoder needs: reads on, decoding where it must, within bounds.
    void FindStreamInfo();
    // av_read_frame. A film ends where no packet comes for half a second of work.
    int ReadPacket(AVPacket* packet);
    // avformat_seek_file to a time at or before `time`, within the same bound.
    bool SeekTo(int stream_index, std::int64_t time);

    // The time that the thread has worked. Tests may put another in its place, for the whole process; null
    // brings it back.
    using WorkClock = std::chrono::nanoseconds (*)();
    static void SetWorkClock(WorkClock clock);

  private:
    FormatInput(std::shared_ptr<const FileSource> file, CancelToken cancel)
        : m_file(std::move(file)), m_cancel(std::move(cancel)) {}
    Result<void> OpenContext();
    std::int64_t Size() const;
    void BeginWork(std::int64_t bytes, std::chrono::nanoseconds time);
    bool GivenUp();
    static int Interrupted(void* self);
    static int Read(void* self, std::uint8_t* buffer, int count);
    static std::int64_t Seek(void* self, std::int64_t offset, int whence);

    const std::shared_ptr<const FileSource> m_file;
    const CancelToken m_cancel;
    std::vector<std::uint8_t> m_headers; // read instead of the file where there are any
    std::int64_t m_position = 0;
    // Of the work that was begun last. The time runs from its first read: most packets need none.
    std::int64_t m_bytes_left = 0;
    std::chrono::nanoseconds m_time_allowed{0};
    std::optional<std::chrono::nanoseconds> m_work_began;
    ffmpeg::IoContextPtr m_io; // outlives m_context, which reads through it
    ffmpeg::FormatContextPtr m_context;
};

// The stream that a person would call the video (not a cover picture); null where there is none.
AVStream* FindVideoStream(AVFormatContext* context);
// The sound stream that is played with it; null where there is none.
AVStream* FindSoundStream(AVFormatContext* context, const AVStream* video);

} // namespace ordune

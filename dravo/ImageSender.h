// Brings pixels to a window: through shared memory where the server has it, through the connection otherwise.
//
// Two buffers take turns. One that was sent is not written again before the server says that it has read it;
// when both are with the server nothing waits: the picture is left out, and a newer one drawn when a buffer
// is back. So a server that is slow or stands still holds up nobody and never owes more than two pictures.
//
// Used by one thread at a time.
#pragma once

#include "dravo/ShmSegment.h"
#include "dravo/XConnection.h"
#include "dravo/XWindow.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

namespace dravo {

class ImageSender {
  public:
    // Rows begin at multiples of this many bytes and of 16 pixels.
    static constexpr int kRowAlignment = 64;

    // A place for pixels in the server's layout.
    struct Canvas {
        std::uint8_t* pixels = nullptr; // null: none is to be had
        int stride = 0;                 // bytes
    };

    // The connection and the window must outlive the object.
    ImageSender(XConnection& connection, XWindow& window);
    ~ImageSender();
    ImageSender(const ImageSender&) = delete;
    ImageSender& operator=(const ImageSender&) = delete;

    // Whether a buffer is free to be written to.
    bool IsReady() const;
    // A place for a new picture of this size; none when not IsReady() or out of memory.
    Canvas Begin(int width, int height);
    // Sends what was written to the place that Begin gave last, to this column and row of the window.
    void Send(int x, int y);
    // Sends the picture sent last once more. False when there is none to send.
    bool SendAgain();
    // The picture sent last is no longer what is wanted.
    void Forget() { m_sent = nullptr; }

    // Takes the events and answers by which buffers come back.
    void HandleEvent(const xcb_generic_event_t& event);
    void HandleAnswers();

    bool UsesSharedMemory() const { return m_use_shm; }

  private:
    struct Buffer {
        std::unique_ptr<ShmSegment> shared;
        std::vector<std::uint8_t> own;      // without shared memory
        int with_server = 0;                // how often it was sent and is not back
        std::optional<unsigned int> answer; // without shared memory: the request whose answer brings it back
        int width = 0;
        int height = 0;
        int stride = 0;
        int x = 0;
        int y = 0;
    };

    std::uint8_t* Room(Buffer& buffer, std::size_t bytes);
    void GiveUpSharedMemory();
    void Put(Buffer& buffer);
    void PutThroughConnection(Buffer& buffer);

    // Fixed after construction.
    XConnection& m_connection;
    XWindow& m_window;
    std::uint8_t m_first_shm_event = 0;
    std::uint8_t m_shm_opcode = 0;

    bool m_use_shm = false;
    std::array<Buffer, 2> m_buffers;
    Buffer* m_writing = nullptr;
    Buffer* m_sent = nullptr;
    std::vector<std::uint8_t> m_rows; // rows without gaps, on their way through the connection
};

} // namespace dravo

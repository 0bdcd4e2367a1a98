// Memory that this process and the X server share. It is marked for removal before the server even has it, so
// that nothing stays behind however either of them ends; Linux lets others attach to marked memory for as
// long as someone still has it (shmctl(2)).
#pragma once

#include "dravo/XConnection.h"

#include <cstddef>
#include <cstdint>
#include <memory>

#include <xcb/shm.h>

namespace dravo {

class ShmSegment {
  public:
    // Waits for the server's word. Null when there is no memory or the server cannot have it, as one on
    // another machine cannot. The connection must outlive the object.
    static std::unique_ptr<ShmSegment> Make(XConnection& connection, std::size_t bytes);
    ~ShmSegment();
    ShmSegment(const ShmSegment&) = delete;
    ShmSegment& operator=(const ShmSegment&) = delete;

    xcb_shm_seg_t Id() const { return m_id; }
    std::uint8_t* Data() const { return m_data; }
    std::size_t Bytes() const { return m_bytes; }

  private:
    ShmSegment(XConnection& connection, std::size_t bytes) : m_connection(connection), m_bytes(bytes) {}

    XConnection& m_connection;
    std::size_t m_bytes;
    std::uint8_t* m_data = nullptr;
    xcb_shm_seg_t m_id = XCB_NONE;
};

} // namespace dravo

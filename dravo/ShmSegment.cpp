#include "dravo/ShmSegment.h"

#include <sys/ipc.h>
#include <sys/shm.h>

namespace dravo {

std::unique_ptr<ShmSegment> ShmSegment::Make(XConnection& connection, std::size_t bytes) {
    const int memory = shmget(IPC_PRIVATE, bytes, IPC_CREAT | 0600);
    if (memory == -1) return nullptr;
    std::unique_ptr<ShmSegment> segment(new ShmSegment(connection, bytes));
    void* data = shmat(memory, nullptr, 0);
    shmctl(memory, IPC_RMID, nullptr);
    // shmat(2) reports a failure as -1, which no mapping is.
    if (reinterpret_cast<std::intptr_t>(data) == -1) return nullptr;
    segment->m_data = static_cast<std::uint8_t*>(data);
    segment->m_id = xcb_generate_id(connection.Raw());
    xcb_shm_attach(connection.Raw(), segment->m_id, static_cast<std::uint32_t>(memory), /*read_only=*/1);
    return segment;
}

ShmSegment::~ShmSegment() {
    if (m_id != XCB_NONE) xcb_shm_detach(m_connection.Raw(), m_id);
    if (m_data) shmdt(m_data);
}

} // namespace dravo

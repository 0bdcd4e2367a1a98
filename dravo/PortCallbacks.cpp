#include "dravo/PortCallbacks.h"

namespace dravo {

namespace {

thread_local int t_inside = 0;

// Planar 4:2:0 in the display callback's `type`.
constexpr int kDisplayTypeYuv420 = 3;

struct InsideMark {
    InsideMark() { ++t_inside; }
    ~InsideMark() { --t_inside; }
    InsideMark(const InsideMark&) = delete;
    InsideMark& operator=(const InsideMark&) = delete;
};

} // namespace

void PortCallbacks::SetFileEnd(FileEnd callback, void* user) {
    const std::lock_guard lock(m_mutex);
    m_set.file_end = callback;
    m_set.file_end_user = user;
}

void PortCallbacks::SetEncTypeChange(EncTypeChange callback, std::intptr_t user) {
    const std::lock_guard lock(m_mutex);
    m_set.enc_type_change = callback;
    m_set.enc_type_change_user = user;
}

void PortCallbacks::SetFileRef(FileRef callback, std::uintptr_t user) {
    const std::lock_guard lock(m_mutex);
    m_set.file_ref = callback;
    m_set.file_ref_user = user;
}

void PortCallbacks::SetDisplay(Display callback) {
    const std::lock_guard lock(m_mutex);
    m_set.display = callback;
}

void PortCallbacks::Clear() {
    const std::lock_guard lock(m_mutex);
    m_set = Set{};
}

PortCallbacks::Set PortCallbacks::Copy() const {
    const std::lock_guard lock(m_mutex);
    return m_set;
}

bool PortCallbacks::WantsFileRef() const {
    return Copy().file_ref != nullptr;
}

bool PortCallbacks::WantsDisplay() const {
    return Copy().display != nullptr;
}

void PortCallbacks::CallFileEnd() const {
    const Set set = Copy();
    if (!set.file_end) return;
    const InsideMark mark;
    set.file_end(m_port, set.file_end_user);
}

void PortCallbacks::CallEncTypeChange() const {
    const Set set = Copy();
    if (!set.enc_type_change) return;
    const InsideMark mark;
    set.enc_type_change(m_port, set.enc_type_change_user);
}

void PortCallbacks::CallFileRef() const {
    const Set set = Copy();
    if (!set.file_ref) return;
    const InsideMark mark;
    set.file_ref(static_cast<unsigned int>(m_port), set.file_ref_user);
}

void PortCallbacks::CallDisplay(char* buffer, int size, int width, int height, int stamp) const {
    const Set set = Copy();
    if (!set.display) return;
    const InsideMark mark;
    set.display(m_port, buffer, size, width, height, stamp, kDisplayTypeYuv420, 0);
}

bool PortCallbacks::InsideCallback() {
    return t_inside > 0;
}

} // namespace dravo

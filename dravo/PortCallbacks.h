// The four callbacks of a port, and the mark of a thread that is inside one.
#pragma once

#include <cstdint>
#include <mutex>

namespace dravo {

class PortCallbacks {
  public:
    using FileEnd = void (*)(int port, void* user);
    using EncTypeChange = void (*)(int port, std::intptr_t user);
    using FileRef = void (*)(unsigned int port, std::uintptr_t user);
    using Display = void (*)(int port, char* buffer, int size, int width, int height, int stamp, int type,
                             int reserved);

    explicit PortCallbacks(int port) : m_port(port) {}

    // Any thread. Null removes one. A call that has begun is not waited for.
    void SetFileEnd(FileEnd callback, void* user);
    void SetEncTypeChange(EncTypeChange callback, std::intptr_t user);
    void SetFileRef(FileRef callback, std::uintptr_t user);
    void SetDisplay(Display callback);
    void Clear();

    bool WantsFileRef() const;
    bool WantsDisplay() const;

    // The port's play thread, with no lock held.
    void CallFileEnd() const;
    void CallEncTypeChange() const;
    void CallFileRef() const;
    void CallDisplay(char* buffer, int size, int width, int height, int stamp) const;

    // Whether the calling thread is inside a callback of any port.
    static bool InsideCallback();

  private:
    struct Set {
        FileEnd file_end = nullptr;
        void* file_end_user = nullptr;
        EncTypeChange enc_type_change = nullptr;
        std::intptr_t enc_type_change_user = 0;
        FileRef file_ref = nullptr;
        std::uintptr_t file_ref_user = 0;
        Display display = nullptr;
    };
    Set Copy() const;

    const int m_port;
    mutable std::mutex m_mutex; // guards m_set; never held during a call
    Set m_set;
};

} // namespace dravo

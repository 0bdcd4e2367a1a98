// A limit on the size of the files that this process writes, which stands in for a full disk.
#pragma once

#include <csignal>
#include <sys/resource.h>

namespace support {

// Holds for the life of the object. What goes beyond fails with EFBIG; it would end the process otherwise.
class FileSizeLimit {
  public:
    explicit FileSizeLimit(rlim_t bytes) {
        getrlimit(RLIMIT_FSIZE, &m_old);
        struct rlimit tight = m_old;
        tight.rlim_cur = bytes;
        setrlimit(RLIMIT_FSIZE, &tight);
    }
    ~FileSizeLimit() {
        setrlimit(RLIMIT_FSIZE, &m_old);
        std::signal(SIGXFSZ, m_oldHandler);
    }
    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;

  private:
    struct rlimit m_old {};
    void (*m_oldHandler)(int) = std::signal(SIGXFSZ, SIG_IGN);
};

} // namespace support

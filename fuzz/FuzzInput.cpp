#include "fuzz/FuzzInput.h"

#include <cstdio>
#include <cstdlib>
#include <sys/mman.h>
#include <unistd.h>

namespace fuzz {

MemoryFile::MemoryFile(std::span<const std::uint8_t> bytes)
    : m_descriptor(::memfd_create("input", MFD_CLOEXEC)),
      m_path("/proc/self/fd/" + std::to_string(m_descriptor)) {
    Require(m_descriptor >= 0, "there is a file in memory");
    for (std::size_t done = 0; done < bytes.size();) {
        const ssize_t written = ::write(m_descriptor, bytes.data() + done, bytes.size() - done);
        Require(written > 0, "the file in memory takes the input");
        done += static_cast<std::size_t>(written);
    }
}

MemoryFile::~MemoryFile() {
    ::close(m_descriptor);
}

void Require(bool kept, const char* promise) {
    if (kept) return;
    std::fprintf(stderr, "broken: %s\n", promise);
    std::abort();
}

} // namespace fuzz

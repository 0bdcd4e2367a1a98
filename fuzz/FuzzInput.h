// What the harnesses share: an input as a file that lies in memory, and promises that end the process when
// broken.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

// Each harness is one function of this name: the fuzzer, or the replayer, calls it with one input after the
// other. Always 0.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace fuzz {

// A file without a name that holds the input, readable under a path of this process. Every object is another
// file to whoever remembers files by device and inode. Ends the process when memory is short.
class MemoryFile {
  public:
    explicit MemoryFile(std::span<const std::uint8_t> bytes);
    ~MemoryFile();
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;

    const std::string& Path() const { return m_path; }

  private:
    int m_descriptor;
    std::string m_path;
};

// Takes an input apart from its front: the bytes that steer the harness come before those of the file. Gives
// zeros when there is nothing left.
class InputBytes {
  public:
    explicit InputBytes(std::span<const std::uint8_t> bytes) : m_bytes(bytes) {}

    std::uint8_t Next() {
        if (m_bytes.empty()) return 0;
        const std::uint8_t byte = m_bytes.front();
        m_bytes = m_bytes.subspan(1);
        return byte;
    }
    std::span<const std::uint8_t> Rest() const { return m_bytes; }

  private:
    std::span<const std::uint8_t> m_bytes;
};

// Says what was broken and aborts, so that the fuzzer keeps the input.
void Require(bool kept, const char* promise);

} // namespace fuzz

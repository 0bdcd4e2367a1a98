// A regular file opened for reading, by a path of raw bytes.
//
// Never blocks on what is not a file, never changes the file, and is not inherited by child processes. All
// functions may be called from any thread; reads carry their own position.
#pragma once

#include "ordune/CancelToken.h"
#include "ordune/Error.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

namespace ordune {

// What tells one state of a file from another: two equal ones hold the same bytes.
struct FileIdentity {
    std::uint64_t device = 0;
    std::uint64_t inode = 0;
    std::int64_t size_bytes = 0;
    std::int64_t changed_ns = 0; // modification time
    std::int64_t status_ns = 0;  // change of the inode, which a copied modification time does not hide

    bool operator==(const FileIdentity&) const = default;
};

class FileSource {
  public:
    // NotFound, NotPermitted, NotAFile (a directory, a device, a pipe, a socket) or Io.
    static Result<std::shared_ptr<const FileSource>> Open(const std::string& path);
    ~FileSource();
    FileSource(const FileSource&) = delete;
    FileSource& operator=(const FileSource&) = delete;

    const std::string& Path() const { return m_path; }
    const FileIdentity& Identity() const { return m_identity; }
    // Size when it was opened: a file that grows is read to here.
    std::int64_t Size() const { return m_identity.size_bytes; }
    // Whether the file still is what it was when opened.
    bool Unchanged() const;

    // Reads up to `count` bytes at `offset`; fewer only at the end of the file, -1 when reading failed.
    std::int64_t ReadAt(std::int64_t offset, void* buffer, std::size_t count) const;
    // Fills the buffer whole, in pieces between which it can be cancelled: Io where the file cannot be read
    // or has become shorter, or Cancelled.
    Result<void> ReadWhole(std::int64_t offset, void* buffer, std::size_t count,
                           const CancelToken& cancel) const;
    int Descriptor() const { return m_descriptor; }

  private:
    FileSource(std::string path, int descriptor, const FileIdentity& identity);

    const std::string m_path;
    const int m_descriptor;
    const FileIdentity m_identity;
};

} // namespace ordune

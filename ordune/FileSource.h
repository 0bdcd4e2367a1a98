// A regular file opened for reading, by a path of raw bytes.
//
// Never blocks on what is not a file, never changes the file, and is not inherited by child processes. All
// functions may be called from any thread; reads carry their own position.
//
// A share that has gone away lets whoever asks it hang until it is back. No function here waits for that:
// what has not answered within kPatience counts as a failure to read. Opening is therefore done on a thread
// of its own, and so is reading where the file does not lie on a disk of this machine. While an opening still
// hangs, other files of its folder are refused at once, so that a list of them costs the wait once.
#pragma once

#include "ordune/CancelToken.h"
#include "ordune/Error.h"

#include <atomic>
#include <chrono>
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

class CallThread;

class FileSource {
  public:
    // How long a share may take to answer.
    static constexpr std::chrono::milliseconds kPatience{1500};

    // NotFound, NotPermitted, NotAFile (a directory, a device, a pipe, a socket), Io or OutOfMemory.
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
    // Whether reading has failed since it was opened: what is known of the file may not be all of it.
    bool ReadFailed() const { return m_read_failed.load(std::memory_order_acquire); }

  private:
    class Descriptor;
    struct Opened;

    FileSource(std::string path, Opened opened, std::unique_ptr<CallThread> calls);
    static void OpenHere(const std::string& path, Opened& opened);
    std::int64_t ReadApart(std::int64_t offset, void* buffer, std::size_t count) const;

    const std::string m_path;
    const FileIdentity m_identity;
    std::shared_ptr<const Descriptor> m_descriptor; // shared with a call that hangs
    const std::unique_ptr<CallThread> m_calls;      // null where the disk is this machine's
    mutable std::atomic<bool> m_read_failed{false};
};

} // namespace ordune

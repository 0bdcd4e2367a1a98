#include "ordune/FileSource.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace ordune {

namespace {

// What a slow disk or a network still delivers in a moment.
constexpr std::size_t kPiece = 1 << 20;

FileIdentity IdentityOf(const struct stat& status) {
    FileIdentity identity;
    identity.device = status.st_dev;
    identity.inode = status.st_ino;
    identity.size_bytes = status.st_size;
    identity.changed_ns = status.st_mtim.tv_sec * 1'000'000'000LL + status.st_mtim.tv_nsec;
    identity.status_ns = status.st_ctim.tv_sec * 1'000'000'000LL + status.st_ctim.tv_nsec;
    return identity;
}

Error OpenFailure(int code, const std::string& path) {
    switch (code) {
    case ENOENT:
    case ENOTDIR:
        return {ErrorKind::NotFound, "there is no such file; it may have been moved or deleted", path};
    case EACCES:
    case EPERM:
        return {ErrorKind::NotPermitted, "the file may not be read; ask its owner for permission", path};
    case ENXIO:
    case ENODEV:
        return {ErrorKind::NotAFile, "this is not a file; choose a recording", path};
    default:
        return {ErrorKind::Io, std::string("the file cannot be opened: ") + std::strerror(code), path};
    }
}

} // namespace

Result<std::shared_ptr<const FileSource>> FileSource::Open(const std::string& path) {
    // A NUL byte would silently name another file.
    if (path.empty() || path.find('\0') != std::string::npos) return OpenFailure(ENOENT, path);
    // Looked at before it is opened: opening a device alone can have an effect.
    struct stat status {};
    if (::stat(path.c_str(), &status) != 0) return OpenFailure(errno, path);
    if (!S_ISREG(status.st_mode)) return OpenFailure(ENODEV, path);
    // Not to block on a pipe that took the file's place in between.
    const int descriptor = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    if (descriptor < 0) return OpenFailure(errno, path);
    if (::fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode)) {
        ::close(descriptor);
        return OpenFailure(ENODEV, path);
    }
    return std::shared_ptr<const FileSource>(new FileSource(path, descriptor, IdentityOf(status)));
}

FileSource::FileSource(std::string path, int descriptor, const FileIdentity& identity)
    : m_path(std::move(path)), m_descriptor(descriptor), m_identity(identity) {}

FileSource::~FileSource() {
    ::close(m_descriptor);
}

bool FileSource::Unchanged() const {
    struct stat status {};
    return ::fstat(m_descriptor, &status) == 0 && IdentityOf(status) == m_identity;
}

Result<void> FileSource::ReadWhole(std::int64_t offset, void* buffer, std::size_t count,
                                   const CancelToken& cancel) const {
    for (std::size_t done = 0; done < count;) {
        if (cancel.Cancelled()) return Error{ErrorKind::Cancelled, "reading was given up", m_path};
        const std::size_t piece = std::min(count - done, kPiece);
        const std::int64_t got =
            ReadAt(offset + static_cast<std::int64_t>(done), static_cast<char*>(buffer) + done, piece);
        if (got < 0) return Error{ErrorKind::Io, "the file cannot be read any more", m_path};
        if (static_cast<std::size_t>(got) < piece)
            return Error{ErrorKind::Io, "the file has become shorter while it was open", m_path};
        done += piece;
    }
    return {};
}

std::int64_t FileSource::ReadAt(std::int64_t offset, void* buffer, std::size_t count) const {
    std::size_t done = 0;
    while (done < count) {
        const ssize_t got = ::pread(m_descriptor, static_cast<char*>(buffer) + done, count - done,
                                    offset + static_cast<std::int64_t>(done));
        if (got == 0) break;
        if (got < 0) {
            if (errno == EINTR) continue;
            return -1;
        }
        done += static_cast<std::size_t>(got);
    }
    return static_cast<std::int64_t>(done);
}

} // namespace ordune

#include "ordune/FileSource.h"

#include "ordune/CallThread.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <linux/magic.h>
#include <mutex>
#include <new>
#include <optional>
#include <set>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <system_error>
#include <unistd.h>
#include <utility>

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

Error NoAnswer(const std::string& path) {
    return {ErrorKind::Io, "the file does not answer; is the share or the disk that it lies on connected?",
            path};
}

// Whether the file lies on a disk of this machine, or in its memory. Of any other place it is not known how
// long it may take to answer.
bool LiesOnThisMachine(int descriptor) {
    constexpr unsigned kExfat = 0x2011BAB0;
    constexpr unsigned kNtfs = 0x7366746E;
    constexpr unsigned kXfs = 0x58465342;
    constexpr unsigned kZfs = 0x2FC12FC1;
    constexpr std::array<unsigned, 15> kLocal = {BTRFS_SUPER_MAGIC,
                                                 EXT4_SUPER_MAGIC,
                                                 F2FS_SUPER_MAGIC,
                                                 ISOFS_SUPER_MAGIC,
                                                 MSDOS_SUPER_MAGIC,
                                                 OVERLAYFS_SUPER_MAGIC,
                                                 RAMFS_MAGIC,
                                                 SQUASHFS_MAGIC,
                                                 TMPFS_MAGIC,
                                                 UDF_SUPER_MAGIC,
                                                 REISERFS_SUPER_MAGIC,
                                                 kExfat,
                                                 kNtfs,
                                                 kXfs,
                                                 kZfs};
    struct statfs system {};
    if (::fstatfs(descriptor, &system) != 0) return false;
    return std::find(kLocal.begin(), kLocal.end(), static_cast<unsigned>(system.f_type)) != kLocal.end();
}

std::int64_t ReadHere(int descriptor, std::int64_t offset, void* buffer, std::size_t count) {
    std::size_t done = 0;
    while (done < count) {
        const ssize_t got = ::pread(descriptor, static_cast<char*>(buffer) + done, count - done,
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

// The folders in which openings hang that nobody waits for any more. Any thread.
class HangingFolders {
  public:
    static HangingFolders& Shared() {
        static auto* const folders = new HangingFolders; // outlives the threads that hang
        return *folders;
    }

    bool Contains(const std::string& folder) {
        const std::lock_guard lock(m_mutex);
        return m_folders.contains(folder);
    }

    // One opening, as the thread that opens and the one that waits see it.
    class Opening {
      public:
        explicit Opening(std::string folder) : m_folder(std::move(folder)) {}
        // It has come to its end.
        void Returned() {
            const std::lock_guard lock(Shared().m_mutex);
            m_returned = true;
            if (m_given_up) Shared().m_folders.extract(m_folder);
        }
        // Nobody waits for it any more.
        void GiveUp() {
            const std::lock_guard lock(Shared().m_mutex);
            if (m_returned) return;
            m_given_up = true;
            Shared().m_folders.insert(m_folder);
        }

      private:
        const std::string m_folder;
        // Guarded by the folders' mutex.
        bool m_returned = false;
        bool m_given_up = false;
    };

  private:
    std::mutex m_mutex;
    std::multiset<std::string> m_folders;
};

} // namespace

class FileSource::Descriptor {
  public:
    explicit Descriptor(int number) : m_number(number) {}
    ~Descriptor() { ::close(m_number); }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    int Number() const { return m_number; }

  private:
    const int m_number;
};

// What opening found.
struct FileSource::Opened {
    std::optional<Error> failure;
    std::shared_ptr<const Descriptor> descriptor;
    FileIdentity identity;
    bool on_this_machine = false;
};

void FileSource::OpenHere(const std::string& path, Opened& opened) {
    // Looked at before it is opened: opening a device alone can have an effect.
    struct stat status {};
    if (::stat(path.c_str(), &status) != 0) {
        opened.failure = OpenFailure(errno, path);
        return;
    }
    if (!S_ISREG(status.st_mode)) {
        opened.failure = OpenFailure(ENODEV, path);
        return;
    }
    // Not to block on a pipe that took the file's place in between.
    const int number = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    if (number < 0) {
        opened.failure = OpenFailure(errno, path);
        return;
    }
    opened.descriptor = std::make_shared<const Descriptor>(number);
    if (::fstat(number, &status) != 0 || !S_ISREG(status.st_mode)) {
        opened.failure = OpenFailure(ENODEV, path);
        return;
    }
    opened.identity = IdentityOf(status);
    opened.on_this_machine = LiesOnThisMachine(number);
}

Result<std::shared_ptr<const FileSource>> FileSource::Open(const std::string& path) {
    // A NUL byte would silently name another file.
    if (path.empty() || path.find('\0') != std::string::npos) return OpenFailure(ENOENT, path);
    const std::string folder = path.substr(0, path.rfind('/') + 1);
    if (HangingFolders::Shared().Contains(folder)) return NoAnswer(path);
    std::unique_ptr<CallThread> calls;
    try {
        calls = std::make_unique<CallThread>();
    } catch (const std::system_error&) {
        return Error{ErrorKind::OutOfMemory, "no thread can be had to open the file", path};
    }
    const auto opened = std::make_shared<Opened>();
    const auto opening = std::make_shared<HangingFolders::Opening>(folder);
    const auto open = [path, opened, opening] {
        OpenHere(path, *opened);
        opening->Returned();
    };
    if (!calls->Run(open, kPatience)) {
        opening->GiveUp();
        return NoAnswer(path);
    }
    if (opened->failure) return *opened->failure;
    if (!opened->descriptor) return Error{ErrorKind::OutOfMemory, "not enough memory to open the file", path};
    if (opened->on_this_machine) calls.reset();
    return std::shared_ptr<const FileSource>(new FileSource(path, std::move(*opened), std::move(calls)));
}

FileSource::FileSource(std::string path, Opened opened, std::unique_ptr<CallThread> calls)
    : m_path(std::move(path)), m_identity(opened.identity), m_descriptor(std::move(opened.descriptor)),
      m_calls(std::move(calls)) {}

FileSource::~FileSource() {
    if (!m_calls) return;
    // Closing asks the share too. Where a call hangs already, its end closes the file.
    auto close = [descriptor = std::move(m_descriptor)]() mutable { descriptor.reset(); };
    m_calls->Run(std::move(close), kPatience);
}

bool FileSource::Unchanged() const {
    const auto now = std::make_shared<std::optional<FileIdentity>>();
    const auto look = [now, descriptor = m_descriptor] {
        struct stat status {};
        if (::fstat(descriptor->Number(), &status) == 0) *now = IdentityOf(status);
    };
    if (m_calls) {
        if (!m_calls->Run(look, kPatience)) return false;
    } else {
        look();
    }
    return *now == m_identity;
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
    const std::int64_t got =
        m_calls ? ReadApart(offset, buffer, count) : ReadHere(m_descriptor->Number(), offset, buffer, count);
    if (got < 0) m_read_failed.store(true, std::memory_order_release);
    return got;
}

// On the other thread, into memory of its own: the buffer's owner may be gone when a read that hung returns.
std::int64_t FileSource::ReadApart(std::int64_t offset, void* buffer, std::size_t count) const {
    const std::shared_ptr<char[]> bytes(new (std::nothrow) char[count]);
    if (!bytes) return -1;
    const auto got = std::make_shared<std::int64_t>(-1);
    const auto read = [=, descriptor = m_descriptor] {
        *got = ReadHere(descriptor->Number(), offset, bytes.get(), count);
    };
    if (!m_calls->Run(read, kPatience) || *got < 0) return -1;
    std::memcpy(buffer, bytes.get(), static_cast<std::size_t>(*got));
    return *got;
}

} // namespace ordune

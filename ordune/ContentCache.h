// Remembers what files were found to hold, so that an index once made is not made again while the process
// lives and the file is unchanged. Shared by all threads.
#pragma once

#include "ordune/FileContent.h"

#include <cstddef>
#include <list>
#include <memory>
#include <mutex>

namespace ordune {

class ContentCache {
  public:
    // Keeps the `capacity` contents used last, and of these at most `most_bytes` of index. Others are found
    // as long as somebody holds them.
    ContentCache(std::size_t capacity, std::size_t most_bytes);

    // The process's own.
    static ContentCache& Shared();

    // What is known of the file; null where nothing is.
    std::shared_ptr<FileContent> Find(const FileIdentity& identity);
    // An index that is not complete, or short, is remembered only as long as somebody else holds it.
    void Keep(const FileIdentity& identity, const std::shared_ptr<FileContent>& content);

  private:
    struct Entry {
        FileIdentity identity;
        std::weak_ptr<FileContent> content;
        std::shared_ptr<FileContent> kept; // null while the index grows, and for one too many
    };
    void TrimLocked(std::list<std::shared_ptr<FileContent>>& freed);

    const std::size_t m_capacity;
    const std::size_t m_most_bytes;

    // Guarded by m_mutex: newest first.
    std::mutex m_mutex;
    std::list<Entry> m_entries;
};

} // namespace ordune

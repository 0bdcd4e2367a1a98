#include "ordune/ContentCache.h"

namespace ordune {

namespace {

constexpr std::size_t kCapacity = 16;
constexpr std::size_t kMostBytes = 256 << 20;

} // namespace

ContentCache::ContentCache(std::size_t capacity, std::size_t most_bytes)
    : m_capacity(capacity), m_most_bytes(most_bytes) {}

ContentCache& ContentCache::Shared() {
    // Never destroyed: a file that is still open at the process's end, held by another static or by a thread
    // that has not ended yet, comes back here when it is closed.
    static auto* const cache = new ContentCache(kCapacity, kMostBytes);
    return *cache;
}

std::shared_ptr<FileContent> ContentCache::Find(const FileIdentity& identity) {
    // Freed after the lock: the end of a content may join a thread.
    std::list<std::shared_ptr<FileContent>> freed;
    const std::lock_guard lock(m_mutex);
    for (auto entry = m_entries.begin(); entry != m_entries.end(); ++entry) {
        if (!(entry->identity == identity)) continue;
        std::shared_ptr<FileContent> content = entry->content.lock();
        if (!content) {
            m_entries.erase(entry);
            return nullptr;
        }
        if (!entry->kept && content->Table().Complete() && !content->IsShort()) entry->kept = content;
        m_entries.splice(m_entries.begin(), m_entries, entry);
        TrimLocked(freed);
        return content;
    }
    return nullptr;
}

void ContentCache::Keep(const FileIdentity& identity, const std::shared_ptr<FileContent>& content) {
    std::list<std::shared_ptr<FileContent>> freed;
    const std::lock_guard lock(m_mutex);
    for (Entry& entry : m_entries) {
        if (entry.identity == identity && entry.kept) freed.push_back(std::move(entry.kept));
    }
    std::erase_if(m_entries, [&](const Entry& entry) { return entry.identity == identity; });
    m_entries.push_front(
        {identity, content, content->Table().Complete() && !content->IsShort() ? content : nullptr});
    TrimLocked(freed);
}

void ContentCache::TrimLocked(std::list<std::shared_ptr<FileContent>>& freed) {
    std::erase_if(m_entries, [](const Entry& entry) { return entry.content.expired(); });
    std::size_t count = 0;
    std::size_t bytes = 0;
    for (Entry& entry : m_entries) {
        if (!entry.kept) continue;
        bytes += entry.kept->Table().Bytes();
        // The newest stays whatever its size: it is about to be opened again.
        if (++count == 1 || (count <= m_capacity && bytes <= m_most_bytes)) continue;
        bytes -= entry.kept->Table().Bytes();
        freed.push_back(std::move(entry.kept));
    }
}

} // namespace ordune

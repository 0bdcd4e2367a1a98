// What the frame readers of a process share: memory for the pictures that they keep, and cores to decode on.
//
// A reader has a part while something is wanted of it. Half of the memory goes in equal parts to all of
// those; the other half to those of them that were used lately: where one plays and many stand still it is
// nearly all for the one. Lately is counted in uses, not in time, so that readers that all stand still keep
// what they have. Thread-safe.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <vector>

namespace ordune {

class ReaderShares : public std::enable_shared_from_this<ReaderShares> {
  public:
    // A reader counts as used lately for so many uses of each reader that has a part.
    static constexpr std::uint64_t kLately = 16;

    // One reader's place; its end gives the part back.
    class Member {
      public:
        ~Member();
        Member(const Member&) = delete;
        Member& operator=(const Member&) = delete;

        // Something is wanted of the reader now; nothing, until the next Use.
        void Use();
        void Rest();
        // What it cannot work without: it has that, whatever the others have.
        void SetLeast(std::size_t bytes);

        // Its part of the memory; 0 while nothing is wanted.
        std::size_t Bytes() const { return m_bytes; }
        // On how many threads it is to decode: the cores divided among those that have a part, at least one.
        int Threads() const;

      private:
        friend class ReaderShares;
        Member(std::shared_ptr<ReaderShares> shares, std::function<void()> shrunk)
            : m_shares(std::move(shares)), m_shrunk(std::move(shrunk)) {}

        const std::shared_ptr<ReaderShares> m_shares;
        const std::function<void()> m_shrunk;
        std::atomic<std::size_t> m_bytes{0};
        // Guarded by the shares' mutex.
        bool m_in_use = false;
        std::uint64_t m_last_use = 0;
        std::size_t m_least = 0;
    };

    ReaderShares(std::size_t bytes, int threads) : m_total_bytes(bytes), m_total_threads(threads) {}

    // `shrunk` is called, on whatever thread made it so, when the member's part has become smaller. It must
    // return soon and not call back.
    std::unique_ptr<Member> Join(std::function<void()> shrunk);
    // Whether anything is wanted of any reader.
    bool IsInUse() const;

  private:
    void DivideLocked();
    std::uint64_t CountInUseLocked() const;

    const std::size_t m_total_bytes;
    const int m_total_threads;
    // Guards what follows, and is held while `shrunk` is called. Readers take their own locks inside it,
    // never it inside theirs.
    mutable std::mutex m_mutex;
    std::vector<Member*> m_members;
    std::uint64_t m_uses = 0;
};

} // namespace ordune

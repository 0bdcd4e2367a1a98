#include "ordune/ReaderShares.h"

#include <algorithm>

namespace ordune {

namespace {

// A part grows only when it is worth it, so that it does not change with every use.
constexpr std::size_t kWorthGrowing = 8; // an eighth

} // namespace

std::unique_ptr<ReaderShares::Member> ReaderShares::Join(std::function<void()> shrunk) {
    std::unique_ptr<Member> member(new Member(shared_from_this(), std::move(shrunk)));
    const std::lock_guard lock(m_mutex);
    m_members.push_back(member.get());
    return member;
}

bool ReaderShares::IsInUse() const {
    const std::lock_guard lock(m_mutex);
    return CountInUseLocked() > 0;
}

std::uint64_t ReaderShares::CountInUseLocked() const {
    return static_cast<std::uint64_t>(std::count_if(m_members.begin(), m_members.end(),
                                                    [](const Member* member) { return member->m_in_use; }));
}

void ReaderShares::DivideLocked() {
    const std::uint64_t parts = CountInUseLocked();
    const auto lately = [&](const Member* member) {
        return member->m_in_use && m_uses - member->m_last_use < kLately * parts;
    };
    const auto busy = static_cast<std::size_t>(std::count_if(m_members.begin(), m_members.end(), lately));
    for (Member* member : m_members) {
        std::size_t bytes = 0;
        if (member->m_in_use) {
            bytes = m_total_bytes / 2 / parts;
            if (busy == 0) bytes *= 2;
            if (lately(member)) bytes += m_total_bytes / 2 / busy;
            bytes = std::max(bytes, member->m_least);
        }
        const std::size_t before = member->m_bytes;
        if (bytes < before) {
            member->m_bytes = bytes;
            member->m_shrunk();
        } else if (bytes - before > before / kWorthGrowing) {
            member->m_bytes = bytes;
        }
    }
}

ReaderShares::Member::~Member() {
    const std::lock_guard lock(m_shares->m_mutex);
    std::erase(m_shares->m_members, this);
    m_shares->DivideLocked();
}

void ReaderShares::Member::Use() {
    const std::lock_guard lock(m_shares->m_mutex);
    m_in_use = true;
    m_last_use = ++m_shares->m_uses;
    m_shares->DivideLocked();
}

void ReaderShares::Member::Rest() {
    const std::lock_guard lock(m_shares->m_mutex);
    m_in_use = false;
    m_shares->DivideLocked();
}

void ReaderShares::Member::SetLeast(std::size_t bytes) {
    const std::lock_guard lock(m_shares->m_mutex);
    if (m_least == bytes) return;
    m_least = bytes;
    m_shares->DivideLocked();
}

int ReaderShares::Member::Threads() const {
    const std::lock_guard lock(m_shares->m_mutex);
    const auto parts = static_cast<int>(std::max<std::uint64_t>(m_shares->CountInUseLocked(), 1));
    return std::max(m_shares->m_total_threads / parts, 1);
}

} // namespace ordune

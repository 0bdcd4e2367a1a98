// How the readers of a process divide memory and cores among them.
#include "ordune/ReaderShares.h"
#include "ordune/ThreadedFrameReader.h"
#include "tests/ordune/ScriptedMedia.h"
#include "tests/support/WaitUntil.h"

#include <gtest/gtest.h>

#include <numeric>

namespace testing_ordune {
namespace {

using namespace std::chrono_literals;

constexpr std::size_t kAll = 1200;

class Shares : public testing::Test {
  protected:
    std::unique_ptr<ReaderShares::Member> Join() {
        return m_shares->Join([this] { ++m_shrunk; });
    }

    std::shared_ptr<ReaderShares> m_shares = std::make_shared<ReaderShares>(kAll, 8);
    int m_shrunk = 0;
};

TEST_F(Shares, OneReaderHasAllAndOneThatIsNotUsedNothing) {
    const auto one = Join();
    const auto idle = Join();
    EXPECT_EQ(one->Bytes(), 0U);
    EXPECT_FALSE(m_shares->IsInUse());
    one->Use();
    EXPECT_EQ(one->Bytes(), kAll);
    EXPECT_EQ(one->Threads(), 8);
    EXPECT_EQ(idle->Bytes(), 0U);
    EXPECT_TRUE(m_shares->IsInUse());
}

TEST_F(Shares, ReadersInUseHaveEqualParts) {
    const auto a = Join();
    auto b = Join();
    const auto c = Join();
    a->Use();
    b->Use();
    EXPECT_EQ(m_shrunk, 1) << "it is told that it has to give up half";
    c->Use();
    for (const auto* member : {a.get(), b.get(), c.get()}) {
        EXPECT_EQ(member->Bytes(), kAll / 3);
        EXPECT_EQ(member->Threads(), 2);
    }
    b.reset();
    EXPECT_EQ(a->Bytes(), kAll / 2);
    c->Rest();
    EXPECT_EQ(a->Bytes(), kAll);
    EXPECT_EQ(c->Bytes(), 0U);
}

TEST_F(Shares, TheOnesUsedLatelyHaveHalfOfItForThemselves) {
    std::vector<std::unique_ptr<ReaderShares::Member>> members;
    for (int i = 0; i < 6; ++i) {
        members.push_back(Join());
        members.back()->Use();
    }
    for (int use = 0; use < 200; ++use)
        members[2]->Use();
    EXPECT_EQ(members[2]->Bytes(), kAll / 12 + kAll / 2);
    EXPECT_EQ(members[0]->Bytes(), kAll / 12);
    // Those that all stand still keep what they have.
    std::size_t sum = 0;
    for (const auto& member : members)
        sum += member->Bytes();
    EXPECT_LE(sum, kAll);
    members[2]->Rest();
    EXPECT_EQ(members[0]->Bytes(), kAll / 5);
}

TEST_F(Shares, NobodyHasLessThanItCannotWorkWithout) {
    const auto a = Join();
    const auto b = Join();
    b->SetLeast(900);
    a->Use();
    b->Use();
    EXPECT_EQ(a->Bytes(), kAll / 2);
    EXPECT_EQ(b->Bytes(), 900U);
}

TEST_F(Shares, EveryReaderHasAThread) {
    std::vector<std::unique_ptr<ReaderShares::Member>> members;
    for (int i = 0; i < 64; ++i) {
        members.push_back(Join());
        members.back()->Use();
    }
    EXPECT_EQ(members[5]->Threads(), 1);
}

// ---- Readers that share

constexpr std::size_t kPictureBytes = 16384; // of 96 x 64 pixels, as the pool rounds them

class SharingReaders : public testing::Test {
  protected:
    SharingReaders() : m_media(ScriptedMedia::Encode({.frames = 200, .group = 20})) {
        for (int i = 0; i < 4; ++i) {
            m_readers.push_back(
                std::make_unique<ThreadedFrameReader>(m_media, m_means, FrameNumber{4}, [] {}));
            m_readers.back()->Begin();
        }
    }
    static void Want(FrameReader& reader, FrameNumber frame) {
        reader.SetWant({frame, Direction::Backward, true, Effort::Every, 0});
    }
    static bool Ready(FrameReader& reader, FrameNumber frame) {
        return support::WaitUntil([&] { return reader.StateOf(frame) == FrameReader::State::Ready; }, 20s);
    }
    std::size_t Bytes() const {
        return std::accumulate(
            m_readers.begin(), m_readers.end(), std::size_t{0},
            [](std::size_t sum, const auto& reader) { return sum + reader->CacheBytes(); });
    }

    static constexpr std::size_t kBudget = 80 * kPictureBytes;
    const std::shared_ptr<ScriptedMedia> m_media;
    const ReaderMeans m_means{std::make_shared<ReaderShares>(kBudget, 2),
                              std::make_shared<PicturePool>(kBudget / 20)};
    std::vector<std::unique_ptr<ThreadedFrameReader>> m_readers;
};

TEST_F(SharingReaders, KeepToTheirCommonBudgetAlsoWhileTheyStandStill) {
    Want(*m_readers[0], 150);
    ASSERT_TRUE(support::WaitUntil([&] { return m_readers[0]->CacheBytes() > kBudget / 2; }, 20s));
    // The others take their parts, and the first, of which nothing new is wanted, gives up its.
    for (std::size_t i = 1; i < m_readers.size(); ++i) {
        Want(*m_readers[i], 100);
        ASSERT_TRUE(Ready(*m_readers[i], 100));
    }
    EXPECT_TRUE(support::WaitUntil([&] { return m_readers[0]->CacheBytes() <= kBudget / 4; }, 20s));
    EXPECT_TRUE(support::WaitUntil([&] { return Bytes() <= kBudget; }, 20s));
    EXPECT_TRUE(m_readers[0]->Find(150)) << "the wanted one stays";
    for (const auto& reader : m_readers) {
        EXPECT_TRUE(support::WaitUntil([&] { return reader->CacheBytes() > kBudget / 16; }, 20s))
            << "nobody is left without";
    }
}

TEST_F(SharingReaders, OneOfWhichNothingIsWantedGivesAllBackAndCanGoOn) {
    Want(*m_readers[0], 150);
    ASSERT_TRUE(Ready(*m_readers[0], 150));
    m_readers[0]->WantNothing();
    EXPECT_TRUE(support::WaitUntil([&] { return m_readers[0]->CacheBytes() == 0; }, 20s));
    EXPECT_TRUE(support::WaitUntil([&] { return m_means.pool->Bytes() == 0; }, 20s));
    Want(*m_readers[0], 150);
    EXPECT_TRUE(Ready(*m_readers[0], 150)) << "the same want counts again";
}

} // namespace
} // namespace testing_ordune

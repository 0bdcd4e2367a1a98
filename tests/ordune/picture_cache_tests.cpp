// The cache's budget and order of eviction, and the pool's reuse of buffers.
#include "ordune/PictureCache.h"
#include "ordune/PicturePool.h"
#include "tests/support/AvHandles.h"

#include <gtest/gtest.h>

namespace testing_ordune {
namespace {

using namespace ordune;

PicturePtr MakePicture(FrameNumber number, const AVFrame* shared = nullptr) {
    if (shared) return Picture::FromFrame(shared, number, MediaTime{0}, 0);
    const support::FrameHandle frame(av_frame_alloc());
    frame->format = AV_PIX_FMT_GRAY8;
    frame->width = 64;
    frame->height = 64;
    support::CheckAv(av_frame_get_buffer(frame.get(), 0), "frame");
    return Picture::FromFrame(frame.get(), number, MediaTime{0}, 0);
}

std::size_t OnePicture() {
    return MakePicture(0)->Bytes();
}

TEST(PictureCache, LetsGoOfWhatIsOutsideTheWindowFirst) {
    PictureCache cache(5 * OnePicture());
    cache.SetFocus(10, 7, 11);
    std::vector<PicturePtr> dropped;
    for (const FrameNumber frame : {12, 13, 11, 10, 9})
        EXPECT_TRUE(cache.Add(MakePicture(frame), dropped));
    EXPECT_TRUE(dropped.empty());
    // 7 is farther from 10 than 13 and 12 are, but inside the window.
    EXPECT_TRUE(cache.Add(MakePicture(7), dropped));
    ASSERT_EQ(dropped.size(), 1U);
    EXPECT_EQ(dropped[0]->Number(), 13U);
    EXPECT_TRUE(cache.Add(MakePicture(8), dropped));
    EXPECT_EQ(dropped.back()->Number(), 12U);
    EXPECT_EQ(cache.Bytes(), 5 * OnePicture());
    // All five are nearer than this one.
    EXPECT_FALSE(cache.Add(MakePicture(6), dropped));
    EXPECT_FALSE(cache.Has(6));
}

TEST(PictureCache, LetsGoOfWhatNoLongerFitsASmallerBudget) {
    PictureCache cache(5 * OnePicture());
    cache.SetFocus(10, 8, 12);
    std::vector<PicturePtr> dropped;
    for (const FrameNumber frame : {8, 9, 10, 11, 12})
        EXPECT_TRUE(cache.Add(MakePicture(frame), dropped));
    cache.SetBudget(3 * OnePicture(), dropped);
    EXPECT_EQ(dropped.size(), 2U);
    EXPECT_EQ(cache.Bytes(), 3 * OnePicture());
    EXPECT_TRUE(cache.Has(9) && cache.Has(10) && cache.Has(11));
    cache.SetBudget(0, dropped);
    EXPECT_TRUE(cache.Has(10)) << "the wanted one stays";
    cache.Clear(dropped);
    EXPECT_EQ(cache.Count(), 0U);
    EXPECT_EQ(cache.Bytes(), 0U);
    EXPECT_EQ(dropped.size(), 5U);
}

TEST(PictureCache, KeepsTheWantedPictureWhateverTheBudget) {
    PictureCache cache(1);
    cache.SetFocus(3, 0, 5);
    std::vector<PicturePtr> dropped;
    EXPECT_TRUE(cache.Add(MakePicture(4), dropped));
    EXPECT_TRUE(cache.Add(MakePicture(3), dropped));
    EXPECT_FALSE(cache.Add(MakePicture(2), dropped));
    EXPECT_TRUE(cache.Has(3));
    EXPECT_EQ(cache.Count(), 1U);
}

TEST(PictureCache, CountsABufferThatPicturesShareOnce) {
    PictureCache cache(10 * OnePicture());
    std::vector<PicturePtr> dropped;
    const PicturePtr first = MakePicture(1);
    cache.Add(first, dropped);
    cache.Add(MakePicture(2, first->Frame()), dropped);
    EXPECT_EQ(cache.Count(), 2U);
    EXPECT_EQ(cache.Bytes(), OnePicture());
    EXPECT_FALSE(cache.Add(MakePicture(2), dropped));
}

class Pool : public testing::Test {
  protected:
    support::FrameHandle Take(PicturePool& pool, int width, int height) {
        support::FrameHandle frame(av_frame_alloc());
        frame->format = AV_PIX_FMT_YUV420P;
        frame->width = width;
        frame->height = height;
        EXPECT_TRUE(pool.Fill(context.get(), frame.get()));
        return frame;
    }

    support::CodecHandle context{avcodec_alloc_context3(avcodec_find_decoder(AV_CODEC_ID_H264))};
};

TEST_F(Pool, UsesABufferThatCameBackAgain) {
    PicturePool pool(1 << 20);
    const std::uint8_t* first = nullptr;
    for (int i = 0; i < 50; ++i) {
        const support::FrameHandle frame = Take(pool, 320, 180);
        if (!first) first = frame->data[0];
        EXPECT_EQ(frame->data[0], first);
        EXPECT_EQ(frame->linesize[0] % 64, 0);
        EXPECT_EQ(frame->linesize[1] % 64, 0);
    }
    EXPECT_EQ(pool.Made(), 1U);
}

TEST_F(Pool, KeepsBuffersOfSeveralSizesAndLetsGoOfTheOldestFirst) {
    const std::size_t small = Take(*std::make_unique<PicturePool>(0), 320, 180)->buf[0]->size;
    const std::size_t large = Take(*std::make_unique<PicturePool>(0), 640, 360)->buf[0]->size;
    PicturePool pool(small + large);
    Take(pool, 320, 180);
    Take(pool, 640, 360);
    EXPECT_EQ(pool.Bytes(), small + large);
    Take(pool, 320, 180);
    Take(pool, 640, 360);
    EXPECT_EQ(pool.Made(), 2U);
    Take(pool, 480, 270); // the ones that came back before it make room
    EXPECT_LT(pool.Bytes(), small + large);
    EXPECT_EQ(pool.Made(), 3U);
    Take(pool, 320, 180);
    EXPECT_EQ(pool.Made(), 4U);
}

TEST_F(Pool, KeepsNoMoreThanItsLimit) {
    PicturePool pool(200000);
    {
        const support::FrameHandle a = Take(pool, 320, 180);
        const support::FrameHandle b = Take(pool, 320, 180);
        const support::FrameHandle c = Take(pool, 320, 180);
        EXPECT_GT(pool.Bytes(), 200000U);
    }
    EXPECT_LE(pool.Bytes(), 200000U);
    EXPECT_GT(pool.Bytes(), 0U);
    pool.Trim();
    EXPECT_EQ(pool.Bytes(), 0U);
}

TEST_F(Pool, LeavesBuffersInUseAliveAtItsEnd) {
    support::FrameHandle frame;
    {
        PicturePool pool(1 << 20);
        frame = Take(pool, 320, 180);
    }
    frame->data[0][0] = 1;
    EXPECT_EQ(frame->data[0][0], 1);
}

} // namespace
} // namespace testing_ordune

// The index of every real recording against its list and against libavcodec.

#include "ordune/MediaFile.h"
#include "tests/ordune/LinearPass.h"
#include "tests/ordune/MediaFolder.h"
#include "tests/ordune/WholeIndex.h"

#include <gtest/gtest.h>

namespace ordune::test {

namespace {

using testing_ordune::AwaitIndex;

class RecordingIndex : public testing::TestWithParam<Recording> {
  protected:
    void SetUp() override {
        Result<std::shared_ptr<MediaFile>> file = MediaFile::Open(GetParam().path);
        ASSERT_TRUE(file) << file.Failure().text;
        m_file = file.Value();
        ASSERT_TRUE(AwaitIndex(*m_file));
    }
    std::shared_ptr<MediaFile> m_file;
};

} // namespace

TEST_P(RecordingIndex, HasTheListedNumberOfFrames) {
    EXPECT_EQ(m_file->Index().Total(), GetParam().frames);
    EXPECT_EQ(m_file->Index().Known(), GetParam().frames);
}

TEST_P(RecordingIndex, DescribesThePictureAsListed) {
    EXPECT_EQ(m_file->Video().codec, GetParam().codec);
    EXPECT_EQ(m_file->Video().width, GetParam().width);
    EXPECT_EQ(m_file->Video().height, GetParam().height);
    EXPECT_EQ(m_file->Video().rotation, (720 - GetParam().rotation) % 360);
}

TEST_P(RecordingIndex, OrdersFramesAsLibavcodecOutputsThem) {
    const std::vector<UnitNumber> units = UnitsInOrderOfOutput(*m_file);
    ASSERT_EQ(units.size(), m_file->Index().Total());
    for (FrameNumber frame = 0; frame < units.size(); ++frame) {
        ASSERT_EQ(m_file->Index().UnitOf(frame), units[frame]) << "frame " << frame;
        ASSERT_EQ(m_file->Index().FrameOf(units[frame]), frame);
    }
}

TEST_P(RecordingIndex, CoversAllFramesAndUnitsWithGroupsInOrder) {
    const FrameIndex& index = m_file->Index();
    FrameNumber frame = 0;
    UnitNumber unit = 0;
    while (frame < index.Total()) {
        const std::optional<Group> group = index.GroupOf(frame);
        ASSERT_TRUE(group);
        ASSERT_EQ(group->first_frame, frame);
        ASSERT_GT(group->frame_count, 0U);
        ASSERT_LE(group->leading_count, group->frame_count);
        ASSERT_GE(group->first_unit, unit);
        unit = group->first_unit + group->unit_count;
        for (FrameNumber inside = frame; inside < frame + group->frame_count; ++inside) {
            ASSERT_GE(index.UnitOf(inside), group->first_unit);
            ASSERT_LT(index.UnitOf(inside), unit);
            ASSERT_EQ(index.GroupOfUnit(index.UnitOf(inside))->first_unit, group->first_unit);
        }
        frame += group->frame_count;
    }
    EXPECT_EQ(frame, index.Total());
    EXPECT_FALSE(index.GroupOf(frame));
}

TEST_P(RecordingIndex, FindsEveryFrameByItsTime) {
    const FrameIndex& index = m_file->Index();
    EXPECT_EQ(index.TimeOf(0), MediaTime(0));
    for (FrameNumber frame = 0; frame < index.Total(); ++frame) {
        const FrameNumber found = index.FrameAt(index.TimeOf(frame));
        ASSERT_GE(found, frame);
        ASSERT_EQ(index.TimeOf(found), index.TimeOf(frame));
    }
    EXPECT_EQ(index.FrameAt(index.Duration() + MediaTime(1'000'000)), index.Total() - 1);
    EXPECT_GE(index.Duration(), index.TimeOf(index.Total() - 1));
}

INSTANTIATE_TEST_SUITE_P(Media, RecordingIndex, testing::ValuesIn(Recordings()),
                         [](const testing::TestParamInfo<Recording>& one) {
                             std::string name = one.param.name;
                             for (char& c : name) {
                                 if (!std::isalnum(static_cast<unsigned char>(c))) c = '_';
                             }
                             return name;
                         });
// Without the folder there is nothing to instantiate; the case below says so.
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(RecordingIndex);

TEST(Recordings, AreThere) {
    if (Recordings().empty()) GTEST_SKIP() << "no recordings in " << TALVIO_MEDIA_DIR;
    EXPECT_GE(Recordings().size(), 40U);
}

} // namespace ordune::test

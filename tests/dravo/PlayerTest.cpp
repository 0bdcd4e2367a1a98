// A player with windows that are slow, or that cannot be drawn into; and a port that is given back meanwhile.
#include "dravo/Player.h"
#include "dravo/PortTable.h"
#include "tests/support/ClipMaker.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/WaitUntil.h"

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <new>
#include <thread>

namespace {

using namespace std::chrono_literals;
using dravo::DrawOptions;
using dravo::OutputState;
using dravo::Player;
using ordune::FrameNumber;
using ordune::PicturePtr;

const std::string& Film() {
    static support::TemporaryFolder folder;
    static std::string path;
    if (path.empty()) {
        path = folder / "film.mp4";
        support::MakeClip(path, {.width = 160, .height = 96, .frames = 250, .keyInterval = 25});
    }
    return path;
}

// What is done with the pictures that are drawn.
using Drawn = std::function<void(FrameNumber frame, const DrawOptions& options)>;

class FakeOutput : public dravo::VideoOutput {
  public:
    explicit FakeOutput(Drawn drawn) : m_drawn(std::move(drawn)) {}
    OutputState Show(PicturePtr picture, const DrawOptions& options) override {
        m_drawn(picture->Number(), options);
        return OutputState::Working;
    }
    OutputState Redraw() override { return OutputState::Working; }
    int Descriptor() const override { return -1; }
    OutputState HandleEvents() override { return OutputState::Working; }

  private:
    const Drawn m_drawn;
};

std::shared_ptr<Player> OpenWith(const Drawn& drawn) {
    Player::Parts parts{.callbacks = std::make_shared<dravo::PortCallbacks>(1),
                        .make_output = [drawn](std::uint32_t) { return std::make_unique<FakeOutput>(drawn); },
                        .make_sound = [] { return nullptr; },
                        .reader = {.cache_bytes = 16 << 20, .threads = 1}};
    auto player = Player::Open(Film(), std::move(parts));
    if (!player) throw std::runtime_error(player.Failure().text);
    player.Value()->Begin();
    return std::move(player.Value());
}

TEST(Player, PlaysOnWhileItIsAskedToDrawAnewFasterThanItDraws) {
    std::atomic<FrameNumber> last{0};
    std::atomic<int> brightness{64};
    const std::shared_ptr<Player> player = OpenWith([&](FrameNumber frame, const DrawOptions& options) {
        last = frame;
        brightness = options.colour.brightness;
        std::this_thread::sleep_for(5ms);
    });
    ASSERT_TRUE(player->Play(1));
    std::atomic<bool> done{false};
    std::thread asking([&] {
        for (int value = 0; !done; ++value) {
            player->SetColour(0, {.brightness = value % 64});
            player->Refresh();
        }
    });
    EXPECT_TRUE(support::WaitUntil([&] { return last >= 25; }, 60s));
    EXPECT_TRUE(player->Pause(true));
    EXPECT_TRUE(player->Stop());
    done = true;
    asking.join();
    EXPECT_LT(brightness, 64) << "the colours came through";
    ASSERT_TRUE(player->SetColour(0, {.brightness = 100}));
    ASSERT_TRUE(player->Play(1));
    EXPECT_TRUE(support::WaitUntil([&] { return brightness == 100; }, 20s)) << "the last one stays";
}

TEST(Player, APictureThatCouldNotBeDrawnIsTheCurrentOneAndDrawnAgain) {
    constexpr FrameNumber kFails = 31;
    std::atomic<int> failures{0};
    std::atomic<int> drawn{0};
    const std::shared_ptr<Player> player = OpenWith([&](FrameNumber frame, const DrawOptions&) {
        if (frame != kFails) return;
        if (failures < 3) {
            ++failures;
            throw std::bad_alloc();
        }
        ++drawn;
    });
    ASSERT_TRUE(player->Play(1));
    ASSERT_TRUE(player->Pause(true));
    ASSERT_TRUE(player->SeekToFrame(kFails - 1));
    EXPECT_TRUE(player->Step(ordune::Direction::Forward));
    EXPECT_EQ(player->CurrentFrame(), kFails);
    EXPECT_TRUE(support::WaitUntil([&] { return drawn > 0; }, 20s));
    EXPECT_EQ(failures, 3);
}

TEST(Port, ThatWasGivenBackWhileItsFileWasBeingOpenedStaysClosed) {
    dravo::PortTable table;
    const int number = table.Take();
    // Whoever opens it has found it before it is given back.
    const std::shared_ptr<dravo::Port> port = table.Find(number);
    ASSERT_TRUE(port);
    ASSERT_TRUE(table.Free(number));
    EXPECT_FALSE(port->Open(Film()));
    EXPECT_EQ(port->OpenPlayer(), nullptr);
}

} // namespace

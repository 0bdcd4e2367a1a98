// What it costs to draw a picture into a window of 1280 x 720, beside libswscale's own way to the same
// pixels. The display is that of DISPLAY; without one only the scaling is measured.
#include "dravo/ColourAdjust.h"
#include "dravo/VideoOutput.h"
#include "ordune/PictureScaler.h"
#include "tests/support/Pictures.h"

#include <benchmark/benchmark.h>

#include <xcb/xcb.h>

extern "C" {
#include <libswscale/swscale.h>
}

#include <memory>
#include <new>
#include <poll.h>
#include <vector>

namespace {

constexpr int kWidth = 1280;
constexpr int kHeight = 720;
constexpr int kStride = kWidth * 4;
constexpr std::align_val_t kAlignment{64};

using ordune::ScaleQuality;

// Pixels in memory aligned like that of an output.
class Screen {
  public:
    Screen()
        : m_pixels(static_cast<std::uint8_t*>(::operator new (std::size_t{kStride} * kHeight, kAlignment))) {}
    ~Screen() { ::operator delete(m_pixels, kAlignment); }
    Screen(const Screen&) = delete;
    Screen& operator=(const Screen&) = delete;
    std::uint8_t* Pixels() { return m_pixels; }

  private:
    std::uint8_t* m_pixels;
};

ordune::PicturePtr MakeSource(int height, int rotation = 0) {
    const auto colour = [](int x, int y) {
        return support::Yuv{(x * 3 + y * 7) % 200 + 20, x / 2 % 256, y / 2 % 256};
    };
    return support::MakePicture(height * 16 / 9, height, colour, {.rotation = rotation});
}

void BareSwscale(benchmark::State& state, int flags) {
    const ordune::PicturePtr picture = MakeSource(static_cast<int>(state.range(0)));
    const AVFrame& frame = *picture->Frame();
    Screen screen;
    std::uint8_t* planes[4] = {screen.Pixels(), nullptr, nullptr, nullptr};
    const int strides[4] = {kStride, 0, 0, 0};
    SwsContext* context = sws_getContext(frame.width, frame.height, AV_PIX_FMT_YUV420P, kWidth, kHeight,
                                         AV_PIX_FMT_BGRA, flags, nullptr, nullptr, nullptr);
    for (auto _ : state)
        sws_scale(context, frame.data, frame.linesize, 0, frame.height, planes, strides);
    sws_freeContext(context);
}

void Scale(benchmark::State& state, ScaleQuality quality, int rotation) {
    const ordune::PicturePtr picture = MakeSource(static_cast<int>(state.range(0)), rotation);
    Screen screen;
    ordune::PictureScaler scaler;
    for (auto _ : state) {
        if (!scaler.Scale(*picture, {}, quality, screen.Pixels(), kWidth, kHeight, kStride))
            state.SkipWithError("not scaled");
    }
}

void AdjustColour(benchmark::State& state) {
    Screen screen;
    std::fill_n(screen.Pixels(), std::size_t{kStride} * kHeight, std::uint8_t{90});
    dravo::ColourAdjust adjust;
    adjust.Set({70, 60, 80, 50});
    for (auto _ : state)
        adjust.Apply(screen.Pixels(), kWidth, kHeight, kStride);
}

struct Disconnect {
    void operator()(xcb_connection_t* connection) const { xcb_disconnect(connection); }
};

// The time of one Show; between two of them the server gets the time to take the picture.
void Show(benchmark::State& state, const dravo::DrawOptions& options) {
    const std::unique_ptr<xcb_connection_t, Disconnect> connection(xcb_connect(nullptr, nullptr));
    if (xcb_connection_has_error(connection.get()) != 0) {
        state.SkipWithError("no display");
        return;
    }
    const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(connection.get())).data->root;
    const xcb_window_t window = xcb_generate_id(connection.get());
    xcb_create_window(connection.get(), XCB_COPY_FROM_PARENT, window, root, 0, 0, kWidth, kHeight, 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT, 0, nullptr);
    xcb_map_window(connection.get(), window);
    std::free(xcb_get_input_focus_reply(connection.get(), xcb_get_input_focus(connection.get()), nullptr));
    const ordune::PicturePtr picture = MakeSource(static_cast<int>(state.range(0)));
    const auto output = dravo::MakeXVideoOutput(window);
    for (auto _ : state) {
        output->Show(picture, options);
        state.PauseTiming();
        pollfd descriptor{output->Descriptor(), POLLIN, 0};
        while (poll(&descriptor, 1, 10) > 0)
            output->HandleEvents();
        state.ResumeTiming();
    }
}

BENCHMARK_CAPTURE(BareSwscale, bicubic, SWS_BICUBIC)
    ->Arg(1080)
    ->Arg(2160)
    ->Arg(720)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BareSwscale, bilinear, SWS_BILINEAR)->Arg(1080)->Arg(2160)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BareSwscale, fast_bilinear, SWS_FAST_BILINEAR)->Arg(1080)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Scale, high, ScaleQuality::High, 0)
    ->Arg(1080)
    ->Arg(2160)
    ->Arg(720)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Scale, fast, ScaleQuality::Fast, 0)->Arg(1080)->Arg(2160)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Scale, half, ScaleQuality::Half, 0)->Arg(1080)->Arg(2160)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Scale, high_turned, ScaleQuality::High, 90)->Arg(1080)->Unit(benchmark::kMillisecond);
BENCHMARK(AdjustColour)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Show, high, dravo::DrawOptions{})
    ->Arg(1080)
    ->Arg(720)
    ->Unit(benchmark::kMillisecond)
    ->Iterations(60);
BENCHMARK_CAPTURE(Show, fast, dravo::DrawOptions{.quality = ScaleQuality::Fast, .colour = {}, .area = {}})
    ->Arg(1080)
    ->Unit(benchmark::kMillisecond)
    ->Iterations(60);
BENCHMARK_CAPTURE(Show, half, dravo::DrawOptions{.quality = ScaleQuality::Half, .colour = {}, .area = {}})
    ->Arg(1080)
    ->Unit(benchmark::kMillisecond)
    ->Iterations(60);

} // namespace

#include "dravo/ColourAdjust.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <numbers>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace dravo {

namespace {

constexpr int kPixelBytes = 4;
constexpr double kMiddleGrey = 127.5;
// Brightness of red, green and blue after ITU-R BT.709.
constexpr double kRed = 0.2126;
constexpr double kBlue = 0.0722;
constexpr double kGreen = 1.0 - kRed - kBlue;

using Pixel = std::array<double, 3>; // B, G, R

Colour Bounded(const Colour& colour) {
    const auto bounded = [](int value) { return std::clamp(value, 0, ColourAdjust::kLargest); };
    return {bounded(colour.brightness), bounded(colour.contrast), bounded(colour.saturation),
            bounded(colour.hue)};
}

double OfNeutral(int value) {
    return static_cast<double>(value) / ColourAdjust::kNeutral;
}

// Y + s * turn(p - Y, h) for one pixel.
Pixel WithChroma(const Pixel& pixel, double saturation, double degrees) {
    const double brightness = kBlue * pixel[0] + kGreen * pixel[1] + kRed * pixel[2];
    const double cb = (pixel[0] - brightness) / (2.0 * (1.0 - kBlue));
    const double cr = (pixel[2] - brightness) / (2.0 * (1.0 - kRed));
    const double angle = degrees * std::numbers::pi / 180.0;
    const double turned_cb = saturation * (cb * std::cos(angle) - cr * std::sin(angle));
    const double turned_cr = saturation * (cb * std::sin(angle) + cr * std::cos(angle));
    const double blue = brightness + turned_cb * 2.0 * (1.0 - kBlue);
    const double red = brightness + turned_cr * 2.0 * (1.0 - kRed);
    const double green = (brightness - kBlue * blue - kRed * red) / kGreen;
    return {blue, green, red};
}

} // namespace

void ColourAdjust::Set(const Colour& colour, int brightness_offset) {
    const Colour bounded = Bounded(colour);
    if (bounded == m_colour && brightness_offset == m_brightness_offset) return;
    m_colour = bounded;
    m_brightness_offset = std::clamp(brightness_offset, -255, 255);
    constexpr double one = 1 << kFractionBits;
    const double contrast = OfNeutral(m_colour.contrast);
    const double saturation = OfNeutral(m_colour.saturation);
    const double degrees = (OfNeutral(m_colour.hue) - 1.0) * 180.0;
    const double added =
        (1.0 - contrast) * kMiddleGrey + 2.0 * (m_colour.brightness - kNeutral) + m_brightness_offset;

    // The matrix's columns are what becomes of pure blue, green and red.
    const std::array<Pixel, 3> columns{WithChroma({1, 0, 0}, saturation, degrees),
                                       WithChroma({0, 1, 0}, saturation, degrees),
                                       WithChroma({0, 0, 1}, saturation, degrees)};
    for (std::size_t to = 0; to < m_rows.size(); ++to) {
        Row& row = m_rows[to];
        for (std::size_t from = 0; from < columns.size(); ++from)
            row.factors[from] = static_cast<std::int16_t>(std::lround(contrast * columns[from][to] * one));
        // All rows have the same sum, also after rounding: that is what keeps grey grey. Green takes the
        // difference.
        const long sum = std::lround(contrast * one);
        row.factors[1] = static_cast<std::int16_t>(sum - row.factors[0] - row.factors[2]);
        row.offset = static_cast<std::int32_t>(std::lround((added + 0.5) * one));
    }
}

void ColourAdjust::Apply(std::uint8_t* pixels, int width, int height, int stride) const {
    if (IsNeutral()) return;
    for (int y = 0; y < height; ++y)
        ApplyToRow(pixels + static_cast<std::ptrdiff_t>(y) * stride, width);
}

void ColourAdjust::ApplyToRow(std::uint8_t* pixels, int width) const {
    for (int x = ApplyInVectors(pixels, width); x < width; ++x) {
        std::uint8_t* pixel = pixels + static_cast<std::ptrdiff_t>(x) * kPixelBytes;
        const std::array<int, 3> from{pixel[0], pixel[1], pixel[2]};
        for (std::size_t to = 0; to < m_rows.size(); ++to) {
            const Row& row = m_rows[to];
            const int sum =
                row.factors[0] * from[0] + row.factors[1] * from[1] + row.factors[2] * from[2] + row.offset;
            pixel[to] = static_cast<std::uint8_t>(std::clamp(sum >> kFractionBits, 0, 255));
        }
    }
}

#ifdef __SSE2__

int ColourAdjust::ApplyInVectors(std::uint8_t* pixels, int width) const {
    constexpr int kStep = 4;
    const __m128i zero = _mm_setzero_si128();
    const __m128i alpha = _mm_set1_epi32(static_cast<int>(0xFF000000U));
    __m128i factors[3];
    __m128i offsets[3];
    for (std::size_t to = 0; to < m_rows.size(); ++to) {
        const auto& f = m_rows[to].factors;
        factors[to] = _mm_set_epi16(0, f[2], f[1], f[0], 0, f[2], f[1], f[0]);
        offsets[to] = _mm_set1_epi32(m_rows[to].offset);
    }
    // One channel of four pixels in 32 bits each: B and G, R and nothing are summed in pairs, then the two
    // sums.
    const auto channel = [&](std::size_t to, __m128i low, __m128i high) {
        const __m128 first = _mm_castsi128_ps(_mm_madd_epi16(low, factors[to]));
        const __m128 second = _mm_castsi128_ps(_mm_madd_epi16(high, factors[to]));
        const __m128i blue_green = _mm_castps_si128(_mm_shuffle_ps(first, second, _MM_SHUFFLE(2, 0, 2, 0)));
        const __m128i red = _mm_castps_si128(_mm_shuffle_ps(first, second, _MM_SHUFFLE(3, 1, 3, 1)));
        const __m128i sum = _mm_add_epi32(_mm_add_epi32(blue_green, red), offsets[to]);
        return _mm_srai_epi32(sum, kFractionBits);
    };
    int x = 0;
    for (; x + kStep <= width; x += kStep) {
        void* place = pixels + static_cast<std::ptrdiff_t>(x) * kPixelBytes;
        const __m128i four = _mm_loadu_si128(static_cast<const __m128i*>(place));
        const __m128i low = _mm_unpacklo_epi8(four, zero);
        const __m128i high = _mm_unpackhi_epi8(four, zero);
        // Packing bounds to 16 bits with sign, then to 8 without: from four words a channel to bytes.
        const __m128i blue_red = _mm_packs_epi32(channel(0, low, high), channel(2, low, high));
        const __m128i green = _mm_packs_epi32(channel(1, low, high), zero);
        const __m128i bytes = _mm_packus_epi16(blue_red, green); // B x 4, R x 4, G x 4, 0 x 4
        const __m128i blue_green = _mm_unpacklo_epi8(bytes, _mm_srli_si128(bytes, 8));
        const __m128i red = _mm_unpacklo_epi8(_mm_srli_si128(bytes, 4), zero);
        const __m128i result = _mm_unpacklo_epi16(blue_green, red);
        _mm_storeu_si128(static_cast<__m128i*>(place),
                         _mm_or_si128(_mm_andnot_si128(alpha, result), _mm_and_si128(alpha, four)));
    }
    return x;
}

#else

int ColourAdjust::ApplyInVectors(std::uint8_t*, int) const {
    return 0;
}

#endif

} // namespace dravo

#include "ordune/StillKernels.h"

extern "C" {
#include <libavutil/pixfmt.h>
}

#include <algorithm>
#include <array>
#include <cmath>

namespace ordune::still {

namespace {

constexpr double kGainOne = 16384.0; // what a gain of 1 is in Coefficients
constexpr int kFractionBits = 5;     // of the products
constexpr int kOne = 1 << kFractionBits;

using Matrix = std::array<std::array<double, 3>, 3>;

// From brightness and colour differences (0 to 1, -0.5 to 0.5) to red, green, blue.
Matrix ToRgb(const PictureColour& colour) {
    if (colour.space == AVCOL_SPC_YCGCO) return {{{1, -1, 1}, {1, 1, 0}, {1, -1, -1}}};
    const double red = colour.weights.red;
    const double blue = colour.weights.blue;
    const double green = 1 - red - blue;
    const double from_blue = 2 * (1 - blue);
    const double from_red = 2 * (1 - red);
    return {{{1, 0, from_red}, {1, -blue / green * from_blue, -red / green * from_red}, {1, from_blue, 0}}};
}

Matrix FromRgb(const LumaWeights& weights) {
    const double green = 1 - weights.red - weights.blue;
    const double blue_scale = 0.5 / (1 - weights.blue);
    const double red_scale = 0.5 / (1 - weights.red);
    return {{{weights.red, green, weights.blue},
             {-weights.red * blue_scale, -green * blue_scale, 0.5},
             {0.5, -green * red_scale, -weights.blue * red_scale}}};
}

Matrix Product(const Matrix& a, const Matrix& b) {
    Matrix out{};
    for (std::size_t i = 0; i < 3; ++i) {
        for (std::size_t j = 0; j < 3; ++j) {
            for (std::size_t k = 0; k < 3; ++k)
                out[i][j] += a[i][k] * b[k][j];
        }
    }
    return out;
}

std::int16_t Gain(double value) {
    return static_cast<std::int16_t>(std::lround(value * kGainOne));
}

// All in 16 bits, so that eight samples go through one instruction.
inline std::int16_t Multiply(std::int16_t sample, std::int16_t gain) {
    return static_cast<std::int16_t>((sample * gain) >> 16);
}

inline std::int16_t Sum(std::int16_t a, std::int16_t b) {
    return static_cast<std::int16_t>(a + b);
}

inline std::uint8_t Clamped(std::int16_t value) {
    const auto whole = static_cast<std::int16_t>(value >> kFractionBits);
    constexpr std::int16_t kLowest = 0;
    constexpr std::int16_t kHighest = 255;
    return static_cast<std::uint8_t>(std::min(kHighest, std::max(kLowest, whole)));
}

} // namespace

Coefficients MakeCoefficients(const PictureColour& colour, int depth) {
    // In 8-bit code values: where the range begins and how wide it is. Of n bits, full range ends at 2^n - 1,
    // which is a little more than 255 once shifted down.
    const double full = (std::ldexp(1.0, depth) - 1) / std::ldexp(1.0, depth - 8);
    const double luma_scale = 255.0 / (colour.full_range ? full : 219.0);
    const double chroma_scale = 255.0 / (colour.full_range ? full : 224.0);
    const double black = colour.full_range ? 0.0 : 16.0;
    const Matrix change = Product(FromRgb(kBt601), ToRgb(colour));

    Coefficients k;
    k.luma_gain = Gain(luma_scale);
    k.luma_offset = static_cast<std::int16_t>(std::lround(kOne * (0.5 - black * luma_scale)));
    k.luma_from_blue = Gain(change[0][1] * chroma_scale);
    k.luma_from_red = Gain(change[0][2] * chroma_scale);
    for (std::size_t i = 0; i < 2; ++i) {
        for (std::size_t j = 0; j < 2; ++j)
            k.chroma[i][j] = Gain(change[i + 1][j + 1] * chroma_scale);
    }
    return k;
}

void Load8(const std::uint8_t* in, std::int16_t* out, int count) {
    for (int i = 0; i < count; ++i)
        out[i] = static_cast<std::int16_t>(in[i] << 7);
}

void Load16(const std::uint8_t* in, std::int16_t* out, int count, int shift) {
    // Decoders align their rows, so that 16-bit samples may be read as such.
    const auto* samples = static_cast<const std::uint16_t*>(static_cast<const void*>(in));
    if (shift < 0) {
        for (int i = 0; i < count; ++i)
            out[i] = static_cast<std::int16_t>(samples[i] >> -shift);
        return;
    }
    for (int i = 0; i < count; ++i)
        out[i] = static_cast<std::int16_t>((samples[i] << shift) & 0x7fff);
}

void Centre(std::int16_t* row, int count) {
    for (int i = 0; i < count; ++i)
        row[i] = static_cast<std::int16_t>(row[i] - (128 << 7));
}

void Luma(const std::int16_t* in, std::uint8_t* out, int count, const Coefficients& k) {
    const std::int16_t gain = k.luma_gain;
    const std::int16_t offset = k.luma_offset;
    for (int i = 0; i < count; ++i)
        out[i] = Clamped(Sum(Multiply(in[i], gain), offset));
}

void LumaWithTerm(const std::int16_t* in, const std::int16_t* term, std::uint8_t* out, int count,
                  const Coefficients& k) {
    const std::int16_t gain = k.luma_gain;
    for (int i = 0; i < count; ++i)
        out[i] = Clamped(Sum(Multiply(in[i], gain), term[i]));
}

void LumaTerm(const std::int16_t* blue, const std::int16_t* red, std::int16_t* term, int count,
              const Coefficients& k) {
    const std::int16_t from_blue = k.luma_from_blue;
    const std::int16_t from_red = k.luma_from_red;
    const std::int16_t offset = k.luma_offset;
    for (int i = 0; i < count; ++i)
        term[i] = Sum(Sum(Multiply(blue[i], from_blue), Multiply(red[i], from_red)), offset);
}

void Chroma(const std::int16_t* blue, const std::int16_t* red, std::uint8_t* out, int count, int which,
            const Coefficients& k) {
    const std::int16_t from_blue = k.chroma[which][0];
    const std::int16_t from_red = k.chroma[which][1];
    constexpr std::int16_t kMiddle = 128 * kOne + kOne / 2;
    for (int i = 0; i < count; ++i)
        out[i] = Clamped(Sum(Sum(Multiply(blue[i], from_blue), Multiply(red[i], from_red)), kMiddle));
}

void Double(const std::int16_t* in, std::int16_t* out, int count) {
    const int pairs = count / 2;
    for (int i = 0; i < pairs; ++i) {
        out[2 * i] = in[i];
        out[2 * i + 1] = in[i];
    }
    if (count % 2) out[count - 1] = in[pairs];
}

void HalveRows(const std::uint8_t* upper, const std::uint8_t* lower, std::uint8_t* out, int count) {
    for (int i = 0; i < count; ++i) {
        out[i] = static_cast<std::uint8_t>(
            (upper[2 * i] + upper[2 * i + 1] + lower[2 * i] + lower[2 * i + 1] + 2) >> 2);
    }
}

} // namespace ordune::still

// The inner loops of stills: rows of samples, written so that the compiler vectorises them.
//
// In work, samples are 16-bit integers in 1/128 of an 8-bit code value, whatever the depth they came with: 8
// bits are shifted up by 7, 10 bits by 5. Multiplied by a gain in 1/16384 and shifted down by 16 they are in
// 1/32 of a code value, which leaves room for sums in 16 bits and errs by less than a tenth of a code value.
#pragma once

#include "ordune/PictureColour.h"

#include <cstdint>

namespace ordune::still {

// Coefficients of the way from a source's numbers to full-range BT.601, ready for the kernels.
struct Coefficients {
    std::int16_t luma_gain = 0;
    std::int16_t luma_offset = 0; // added to the products, in 1/32, rounding included
    // What colour differences add to brightness; zero where the matrix stays the same.
    std::int16_t luma_from_blue = 0;
    std::int16_t luma_from_red = 0;
    // Rows: new blue, new red difference; columns: from old blue, from old red.
    std::int16_t chroma[2][2] = {};

    bool SameMatrix() const {
        return luma_from_blue == 0 && luma_from_red == 0 && chroma[0][1] == 0 && chroma[1][0] == 0;
    }
};

// For samples of `depth` bits.
Coefficients MakeCoefficients(const PictureColour& colour, int depth);

// Loads a row in work form. `shift` is 15 less the depth; negative for 16 bits.
void Load8(const std::uint8_t* in, std::int16_t* out, int count);
void Load16(const std::uint8_t* in, std::int16_t* out, int count, int shift);

// Takes the middle (no colour) off colour differences.
void Centre(std::int16_t* row, int count);
// Brightness where the colour adds nothing to it.
void Luma(const std::int16_t* in, std::uint8_t* out, int count, const Coefficients& k);
// Brightness with a term a pixel, made by LumaTerm.
void LumaWithTerm(const std::int16_t* in, const std::int16_t* term, std::uint8_t* out, int count,
                  const Coefficients& k);
void LumaTerm(const std::int16_t* blue, const std::int16_t* red, std::int16_t* term, int count,
              const Coefficients& k);
// One of the new colour differences (0: blue, 1: red) from both old ones, centred.
void Chroma(const std::int16_t* blue, const std::int16_t* red, std::uint8_t* out, int count, int which,
            const Coefficients& k);
// Writes each value twice: `count` values come out.
void Double(const std::int16_t* in, std::int16_t* out, int count);
// Two rows of `2 * count` to one of `count`, by the mean of four.
void HalveRows(const std::uint8_t* upper, const std::uint8_t* lower, std::uint8_t* out, int count);

} // namespace ordune::still

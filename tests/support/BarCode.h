/*
 * Frame numbers as a bar code in the picture itself.
 *
 * The code is 24 blocks of equal width over the full width of the picture's top rows (48 of 1080, but at
 * least 8). Blocks 0 to 19 are the number's bits, the lowest at the left, 1 being white. Blocks 20 to 23
 * guard them: block 20 + j is the inverted parity of bits j, j + 4, j + 8, j + 12 and j + 16, so that neither
 * an all-black nor an all-white stripe is a code. Every reader gives -1 for what is no code, among it blocks
 * that are neither black nor white.
 */
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace support {

inline constexpr int kLargestBarCode = (1 << 20) - 1;

// Rows of the picture that the code takes.
int BarCodeRows(int height);

// Draws into an 8-bit luma plane in limited range (16 black, 235 white). `stride` in bytes.
void DrawBarCode(std::uint8_t* luma, std::ptrdiff_t stride, int width, int height, int number);

// Reads from a luma plane. `bitsPerSample` above 8 means two bytes a sample, little endian. `stride` in
// bytes.
int ReadBarCodeFromLuma(const std::uint8_t* luma, std::ptrdiff_t stride, int width, int height,
                        int bitsPerSample = 8);

// Reads from pixels of four bytes each (blue, green, red, unused), as an X server gives them. `stride` in
// bytes.
int ReadBarCodeFromBgra(const std::uint8_t* pixels, std::ptrdiff_t stride, int width, int height);

// Reads from a still picture (BMP, JPEG, PNG) in memory or in a file. A file that cannot be read gives -1.
int ReadBarCodeFromStill(const std::vector<std::uint8_t>& bytes);
int ReadBarCodeFromStillFile(const std::string& path);

} // namespace support

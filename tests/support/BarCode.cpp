#include "tests/support/BarCode.h"

#include "tests/support/AvHandles.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <fstream>
#include <iterator>

namespace support {

namespace {

constexpr int kBlocks = 24;
constexpr int kNumberBlocks = 20;
constexpr int kWhite = 160; // a block's level, out of 255, from which it is white
constexpr int kBlack = 95;  // and to which it is black: compression and scaling blur, but not that far

int Guard(int number) {
    const int parity = (number ^ (number >> 4) ^ (number >> 8) ^ (number >> 12) ^ (number >> 16)) & 15;
    return ~parity & 15;
}

// `level(x, y)` gives the brightness of a pixel from 0 to 255.
template <typename Level>
int ReadBlocks(int width, int height, Level&& level) {
    if (width < kBlocks || height < 2) return -1;
    const int y = std::min(BarCodeRows(height), height) / 2;
    int bits = 0;
    for (int block = 0; block < kBlocks; ++block) {
        const int brightness = level((2 * block + 1) * width / (2 * kBlocks), y);
        if (brightness >= kWhite) {
            bits |= 1 << block;
        } else if (brightness > kBlack) {
            return -1;
        }
    }
    const int number = bits & kLargestBarCode;
    return Guard(number) == bits >> kNumberBlocks ? number : -1;
}

// The decoder for the still format that the first bytes tell.
const AVCodec* StillDecoder(const std::vector<std::uint8_t>& bytes) {
    if (bytes.size() < 8) return nullptr;
    if (bytes[0] == 'B' && bytes[1] == 'M') return avcodec_find_decoder(AV_CODEC_ID_BMP);
    if (bytes[0] == 0xff && bytes[1] == 0xd8) return avcodec_find_decoder(AV_CODEC_ID_MJPEG);
    if (bytes[0] == 0x89 && bytes[1] == 'P') return avcodec_find_decoder(AV_CODEC_ID_PNG);
    return nullptr;
}

int ReadFromFrame(const AVFrame& frame) {
    const SwsHandle scaler(sws_getContext(frame.width, frame.height, static_cast<AVPixelFormat>(frame.format),
                                          frame.width, frame.height, AV_PIX_FMT_BGRA, SWS_POINT, nullptr,
                                          nullptr, nullptr));
    if (!scaler) return -1;
    const int stride = frame.width * 4;
    std::vector<std::uint8_t> pixels(
        static_cast<std::size_t>(stride) * static_cast<std::size_t>(frame.height) + 64);
    std::uint8_t* const planes[4] = {pixels.data(), nullptr, nullptr, nullptr};
    const int strides[4] = {stride, 0, 0, 0};
    sws_scale(scaler.get(), frame.data, frame.linesize, 0, frame.height, planes, strides);
    return ReadBarCodeFromBgra(pixels.data(), stride, frame.width, frame.height);
}

} // namespace

int BarCodeRows(int height) {
    return std::max(8, height * 48 / 1080);
}

void DrawBarCode(std::uint8_t* luma, std::ptrdiff_t stride, int width, int height, int number) {
    const int bits = (number & kLargestBarCode) | (Guard(number & kLargestBarCode) << kNumberBlocks);
    const int rows = std::min(BarCodeRows(height), height);
    for (int block = 0; block < kBlocks; ++block) {
        const int from = block * width / kBlocks;
        const int to = (block + 1) * width / kBlocks;
        const int level = ((bits >> block) & 1) != 0 ? 235 : 16;
        for (int y = 0; y < rows; ++y)
            std::memset(luma + y * stride + from, level, static_cast<std::size_t>(to - from));
    }
}

int ReadBarCodeFromLuma(const std::uint8_t* luma, std::ptrdiff_t stride, int width, int height,
                        int bitsPerSample) {
    return ReadBlocks(width, height, [=](int x, int y) {
        const std::uint8_t* row = luma + y * stride;
        if (bitsPerSample <= 8) return static_cast<int>(row[x]);
        return (row[2 * x] | (row[2 * x + 1] << 8)) >> (bitsPerSample - 8);
    });
}

int ReadBarCodeFromBgra(const std::uint8_t* pixels, std::ptrdiff_t stride, int width, int height) {
    return ReadBlocks(width, height, [=](int x, int y) {
        const std::uint8_t* pixel = pixels + y * stride + static_cast<std::ptrdiff_t>(x) * 4;
        return (pixel[0] + 2 * pixel[1] + pixel[2]) / 4;
    });
}

int ReadBarCodeFromStill(const std::vector<std::uint8_t>& bytes) {
    const AVCodec* codec = StillDecoder(bytes);
    if (codec == nullptr) return -1;
    const CodecHandle decoder(avcodec_alloc_context3(codec));
    const PacketHandle packet(av_packet_alloc());
    const FrameHandle frame(av_frame_alloc());
    if (!decoder || !packet || !frame || avcodec_open2(decoder.get(), codec, nullptr) < 0) return -1;
    if (av_new_packet(packet.get(), static_cast<int>(bytes.size())) < 0) return -1;
    std::memcpy(packet->data, bytes.data(), bytes.size());
    if (avcodec_send_packet(decoder.get(), packet.get()) < 0) return -1;
    avcodec_send_packet(decoder.get(), nullptr);
    if (avcodec_receive_frame(decoder.get(), frame.get()) < 0) return -1;
    return ReadFromFrame(*frame);
}

int ReadBarCodeFromStillFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    const std::vector<std::uint8_t> bytes{std::istreambuf_iterator<char>(file),
                                          std::istreambuf_iterator<char>()};
    return ReadBarCodeFromStill(bytes);
}

} // namespace support

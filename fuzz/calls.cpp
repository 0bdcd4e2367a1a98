// Calls of the playback library in any order on any file. The first byte says how many calls, two bytes each
// say which with what, and the rest is the file.
#include "dravo/include/Dravo.h"
#include "fuzz/FuzzInput.h"

#include <array>
#include <functional>
#include <vector>

namespace {

constexpr unsigned kMostCalls = 48;
constexpr std::size_t kStillBytes = 8 << 20; // a larger still is refused, which is an answer too
constexpr unsigned long kNone = ~0UL;

void Still(int port, bool jpeg) {
    static std::vector<unsigned char> buffer(kStillBytes);
    unsigned long written = 0;
    const int done = jpeg ? Dravo_GetJPEG(port, buffer.data(), buffer.size(), &written)
                          : Dravo_GetBMP(port, buffer.data(), buffer.size(), &written);
    fuzz::Require(!done || (written > 0 && written <= buffer.size()), "a still fits its buffer");
}

void Query(int port) {
    const unsigned long total = Dravo_GetFileTotalFrames(port);
    const unsigned long current = Dravo_GetCurrentFrameNum(port);
    fuzz::Require(current == kNone || current < total || total == 0, "the current frame is in the file");
    const float position = Dravo_GetPlayPos(port);
    fuzz::Require(position >= 0.0F && position <= 1.0F, "a position is a fraction");
    (void)Dravo_GetPlayedTime(port);
    (void)Dravo_GetFileTime(port);
    (void)Dravo_GetCurrentFrameRate(port);
    long width = 0;
    long height = 0;
    fuzz::Require(!Dravo_GetPictureSize(port, &width, &height) || (width > 0 && height > 0),
                  "a picture has a size");
}

void Keys(int port, unsigned long value, unsigned long type) {
    DravoFramePos key{};
    if (Dravo_GetKeyFramePos(port, value, type, &key))
        fuzz::Require(key.frame < Dravo_GetFileTotalFrames(port), "a key frame is in the file");
    if (Dravo_GetNextKeyFramePos(port, value, type, &key) && type == 1)
        fuzz::Require(key.frame > value, "the next key frame comes after");
}

void Options(int port, std::uint8_t argument) {
    (void)Dravo_SetDeflash(port, argument & 1);
    (void)Dravo_SetPicQuality(port, argument & 2);
    (void)Dravo_SetDisplayType(port, argument & 3);
    (void)Dravo_SetTimerType(port, (argument >> 2) & 3, 0);
    (void)Dravo_ThrowBFrameNum(port, argument >> 6);
    (void)Dravo_SetColor(port, argument & 1, argument, 64, 64, 128);
    (void)Dravo_RefreshPlayEx(port, argument & 3);
}

// No window and often no device: what is asked for is kept, or refused.
void Sound(int port, std::uint8_t argument) {
    if (argument & 1) {
        (void)Dravo_PlaySound(port);
    } else {
        (void)Dravo_StopSound();
    }
    (void)Dravo_SetVolume(port, static_cast<unsigned short>(argument * 0x101));
}

// A rectangle that may be empty, inside out or beyond the picture.
void Region(int port, std::uint8_t argument) {
    const std::int32_t at = (argument >> 4) * 16 - 64;
    const DravoRect rect{at, at / 2, 96 - at, 64 - at};
    (void)Dravo_SetDisplayRegion(port, argument & 3, &rect, 0, argument & 4);
    (void)Dravo_RefreshPlay(port);
}

// `share` of `whole`, 255 being a little more than all of it.
unsigned long Share(unsigned long whole, std::uint8_t share) {
    return static_cast<unsigned long>(static_cast<double>(whole) * share / 254.0);
}

void Call(int port, std::uint8_t call, std::uint8_t argument) {
    const unsigned long frame = Share(Dravo_GetFileTotalFrames(port), argument);
    const unsigned long milliseconds = Share(Dravo_GetFileTime(port) * 1000 + 1000, argument);
    const std::array<std::function<void()>, 18> calls = {
        [&] { Dravo_Play(port, 0); },
        [&] { Dravo_Pause(port, argument & 1); },
        [&] { Dravo_Stop(port); },
        [&] { Dravo_Fast(port); },
        [&] { Dravo_Slow(port); },
        [&] { Dravo_OneByOne(port); },
        [&] { Dravo_OneByOneBack(port); },
        [&] { Dravo_SetCurrentFrameNum(port, frame); },
        [&] { Dravo_SetPlayPos(port, static_cast<float>(argument) / 250.0F); },
        [&] { Dravo_SetPlayedTimeEx(port, milliseconds); },
        [&] { Keys(port, frame, 1); },
        [&] { Keys(port, milliseconds, 2); },
        [&] { Still(port, false); },
        [&] { Still(port, true); },
        [&] { Options(port, argument); },
        [&] { Query(port); },
        [&] { Sound(port, argument); },
        [&] { Region(port, argument); },
    };
    calls[call % calls.size()]();
}

void OnDisplay(int, char* buffer, int size, int width, int height, int, int, int) {
    fuzz::Require(size >= width * height, "a displayed picture is whole");
    volatile char last = buffer[size - 1];
    (void)last;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::InputBytes input({data, size});
    const unsigned count = input.Next() % kMostCalls;
    std::vector<std::pair<std::uint8_t, std::uint8_t>> calls;
    for (unsigned i = 0; i < count; ++i) {
        const std::uint8_t call = input.Next();
        calls.emplace_back(call, input.Next());
    }
    const fuzz::MemoryFile memory(input.Rest());
    int port = 0;
    fuzz::Require(Dravo_GetPort(&port) != 0, "there is a free port");
    Dravo_SetDisplayCallBack(port, OnDisplay);
    if (Dravo_OpenFile(port, memory.Path().c_str())) {
        fuzz::Require(Dravo_GetFileTotalFrames(port) > 0, "an open file has a picture");
        for (const auto& [call, argument] : calls)
            Call(port, call, argument);
    }
    fuzz::Require(Dravo_FreePort(port) != 0, "a port can be given back");
    return 0;
}

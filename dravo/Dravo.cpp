// The C interface. Every function goes through one of the wrappers, which find the port, check that a file is
// open and let no exception out.

#include "dravo/include/Dravo.h"

#include "dravo/PortTable.h"

#include <algorithm>
#include <climits>
#include <memory>
#include <span>

namespace {

using dravo::Player;
using dravo::PortTable;
using ordune::FrameNumber;

constexpr unsigned long kByFrame = 1;
constexpr unsigned long kByTime = 2;
constexpr int kMostColour = 128;

// Runs `work`; an exception (memory that is not to be had) is a failure.
template <class Value, class Work>
Value Guarded(Value failure, Work work) noexcept {
    try {
        return work();
    } catch (...) {
        return failure;
    }
}

template <class Work>
int WithPort(int number, Work work) noexcept {
    return Guarded(0, [&] {
        const std::shared_ptr<dravo::Port> port = PortTable::Instance().Find(number);
        return port && work(*port) ? 1 : 0;
    });
}

template <class Work>
int WithPlayer(int number, Work work) noexcept {
    return WithPort(number, [&](dravo::Port& port) {
        const std::shared_ptr<Player> player = port.OpenPlayer();
        return player && work(*player);
    });
}

template <class Value, class Work>
Value Ask(int number, Value nothing, Work work) noexcept {
    return Guarded(nothing, [&] {
        const std::shared_ptr<dravo::Port> port = PortTable::Instance().Find(number);
        const std::shared_ptr<Player> player = port ? port->OpenPlayer() : nullptr;
        return player ? work(*player) : nothing;
    });
}

unsigned long WholeSeconds(ordune::MediaTime time) {
    return static_cast<unsigned long>(std::chrono::floor<std::chrono::seconds>(time).count());
}

bool InColourRange(int value) {
    return value >= 0 && value <= kMostColour;
}

int Still(int port, dravo::StillKind kind, unsigned char* buffer, unsigned long size,
          unsigned long* written) {
    if (!buffer || !written) return 0;
    return WithPlayer(port, [&](Player& player) {
        const std::size_t length = player.Still(kind, std::span(buffer, size));
        if (length == 0) return false;
        *written = static_cast<unsigned long>(length);
        return true;
    });
}

// The frame that a value of a key-frame query means.
std::optional<FrameNumber> FrameMeant(const Player& player, unsigned long value, unsigned long type) {
    if (type == kByFrame) {
        if (value >= player.TotalFrames()) return std::nullopt;
        return static_cast<FrameNumber>(value);
    }
    if (type != kByTime || value > static_cast<unsigned long>(LONG_MAX)) return std::nullopt;
    return player.FrameAt(std::chrono::milliseconds(value));
}

template <class Find>
int KeyFrame(int port, unsigned long value, unsigned long type, DravoFramePos* pos, Find find) {
    if (!pos) return 0;
    return WithPlayer(port, [&](Player& player) {
        const std::optional<FrameNumber> frame = FrameMeant(player, value, type);
        if (!frame) return false;
        const std::optional<ordune::KeyFrame> key = find(player, *frame);
        if (!key) return false;
        pos->offset = key->offset_bytes;
        pos->frame = key->frame;
        pos->milliseconds =
            static_cast<unsigned long>(std::chrono::floor<std::chrono::milliseconds>(key->time).count());
        return true;
    });
}

} // namespace

extern "C" {

int Dravo_GetPort(int* port) {
    if (!port) return 0;
    return Guarded(0, [&] {
        const int number = PortTable::Instance().Take();
        if (number == 0) return 0;
        *port = number;
        return 1;
    });
}

int Dravo_FreePort(int port) {
    if (dravo::PortCallbacks::InsideCallback()) return 0;
    return Guarded(0, [&] { return PortTable::Instance().Free(port) ? 1 : 0; });
}

int Dravo_OpenFile(int port, const char* path) {
    if (!path) return 0;
    return WithPort(port, [&](dravo::Port& entry) { return entry.Open(path); });
}

int Dravo_CloseFile(int port) {
    if (dravo::PortCallbacks::InsideCallback()) return 0;
    return WithPort(port, [](dravo::Port& entry) { return entry.Close(); });
}

int Dravo_Play(int port, unsigned int windowId) {
    return WithPlayer(port, [&](Player& player) { return player.Play(windowId); });
}

int Dravo_Pause(int port, int pause) {
    return WithPlayer(port, [&](Player& player) { return player.Pause(pause != 0); });
}

int Dravo_Stop(int port) {
    if (dravo::PortCallbacks::InsideCallback()) return 0;
    return WithPlayer(port, [](Player& player) { return player.Stop(); });
}

int Dravo_Fast(int port) {
    return WithPlayer(port, [](Player& player) { return player.ChangeSpeed(true); });
}

int Dravo_Slow(int port) {
    return WithPlayer(port, [](Player& player) { return player.ChangeSpeed(false); });
}

int Dravo_OneByOne(int port) {
    return WithPlayer(port, [](Player& player) { return player.Step(ordune::Direction::Forward); });
}

int Dravo_OneByOneBack(int port) {
    return WithPlayer(port, [](Player& player) { return player.Step(ordune::Direction::Backward); });
}

int Dravo_RefreshPlay(int port) {
    return WithPlayer(port, [](Player& player) {
        player.Refresh();
        return true;
    });
}

int Dravo_RefreshPlayEx(int port, unsigned long region) {
    return WithPlayer(port, [&](Player& player) { return player.RefreshRegion(region); });
}

int Dravo_PlaySound(int port) {
    return WithPort(port, [](dravo::Port& entry) {
        const std::shared_ptr<Player> player = entry.OpenPlayer();
        if (!player) return false;
        PortTable::Instance().SetSounding(player);
        return true;
    });
}

int Dravo_StopSound(void) {
    return Guarded(0, [] {
        PortTable::Instance().SetSounding(nullptr);
        return 1;
    });
}

int Dravo_SetVolume(int port, unsigned short volume) {
    return WithPlayer(port, [&](Player& player) {
        player.SetVolume(volume);
        return true;
    });
}

int Dravo_SetCurrentFrameNum(int port, unsigned long frame) {
    return WithPlayer(port, [&](Player& player) {
        return frame < ordune::kNoFrame && player.SeekToFrame(static_cast<FrameNumber>(frame));
    });
}

int Dravo_SetPlayPos(int port, float position) {
    return WithPlayer(port, [&](Player& player) { return player.SeekToPosition(position); });
}

float Dravo_GetPlayPos(int port) {
    return Ask(port, 0.0F, [](const Player& player) { return player.Position(); });
}

int Dravo_SetPlayedTimeEx(int port, unsigned long milliseconds) {
    if (milliseconds > static_cast<unsigned long>(LONG_MAX)) return 0;
    return WithPlayer(
        port, [&](Player& player) { return player.SeekToTime(std::chrono::milliseconds(milliseconds)); });
}

unsigned long Dravo_GetPlayedTime(int port) {
    return Ask(port, 0UL, [](const Player& player) { return WholeSeconds(player.PlayedTime()); });
}

unsigned long Dravo_GetFileTime(int port) {
    return Ask(port, 0UL, [](const Player& player) { return WholeSeconds(player.Duration()); });
}

unsigned long Dravo_GetCurrentFrameNum(int port) {
    return Ask(port, ULONG_MAX, [](const Player& player) {
        const FrameNumber frame = player.CurrentFrame();
        return frame == ordune::kNoFrame ? ULONG_MAX : static_cast<unsigned long>(frame);
    });
}

unsigned long Dravo_GetFileTotalFrames(int port) {
    return Ask(port, 0UL,
               [](const Player& player) { return static_cast<unsigned long>(player.TotalFrames()); });
}

unsigned long Dravo_GetCurrentFrameRate(int port) {
    return Ask(port, 0UL, [](const Player& player) { return player.FrameRate(); });
}

int Dravo_GetPictureSize(int port, long* width, long* height) {
    if (!width || !height) return 0;
    return WithPlayer(port, [&](const Player& player) {
        player.PictureSize(*width, *height);
        return true;
    });
}

int Dravo_GetBMP(int port, unsigned char* buffer, unsigned long size, unsigned long* written) {
    return Still(port, dravo::StillKind::Bmp, buffer, size, written);
}

int Dravo_GetJPEG(int port, unsigned char* buffer, unsigned long size, unsigned long* written) {
    return Still(port, dravo::StillKind::Jpeg, buffer, size, written);
}

int Dravo_SetDisplayRegion(int port, unsigned long region, const DravoRect* rect, unsigned int windowId,
                           int enable) {
    if (region >= dravo::PortDisplay::kRegions || (enable && !rect)) return 0;
    ordune::PictureArea area;
    if (enable) {
        const std::int64_t width = std::int64_t{rect->right} - rect->left;
        const std::int64_t height = std::int64_t{rect->bottom} - rect->top;
        // One that is inside out, or larger than any picture, means nothing; an empty one the whole picture.
        if (width < 0 || height < 0 || width > INT_MAX || height > INT_MAX) return 0;
        if (width > 0 && height > 0)
            area = {rect->left, rect->top, static_cast<int>(width), static_cast<int>(height)};
    }
    return WithPlayer(port,
                      [&](Player& player) { return player.SetRegion(region, area, windowId, enable != 0); });
}

int Dravo_SetColor(int port, unsigned long region, int brightness, int contrast, int saturation, int hue) {
    if (!InColourRange(brightness) || !InColourRange(contrast) || !InColourRange(saturation) ||
        !InColourRange(hue))
        return 0;
    return WithPlayer(port, [&](Player& player) {
        return player.SetColour(region, {brightness, contrast, saturation, hue});
    });
}

int Dravo_SetDeflash(int port, int on) {
    return WithPlayer(port, [&](Player& player) {
        player.SetDeflash(on != 0);
        return true;
    });
}

int Dravo_SetPicQuality(int port, int high) {
    return WithPlayer(port, [&](Player& player) {
        player.SetHighQuality(high != 0);
        return true;
    });
}

int Dravo_SetDisplayType(int port, int type) {
    if (type != 1 && type != 2) return 0;
    return WithPlayer(port, [&](Player& player) {
        player.SetHalfResolution(type == 2);
        return true;
    });
}

int Dravo_SetTimerType(int port, int type, unsigned long /*reserved*/) {
    if (type != 1 && type != 2) return 0;
    return WithPlayer(port, [&](Player& player) {
        player.SetCoarseTimer(type == 2);
        return true;
    });
}

int Dravo_ThrowBFrameNum(int port, unsigned long count) {
    if (count > 2) return 0;
    return WithPlayer(port, [&](Player& player) {
        player.SetLeaveOut(static_cast<int>(count));
        return true;
    });
}

int Dravo_GetKeyFramePos(int port, unsigned long value, unsigned long type, DravoFramePos* pos) {
    return KeyFrame(port, value, type, pos,
                    [](const Player& player, FrameNumber frame) { return player.KeyFrameAt(frame); });
}

int Dravo_GetNextKeyFramePos(int port, unsigned long value, unsigned long type, DravoFramePos* pos) {
    return KeyFrame(port, value, type, pos,
                    [](const Player& player, FrameNumber frame) { return player.KeyFrameAfter(frame); });
}

int Dravo_SetFileEndCallback(int port, void (*callback)(int port, void* user), void* user) {
    return WithPort(port, [&](dravo::Port& entry) {
        entry.Callbacks()->SetFileEnd(callback, user);
        return true;
    });
}

int Dravo_SetEncTypeChangeCallBack(int port, void (*callback)(int port, intptr_t user), intptr_t user) {
    return WithPort(port, [&](dravo::Port& entry) {
        entry.Callbacks()->SetEncTypeChange(callback, user);
        return true;
    });
}

int Dravo_SetFileRefCallBack(int port, void (*callback)(unsigned int port, uintptr_t user), uintptr_t user) {
    return WithPort(port, [&](dravo::Port& entry) {
        entry.Callbacks()->SetFileRef(callback, user);
        if (const std::shared_ptr<Player> player = entry.OpenPlayer()) player->CallbacksChanged();
        return true;
    });
}

int Dravo_SetDisplayCallBack(int port, void (*callback)(int port, char* buffer, int size, int width,
                                                        int height, int stamp, int type, int reserved)) {
    return WithPort(port, [&](dravo::Port& entry) {
        entry.Callbacks()->SetDisplay(callback);
        return true;
    });
}

} // extern "C"

// The playback library's functions, answered by DravoFake.
#include "dravo/include/Dravo.h"
#include "tests/fakes/DravoFake.h"

#include <sstream>
#include <string>

namespace {

DravoFake& Fake() {
    return DravoFake::Get();
}

std::string Shown(const DravoRect* rect) {
    if (rect == nullptr) return "null";
    std::ostringstream text;
    text << '{' << rect->left << ", " << rect->top << ", " << rect->right << ", " << rect->bottom << '}';
    return text.str();
}

std::string Shown(const DravoFramePos* pos) {
    return DravoFake::Address(pos);
}

// "function(first, second)".
template <typename... Arguments>
std::string Call(const char* function, const Arguments&... arguments) {
    std::ostringstream text;
    [[maybe_unused]] const char* separator = "";
    text << function << '(';
    ((text << separator << arguments, separator = ", "), ...);
    text << ')';
    return text.str();
}

template <typename... Arguments>
int Succeeds(const char* function, const Arguments&... arguments) {
    return static_cast<int>(Fake().Answer(function, Call(function, arguments...), 1));
}

template <typename... Arguments>
unsigned long Value(const char* function, const Arguments&... arguments) {
    return Fake().Answer(function, Call(function, arguments...), 0);
}

} // namespace

int Dravo_GetPort(int* port) {
    return Fake().TakePort(port);
}

int Dravo_FreePort(int port) {
    return Fake().FreePort(port);
}

int Dravo_OpenFile(int port, const char* path) {
    return Fake().OpenFile(port, path);
}

int Dravo_CloseFile(int port) {
    return Fake().CloseFile(port);
}

int Dravo_Play(int port, unsigned int windowId) {
    return Succeeds("Dravo_Play", port, windowId);
}

int Dravo_Pause(int port, int pause) {
    return Succeeds("Dravo_Pause", port, pause);
}

int Dravo_Stop(int port) {
    return Fake().Stop(port);
}

int Dravo_Fast(int port) {
    return Succeeds("Dravo_Fast", port);
}

int Dravo_Slow(int port) {
    return Succeeds("Dravo_Slow", port);
}

int Dravo_OneByOne(int port) {
    return Succeeds("Dravo_OneByOne", port);
}

int Dravo_OneByOneBack(int port) {
    return Succeeds("Dravo_OneByOneBack", port);
}

int Dravo_RefreshPlay(int port) {
    return Succeeds("Dravo_RefreshPlay", port);
}

int Dravo_RefreshPlayEx(int port, unsigned long region) {
    return Succeeds("Dravo_RefreshPlayEx", port, region);
}

int Dravo_PlaySound(int port) {
    return Succeeds("Dravo_PlaySound", port);
}

int Dravo_StopSound() {
    return Succeeds("Dravo_StopSound");
}

int Dravo_SetVolume(int port, unsigned short volume) {
    return Succeeds("Dravo_SetVolume", port, volume);
}

int Dravo_SetCurrentFrameNum(int port, unsigned long frame) {
    return Succeeds("Dravo_SetCurrentFrameNum", port, frame);
}

int Dravo_SetPlayPos(int port, float position) {
    return Succeeds("Dravo_SetPlayPos", port, position);
}

int Dravo_SetPlayedTimeEx(int port, unsigned long milliseconds) {
    return Succeeds("Dravo_SetPlayedTimeEx", port, milliseconds);
}

float Dravo_GetPlayPos(int port) {
    return Fake().PlayPos(Call("Dravo_GetPlayPos", port));
}

unsigned long Dravo_GetPlayedTime(int port) {
    return Value("Dravo_GetPlayedTime", port);
}

unsigned long Dravo_GetFileTime(int port) {
    return Value("Dravo_GetFileTime", port);
}

unsigned long Dravo_GetCurrentFrameNum(int port) {
    return Value("Dravo_GetCurrentFrameNum", port);
}

unsigned long Dravo_GetFileTotalFrames(int port) {
    return Value("Dravo_GetFileTotalFrames", port);
}

unsigned long Dravo_GetCurrentFrameRate(int port) {
    return Value("Dravo_GetCurrentFrameRate", port);
}

int Dravo_GetPictureSize(int port, long* width, long* height) {
    return Fake().PictureSize(port, width, height);
}

int Dravo_GetBMP(int port, unsigned char* buffer, unsigned long size, unsigned long* written) {
    return Fake().Still(true, port, buffer, size, written);
}

int Dravo_GetJPEG(int port, unsigned char* buffer, unsigned long size, unsigned long* written) {
    return Fake().Still(false, port, buffer, size, written);
}

int Dravo_SetDisplayRegion(int port, unsigned long region, const DravoRect* rect, unsigned int windowId,
                           int enable) {
    return Succeeds("Dravo_SetDisplayRegion", port, region, Shown(rect), windowId, enable);
}

int Dravo_SetColor(int port, unsigned long region, int brightness, int contrast, int saturation, int hue) {
    return Succeeds("Dravo_SetColor", port, region, brightness, contrast, saturation, hue);
}

int Dravo_SetDeflash(int port, int on) {
    return Succeeds("Dravo_SetDeflash", port, on);
}

int Dravo_SetPicQuality(int port, int high) {
    return Succeeds("Dravo_SetPicQuality", port, high);
}

int Dravo_SetDisplayType(int port, int type) {
    return Succeeds("Dravo_SetDisplayType", port, type);
}

int Dravo_SetTimerType(int port, int type, unsigned long reserved) {
    return Succeeds("Dravo_SetTimerType", port, type, reserved);
}

int Dravo_ThrowBFrameNum(int port, unsigned long count) {
    return Succeeds("Dravo_ThrowBFrameNum", port, count);
}

int Dravo_GetKeyFramePos(int port, unsigned long value, unsigned long type, DravoFramePos* pos) {
    return Succeeds("Dravo_GetKeyFramePos", port, value, type, Shown(pos));
}

int Dravo_GetNextKeyFramePos(int port, unsigned long value, unsigned long type, DravoFramePos* pos) {
    return Succeeds("Dravo_GetNextKeyFramePos", port, value, type, Shown(pos));
}

int Dravo_SetFileEndCallback(int port, void (*callback)(int port, void* user), void* user) {
    return Fake().Register(port, callback, user);
}

int Dravo_SetEncTypeChangeCallBack(int port, void (*callback)(int port, intptr_t user), intptr_t user) {
    return Fake().Register(port, callback, user);
}

int Dravo_SetFileRefCallBack(int port, void (*callback)(unsigned int port, uintptr_t user), uintptr_t user) {
    return Fake().Register(port, callback, user);
}

int Dravo_SetDisplayCallBack(int port, void (*callback)(int port, char* buffer, int size, int width,
                                                        int height, int stamp, int type, int reserved)) {
    return Fake().Register(port, callback);
}

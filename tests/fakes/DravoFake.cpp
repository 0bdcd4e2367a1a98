#include "tests/fakes/DravoFake.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace {

// The port whose callback the current thread is in; 0 outside callbacks.
thread_local int t_callbackPort = 0;

const char* Pointer(const void* pointer, const char* kind) {
    return pointer != nullptr ? kind : "null";
}

} // namespace

DravoFake& DravoFake::Get() {
    static DravoFake fake;
    return fake;
}

void DravoFake::Reset() {
    const std::lock_guard lock(m_mutex);
    m_calls.clear();
    m_results.clear();
    m_queued.clear();
    m_hooks.clear();
    m_refused.clear();
    m_ports.clear();
    m_bmp = "BMP";
    m_jpeg = "JPEG";
    m_playPos = 0.0F;
    m_width = 0;
    m_height = 0;
    m_nextPort = 1;
    m_openPort = 0;
}

std::vector<std::string> DravoFake::Calls() const {
    const std::lock_guard lock(m_mutex);
    return m_calls;
}

std::vector<std::string> DravoFake::TakeCalls() {
    const std::lock_guard lock(m_mutex);
    std::vector<std::string> calls;
    calls.swap(m_calls);
    return calls;
}

int DravoFake::CountCalls(const std::string& text) const {
    const std::lock_guard lock(m_mutex);
    return static_cast<int>(std::count_if(m_calls.begin(), m_calls.end(),
                                          [&](const std::string& call) { return call.starts_with(text); }));
}

std::string DravoFake::Address(const void* address) {
    char text[32];
    std::snprintf(text, sizeof(text), "0x%zx", reinterpret_cast<std::size_t>(address));
    return text;
}

void DravoFake::SetResult(const std::string& function, unsigned long result) {
    const std::lock_guard lock(m_mutex);
    m_results[function] = result;
}

void DravoFake::QueueResults(const std::string& function, std::initializer_list<unsigned long> results) {
    const std::lock_guard lock(m_mutex);
    std::vector<unsigned long>& queue = m_queued[function];
    queue.insert(queue.end(), results);
}

void DravoFake::RefuseFile(const std::string& path) {
    const std::lock_guard lock(m_mutex);
    m_refused.insert(path);
}

void DravoFake::SetNextPort(int port) {
    const std::lock_guard lock(m_mutex);
    m_nextPort = port;
}

void DravoFake::SetPlayPos(float position) {
    const std::lock_guard lock(m_mutex);
    m_playPos = position;
}

void DravoFake::SetPictureSize(long width, long height) {
    const std::lock_guard lock(m_mutex);
    m_width = width;
    m_height = height;
}

void DravoFake::SetStills(const std::string& bmp, const std::string& jpeg) {
    const std::lock_guard lock(m_mutex);
    m_bmp = bmp;
    m_jpeg = jpeg;
}

void DravoFake::SetHook(const std::string& function, std::function<void()> hook) {
    const std::lock_guard lock(m_mutex);
    m_hooks[function] = std::move(hook);
}

unsigned long DravoFake::Answer(const std::string& function, const std::string& call,
                                unsigned long unscripted) {
    std::function<void()> hook;
    {
        const std::lock_guard lock(m_mutex);
        m_calls.push_back(call);
        const auto found = m_hooks.find(function);
        if (found != m_hooks.end()) hook = found->second;
    }
    if (hook) hook();
    const std::lock_guard lock(m_mutex);
    std::vector<unsigned long>& queue = m_queued[function];
    if (!queue.empty()) {
        const unsigned long result = queue.front();
        queue.erase(queue.begin());
        return result;
    }
    const auto found = m_results.find(function);
    return found != m_results.end() ? found->second : unscripted;
}

int DravoFake::TakePort(int* port) {
    const std::string call = std::string("Dravo_GetPort(") + Pointer(port, "out") + ")";
    if (Answer("Dravo_GetPort", call, 1) == 0 || port == nullptr) return 0;
    const std::lock_guard lock(m_mutex);
    *port = m_nextPort++;
    return 1;
}

int DravoFake::OpenFile(int port, const char* path) {
    const std::string shown = path != nullptr ? '"' + std::string(path) + '"' : "null";
    const std::string call = "Dravo_OpenFile(" + std::to_string(port) + ", " + shown + ")";
    if (Answer("Dravo_OpenFile", call, 1) == 0 || path == nullptr) return 0;
    const std::lock_guard lock(m_mutex);
    if (m_refused.contains(path)) return 0;
    m_openPort = port;
    return 1;
}

int DravoFake::CloseFile(int port) {
    if (Answer("Dravo_CloseFile", "Dravo_CloseFile(" + std::to_string(port) + ")", 1) == 0) return 0;
    return AwaitCallbacks(port, true) ? 1 : 0;
}

int DravoFake::FreePort(int port) {
    if (Answer("Dravo_FreePort", "Dravo_FreePort(" + std::to_string(port) + ")", 1) == 0) return 0;
    return AwaitCallbacks(port, true) ? 1 : 0;
}

int DravoFake::Stop(int port) {
    if (Answer("Dravo_Stop", "Dravo_Stop(" + std::to_string(port) + ")", 1) == 0) return 0;
    return AwaitCallbacks(port, false) ? 1 : 0;
}

float DravoFake::PlayPos(const std::string& call) {
    Answer("Dravo_GetPlayPos", call, 1);
    const std::lock_guard lock(m_mutex);
    return m_playPos;
}

int DravoFake::PictureSize(int port, long* width, long* height) {
    const std::string call = "Dravo_GetPictureSize(" + std::to_string(port) + ", " + Pointer(width, "out") +
                             ", " + Pointer(height, "out") + ")";
    if (Answer("Dravo_GetPictureSize", call, 1) == 0 || width == nullptr || height == nullptr) return 0;
    const std::lock_guard lock(m_mutex);
    *width = m_width;
    *height = m_height;
    return 1;
}

int DravoFake::Still(bool bmp, int port, unsigned char* buffer, unsigned long size, unsigned long* written) {
    const std::string function = bmp ? "Dravo_GetBMP" : "Dravo_GetJPEG";
    const std::string call = function + "(" + std::to_string(port) + ", " + Pointer(buffer, "buffer") + ", " +
                             std::to_string(size) + ", " + Pointer(written, "out") + ")";
    if (Answer(function, call, 1) == 0 || buffer == nullptr || written == nullptr) return 0;
    const std::lock_guard lock(m_mutex);
    const std::string& still = bmp ? m_bmp : m_jpeg;
    if (still.size() > size) return 0;
    std::memcpy(buffer, still.data(), still.size());
    *written = still.size();
    return 1;
}

int DravoFake::Register(int port, FileEndCallback callback, void* user) {
    const std::string call = "Dravo_SetFileEndCallback(" + std::to_string(port) + ", " +
                             (callback != nullptr ? "callback" : "null") + ", " + Address(user) + ")";
    if (Answer("Dravo_SetFileEndCallback", call, 1) == 0) return 0;
    const std::lock_guard lock(m_mutex);
    m_ports[port].fileEnd = callback;
    m_ports[port].fileEndUser = user;
    return 1;
}

int DravoFake::Register(int port, EncChangeCallback callback, std::intptr_t user) {
    const std::string call = "Dravo_SetEncTypeChangeCallBack(" + std::to_string(port) + ", " +
                             (callback != nullptr ? "callback" : "null") + ", " +
                             Address(reinterpret_cast<const void*>(user)) + ")";
    if (Answer("Dravo_SetEncTypeChangeCallBack", call, 1) == 0) return 0;
    const std::lock_guard lock(m_mutex);
    m_ports[port].encChange = callback;
    m_ports[port].encChangeUser = user;
    return 1;
}

int DravoFake::Register(int port, FileRefCallback callback, std::uintptr_t user) {
    const std::string call = "Dravo_SetFileRefCallBack(" + std::to_string(port) + ", " +
                             (callback != nullptr ? "callback" : "null") + ", " +
                             Address(reinterpret_cast<const void*>(user)) + ")";
    if (Answer("Dravo_SetFileRefCallBack", call, 1) == 0) return 0;
    const std::lock_guard lock(m_mutex);
    m_ports[port].fileRef = callback;
    m_ports[port].fileRefUser = user;
    return 1;
}

int DravoFake::Register(int port, DisplayCallback callback) {
    const std::string call = "Dravo_SetDisplayCallBack(" + std::to_string(port) + ", " +
                             (callback != nullptr ? "callback" : "null") + ")";
    if (Answer("Dravo_SetDisplayCallBack", call, 1) == 0) return 0;
    const std::lock_guard lock(m_mutex);
    m_ports[port].display = callback;
    return 1;
}

template <typename Registered>
bool DravoFake::Fire(int port, Registered&& registered) {
    // The callback and its user value are taken, and the callback counted as running, in one step: a file
    // that is being closed either waits for this callback or has already removed it.
    std::unique_lock lock(m_mutex);
    const std::function<void()> callback = registered(m_ports[port]);
    if (!callback) return false;
    ++m_ports[port].running;
    lock.unlock();

    const int before = t_callbackPort;
    t_callbackPort = port;
    callback();
    t_callbackPort = before;

    lock.lock();
    --m_ports[port].running;
    m_callbackEnded.notify_all();
    return true;
}

bool DravoFake::FireFileEnd(int port) {
    return Fire(port, [port](const Port& of) -> std::function<void()> {
        if (of.fileEnd == nullptr) return nullptr;
        return [port, of] { of.fileEnd(port, of.fileEndUser); };
    });
}

bool DravoFake::FireEncChange(int port) {
    return Fire(port, [port](const Port& of) -> std::function<void()> {
        if (of.encChange == nullptr) return nullptr;
        return [port, of] { of.encChange(port, of.encChangeUser); };
    });
}

bool DravoFake::FireFileRef(int port) {
    return Fire(port, [port](const Port& of) -> std::function<void()> {
        if (of.fileRef == nullptr) return nullptr;
        return [port, of] { of.fileRef(static_cast<unsigned int>(port), of.fileRefUser); };
    });
}

bool DravoFake::FireDisplay(int port) {
    return Fire(port, [port](const Port& of) -> std::function<void()> {
        if (of.display == nullptr) return nullptr;
        return [port, of] {
            char picture[6] = {};
            of.display(port, picture, sizeof(picture), 2, 2, 40, 3, 0);
        };
    });
}

int DravoFake::OpenPort() const {
    const std::lock_guard lock(m_mutex);
    return m_openPort;
}

bool DravoFake::AwaitCallbacks(int port, bool endFile) {
    if (t_callbackPort == port && port != 0) return false;
    std::unique_lock lock(m_mutex);
    m_callbackEnded.wait(lock, [&] { return m_ports[port].running == 0; });
    if (endFile) {
        m_ports[port] = Port();
        if (m_openPort == port) m_openPort = 0;
    }
    return true;
}

// A playback library that plays nothing: the functions of the real one's header, which record every call,
// answer what the test scripted and let the test make the callbacks.
//
// Linked instead of the real library (CMake target dravo_fake). Unscripted, every function that reports
// success does so, ports are counted from 1, and queries give 0. Calls are recorded as text: "Dravo_Play(1,
// 77)", paths in quotes, rectangles as "{left, top, right, bottom}", addresses that the library carries for
// its user as Address() writes them, other pointers as "out", "buffer", "callback" or "null".
//
// Like the real library it ends callbacks with CloseFile, lets Stop, CloseFile and FreePort wait for those
// that run, and refuses these three inside a callback. All of it may be used from any thread.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <vector>

class DravoFake {
  public:
    using FileEndCallback = void (*)(int, void*);
    using EncChangeCallback = void (*)(int, std::intptr_t);
    using FileRefCallback = void (*)(unsigned int, std::uintptr_t);
    using DisplayCallback = void (*)(int, char*, int, int, int, int, int, int);

    static DravoFake& Get();

    // Forgets calls, script, ports and callbacks: for the start of every test.
    void Reset();

    // ---- What was called ----

    std::vector<std::string> Calls() const;
    // The calls so far, which are then forgotten.
    std::vector<std::string> TakeCalls();
    // How many calls so far begin with `text`.
    int CountCalls(const std::string& text) const;
    static std::string Address(const void* address);

    // ---- What is answered ----

    // The result of the function named so ("Dravo_Play"), from now on.
    void SetResult(const std::string& function, unsigned long result);
    // The results of its next calls, before that.
    void QueueResults(const std::string& function, std::initializer_list<unsigned long> results);
    // OpenFile fails for this path.
    void RefuseFile(const std::string& path);
    // The number that GetPort gives next; the ones after it count on.
    void SetNextPort(int port);
    void SetPlayPos(float position);
    void SetPictureSize(long width, long height);
    // What GetBMP and GetJPEG write; they fail where the buffer is smaller.
    void SetStills(const std::string& bmp, const std::string& jpeg);
    // Runs inside the function before it answers, with nothing locked; empty for none.
    void SetHook(const std::string& function, std::function<void()> hook);

    // ---- Callbacks, made on the calling thread; false when none is registered on that port ----

    bool FireFileEnd(int port);
    bool FireEncChange(int port);
    bool FireFileRef(int port);
    bool FireDisplay(int port);
    // The port of the last OpenFile that succeeded and is not closed; 0 when there is none.
    int OpenPort() const;

    // ---- For the C functions ----

    unsigned long Answer(const std::string& function, const std::string& call, unsigned long unscripted);
    int TakePort(int* port);
    int OpenFile(int port, const char* path);
    int CloseFile(int port);
    int FreePort(int port);
    int Stop(int port);
    float PlayPos(const std::string& call);
    int PictureSize(int port, long* width, long* height);
    int Still(bool bmp, int port, unsigned char* buffer, unsigned long size, unsigned long* written);
    int Register(int port, FileEndCallback callback, void* user);
    int Register(int port, EncChangeCallback callback, std::intptr_t user);
    int Register(int port, FileRefCallback callback, std::uintptr_t user);
    int Register(int port, DisplayCallback callback);

  private:
    struct Port {
        FileEndCallback fileEnd = nullptr;
        void* fileEndUser = nullptr;
        EncChangeCallback encChange = nullptr;
        std::intptr_t encChangeUser = 0;
        FileRefCallback fileRef = nullptr;
        std::uintptr_t fileRefUser = 0;
        DisplayCallback display = nullptr;
        int running = 0; // callbacks
    };

    // Runs what `registered` makes of the port as a callback of it.
    template <typename Registered>
    bool Fire(int port, Registered&& registered);
    // Waits until no callback of the port runs, and then forgets its file and callbacks if asked; false
    // inside one.
    bool AwaitCallbacks(int port, bool endFile);

    // ---- Guarded by m_mutex ----
    mutable std::mutex m_mutex;
    std::condition_variable m_callbackEnded;
    std::vector<std::string> m_calls;
    std::map<std::string, unsigned long> m_results;
    std::map<std::string, std::vector<unsigned long>> m_queued;
    std::map<std::string, std::function<void()>> m_hooks;
    std::set<std::string> m_refused;
    std::map<int, Port> m_ports;
    std::string m_bmp = "BMP";
    std::string m_jpeg = "JPEG";
    float m_playPos = 0.0F;
    long m_width = 0;
    long m_height = 0;
    int m_nextPort = 1;
    int m_openPort = 0;
};

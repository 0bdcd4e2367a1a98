// What the engine tells the main window. The window implements it; the engine's callbacks, which run on the
// playback library's threads, reach the window only through it.
#pragma once

class CPlayEvents {
  public:
    // The messages of SendMsg().
    static constexpr int kEncodingChanged = 100; // the picture's size changed
    static constexpr int kFileEnded = 101;

    virtual ~CPlayEvents() = default;

    // Tells one of the messages above; others do nothing. Any thread.
    virtual void SendMsg(int nCode) = 0;
    // A picture has been displayed: the moment to capture one when continuous capture is on. Any thread.
    virtual void ConCapPic() = 0;
    // A captured picture that nobody waits for any more could not be written. On a thread of the facade's.
    virtual void CaptureFailed() = 0;
};

// The running program's main window; null before it is made. Set once, before any file is opened.
extern CPlayEvents* g_pApp;

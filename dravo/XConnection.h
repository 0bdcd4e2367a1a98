// A connection to the X server of DISPLAY, apart from that of the toolkit, and the waiting for its answers.
//
// Used by one thread at a time. A server that goes away makes IsAlive() false; nothing here ends the process.
#pragma once

#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <memory>

#include <xcb/xcb.h>

namespace dravo {

// What the X library allocates with malloc and leaves to its caller.
struct XFree {
    void operator()(void* memory) const { std::free(memory); }
};
template <class T>
using XPtr = std::unique_ptr<T, XFree>;
using XEvent = XPtr<xcb_generic_event_t>;

class XConnection {
  public:
    // How long a server may take to answer; one that is slower counts as gone. Answers are only waited for
    // when an output is made and when its memory grows, never for a single picture.
    static constexpr std::chrono::milliseconds kPatience{2000};

    // Null when there is no server.
    static std::unique_ptr<XConnection> Open();
    ~XConnection();
    XConnection(const XConnection&) = delete;
    XConnection& operator=(const XConnection&) = delete;

    xcb_connection_t* Raw() const { return m_connection; }
    const xcb_setup_t& Setup() const { return *xcb_get_setup(m_connection); }
    int Descriptor() const { return xcb_get_file_descriptor(m_connection); }
    bool IsAlive() const { return xcb_connection_has_error(m_connection) == 0; }

    // The next event or error; null when there is none. Never waits. `Queued` takes only what has been read
    // from the connection already, at no cost.
    XEvent NextEvent() const { return XEvent(xcb_poll_for_event(m_connection)); }
    XEvent NextQueuedEvent() const { return XEvent(xcb_poll_for_queued_event(m_connection)); }

    // The answer to a request, awaited within kPatience; null when it failed or did not come.
    template <class Reply, class Cookie>
    XPtr<Reply> Await(Cookie cookie) const {
        return XPtr<Reply>(static_cast<Reply*>(AwaitReply(cookie.sequence)));
    }
    // Whether a request sent by a function named _checked succeeded.
    bool Succeeded(xcb_void_cookie_t cookie) const;

    // Sends what is waiting to be sent.
    void Flush() const { xcb_flush(m_connection); }

  private:
    explicit XConnection(xcb_connection_t* connection) : m_connection(connection) {}
    void* AwaitReply(unsigned int sequence) const;

    xcb_connection_t* m_connection;
};

} // namespace dravo

#include "dravo/XConnection.h"

#include <algorithm>
#include <poll.h>
#include <xcb/xcbext.h>

namespace dravo {

std::unique_ptr<XConnection> XConnection::Open() {
    std::unique_ptr<XConnection> connection(new XConnection(xcb_connect(nullptr, nullptr)));
    if (!connection->IsAlive()) return nullptr;
    return connection;
}

XConnection::~XConnection() {
    xcb_disconnect(m_connection);
}

void* XConnection::AwaitReply(unsigned int sequence) const {
    using std::chrono::steady_clock;
    const auto deadline = steady_clock::now() + kPatience;
    Flush();
    while (IsAlive()) {
        void* reply = nullptr;
        xcb_generic_error_t* failure = nullptr;
        if (xcb_poll_for_reply(m_connection, sequence, &reply, &failure) != 0) {
            std::free(failure);
            return reply;
        }
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - steady_clock::now());
        if (left.count() <= 0) break;
        pollfd descriptor{Descriptor(), POLLIN, 0};
        poll(&descriptor, 1, static_cast<int>(left.count()));
    }
    xcb_discard_reply(m_connection, sequence);
    return nullptr;
}

bool XConnection::Succeeded(xcb_void_cookie_t cookie) const {
    // A request without an answer is known to have succeeded when a later one has been answered.
    if (!Await<xcb_get_input_focus_reply_t>(xcb_get_input_focus(m_connection))) return false;
    return XPtr<xcb_generic_error_t>(xcb_request_check(m_connection, cookie)) == nullptr;
}

} // namespace dravo

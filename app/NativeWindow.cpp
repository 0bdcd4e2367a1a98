#include "app/NativeWindow.h"

#include <QColor>
#include <QGuiApplication>
#include <QWidget>
#include <QWindow>

#include <cstdlib>
#include <cstring>
#include <memory>
#include <xcb/xcb.h>

namespace {

template <typename Reply>
using ReplyPtr = std::unique_ptr<Reply, decltype(&std::free)>;

// Null on another platform.
xcb_connection_t* Connection() {
    const auto* pX11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    return pX11 != nullptr ? pX11->connection() : nullptr;
}

xcb_atom_t Atom(xcb_connection_t* pConnection, const char* pName) {
    const auto cookie =
        xcb_intern_atom(pConnection, 0, static_cast<std::uint16_t>(std::strlen(pName)), pName);
    const ReplyPtr<xcb_intern_atom_reply_t> pReply(xcb_intern_atom_reply(pConnection, cookie, nullptr),
                                                   &std::free);
    return pReply ? pReply->atom : xcb_atom_t{XCB_ATOM_NONE};
}

} // namespace

void SyncWindowSystem() {
    xcb_connection_t* pConnection = Connection();
    if (pConnection == nullptr) return;
    const ReplyPtr<xcb_get_input_focus_reply_t> pReply(
        xcb_get_input_focus_reply(pConnection, xcb_get_input_focus(pConnection), nullptr), &std::free);
}

void SetGround(QWidget* pWidget, const QColor& colour) {
    xcb_connection_t* pConnection = Connection();
    if (pConnection == nullptr || !colour.isValid()) return;
    // Red, green and blue take eight bits each, in this order, in the windows of Qt's xcb platform.
    const std::uint32_t nPixel = colour.rgb() & 0xFFFFFFU;
    xcb_change_window_attributes(pConnection, static_cast<xcb_window_t>(pWidget->winId()), XCB_CW_BACK_PIXEL,
                                 &nPixel);
}

// The request that the window managers' common rules (EWMH, _NET_WM_STATE) define for a mapped window: a
// message to the root window.
void KeepAbove(QWindow* pWindow, bool bAbove) {
    xcb_connection_t* pConnection = Connection();
    if (pConnection == nullptr) return;
    xcb_client_message_event_t message{};
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = 32;
    message.window = static_cast<xcb_window_t>(pWindow->winId());
    message.type = Atom(pConnection, "_NET_WM_STATE");
    message.data.data32[0] = bAbove ? 1 : 0; // add or remove
    message.data.data32[1] = Atom(pConnection, "_NET_WM_STATE_ABOVE");
    message.data.data32[3] = 1; // asked by an application
    const xcb_window_t nRoot = xcb_setup_roots_iterator(xcb_get_setup(pConnection)).data->root;
    xcb_send_event(pConnection, 0, nRoot,
                   XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT,
                   reinterpret_cast<const char*>(&message));
    xcb_flush(pConnection);
}

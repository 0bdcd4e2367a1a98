#include "tests/support/DragSource.h"

#include "tests/support/WaitUntil.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <stdexcept>

namespace support {

namespace {

constexpr std::uint32_t kVersion = 5;
constexpr std::uint32_t kYes = 1; // in the flags of an answer

struct Free {
    void operator()(void* reply) const { std::free(reply); }
};
template <typename T>
using Handle = std::unique_ptr<T, Free>;

const char* NameOf(DragSource::Action action) {
    switch (action) {
    case DragSource::Action::Move:
        return "XdndActionMove";
    case DragSource::Action::Link:
        return "XdndActionLink";
    default:
        return "XdndActionCopy";
    }
}

// A path as a URL writes it: everything but plain letters, digits and a few marks by its number.
std::string UrlOf(const std::string& path) {
    constexpr const char* kDigits = "0123456789ABCDEF";
    std::string url = "file://";
    for (const unsigned char byte : path) {
        if ((byte < 0x80 && std::isalnum(byte) != 0) || std::strchr("/-_.~", byte) != nullptr) {
            url += static_cast<char>(byte);
        } else {
            url += '%';
            url += kDigits[byte >> 4];
            url += kDigits[byte & 15];
        }
    }
    return url;
}

} // namespace

DragSource::DragSource(const std::string& display) : m_connection(xcb_connect(display.c_str(), nullptr)) {
    if (xcb_connection_has_error(m_connection) != 0) {
        xcb_disconnect(m_connection);
        throw std::runtime_error("no display " + display);
    }
    m_root = xcb_setup_roots_iterator(xcb_get_setup(m_connection)).data->root;
    m_window = xcb_generate_id(m_connection);
    const std::uint32_t events = XCB_EVENT_MASK_PROPERTY_CHANGE;
    xcb_create_window(m_connection, XCB_COPY_FROM_PARENT, m_window, m_root, 0, 0, 1, 1, 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT, XCB_CW_EVENT_MASK, &events);
    xcb_flush(m_connection);
}

DragSource::~DragSource() {
    xcb_disconnect(m_connection);
}

DragSource::Offer DragSource::Urls(const std::vector<std::string>& urls, Action action) {
    Offer offer{"text/uri-list", {}, action};
    for (const std::string& url : urls)
        offer.data += url + "\r\n";
    return offer;
}

DragSource::Offer DragSource::Files(const std::vector<std::string>& paths, Action action) {
    std::vector<std::string> urls;
    std::transform(paths.begin(), paths.end(), std::back_inserter(urls), UrlOf);
    return Urls(urls, action);
}

// 1. Own the selection that the bytes are asked for by. 2. Say what is offered (Enter). 3. Move to the place
// in two steps, as a hand does, each answered (Position, Status). 4. Where it is wanted, drop and wait until
// the other side has taken the bytes (Drop, Finished); else go (Leave).
DragSource::Outcome DragSource::Drop(int x, int y, const Offer& offer, std::chrono::milliseconds limit) {
    m_offer = offer;
    m_target = TargetAt(x, y);
    const xcb_timestamp_t time = ServerTime();
    xcb_set_selection_owner(m_connection, m_window, Atom("XdndSelection"), time);
    Send("XdndEnter", {m_window, kVersion << 24U, Atom(offer.type), XCB_NONE, XCB_NONE});

    std::optional<std::vector<std::uint32_t>> status;
    for (const int from : {-4, 0}) {
        const auto place = static_cast<std::uint32_t>(x + from) << 16U | static_cast<std::uint32_t>(y);
        Send("XdndPosition", {m_window, 0, place, time, Atom(NameOf(offer.action))});
        status = Await("XdndStatus", limit);
        if (!status) throw std::runtime_error("the window below the pointer does not answer");
    }
    Outcome outcome;
    outcome.isWanted = (status->at(1) & kYes) != 0;
    if (!outcome.isWanted) {
        Send("XdndLeave", {m_window, 0, 0, 0, 0});
        return outcome;
    }
    Send("XdndDrop", {m_window, 0, time, 0, 0});
    const auto finished = Await("XdndFinished", limit);
    if (finished) outcome.isTaken = (finished->at(1) & kYes) != 0;
    return outcome;
}

xcb_atom_t DragSource::Atom(const std::string& name) {
    const Handle<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(
        m_connection, xcb_intern_atom(m_connection, 0, static_cast<std::uint16_t>(name.size()), name.c_str()),
        nullptr));
    if (!reply) throw std::runtime_error("no atom " + name);
    return reply->atom;
}

// The server stamps the change of a property.
xcb_timestamp_t DragSource::ServerTime() {
    xcb_change_property(m_connection, XCB_PROP_MODE_APPEND, m_window, XCB_ATOM_WM_NAME, XCB_ATOM_STRING, 8, 0,
                        nullptr);
    xcb_flush(m_connection);
    while (true) {
        const Handle<xcb_generic_event_t> event(xcb_wait_for_event(m_connection));
        if (!event) throw std::runtime_error("the X server is gone");
        if ((event->response_type & 0x7FU) == XCB_PROPERTY_NOTIFY)
            return reinterpret_cast<const xcb_property_notify_event_t*>(event.get())->time;
    }
}

xcb_window_t DragSource::TargetAt(int x, int y) {
    const xcb_atom_t aware = Atom("XdndAware");
    xcb_window_t window = m_root;
    while (window != XCB_NONE) {
        const Handle<xcb_translate_coordinates_reply_t> place(xcb_translate_coordinates_reply(
            m_connection,
            xcb_translate_coordinates(m_connection, m_root, window, static_cast<std::int16_t>(x),
                                      static_cast<std::int16_t>(y)),
            nullptr));
        if (!place) break;
        window = place->child;
        const Handle<xcb_get_property_reply_t> property(xcb_get_property_reply(
            m_connection, xcb_get_property(m_connection, 0, window, aware, XCB_GET_PROPERTY_TYPE_ANY, 0, 1),
            nullptr));
        if (property && property->type != XCB_NONE) return window;
    }
    throw std::runtime_error("no window there takes drags");
}

void DragSource::Send(const char* message, const std::vector<std::uint32_t>& data) {
    xcb_client_message_event_t event = {};
    event.response_type = XCB_CLIENT_MESSAGE;
    event.format = 32;
    event.window = m_target;
    event.type = Atom(message);
    std::copy(data.begin(), data.end(), event.data.data32);
    xcb_send_event(m_connection, 0, m_target, XCB_EVENT_MASK_NO_EVENT, reinterpret_cast<const char*>(&event));
    xcb_flush(m_connection);
}

std::optional<std::vector<std::uint32_t>> DragSource::Await(const char* message,
                                                            std::chrono::milliseconds limit) {
    const xcb_atom_t awaited = Atom(message);
    std::optional<std::vector<std::uint32_t>> data;
    const auto serve = [&] {
        while (!data) {
            const Handle<xcb_generic_event_t> event(xcb_poll_for_event(m_connection));
            if (!event) return false;
            const unsigned type = event->response_type & 0x7FU;
            if (type == XCB_SELECTION_REQUEST)
                Answer(*reinterpret_cast<const xcb_selection_request_event_t*>(event.get()));
            if (type != XCB_CLIENT_MESSAGE) continue;
            const auto& answer = *reinterpret_cast<const xcb_client_message_event_t*>(event.get());
            if (answer.type == awaited && answer.data.data32[0] == m_target)
                data.emplace(answer.data.data32, answer.data.data32 + 5);
        }
        return true;
    };
    WaitUntil(serve, limit);
    return data;
}

void DragSource::Answer(const xcb_selection_request_event_t& request) {
    xcb_selection_notify_event_t answer = {};
    answer.response_type = XCB_SELECTION_NOTIFY;
    answer.time = request.time;
    answer.requestor = request.requestor;
    answer.selection = request.selection;
    answer.target = request.target;
    answer.property = XCB_NONE; // refused
    if (request.target == Atom(m_offer.type)) {
        answer.property = request.property;
        xcb_change_property(m_connection, XCB_PROP_MODE_REPLACE, request.requestor, request.property,
                            request.target, 8, static_cast<std::uint32_t>(m_offer.data.size()),
                            m_offer.data.data());
    }
    xcb_send_event(m_connection, 0, request.requestor, XCB_EVENT_MASK_NO_EVENT,
                   reinterpret_cast<const char*>(&answer));
    xcb_flush(m_connection);
}

} // namespace support

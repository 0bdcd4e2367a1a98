#include "tests/system/WindowPulse.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <poll.h>
#include <stdexcept>
#include <utility>

namespace system_tests {

using namespace std::chrono_literals;

namespace {

constexpr auto kBetweenQuestions = 5ms;

struct Free {
    void operator()(void* reply) const { std::free(reply); }
};
template <typename Reply>
std::unique_ptr<Reply, Free> Own(Reply* reply) {
    return std::unique_ptr<Reply, Free>(reply);
}

} // namespace

WindowPulse::WindowPulse(const std::string& display, xcb_window_t window, pid_t program)
    : m_connection(xcb_connect(display.c_str(), nullptr)), m_window(window),
      m_schedule("/proc/" + std::to_string(program) + "/task/" + std::to_string(program) + "/schedstat") {
    if (xcb_connection_has_error(m_connection) != 0) {
        xcb_disconnect(m_connection);
        throw std::runtime_error("no display " + display);
    }
    m_root = xcb_setup_roots_iterator(xcb_get_setup(m_connection)).data->root;
    m_protocols = Atom("WM_PROTOCOLS");
    m_ping = Atom("_NET_WM_PING");
    // The answers are sent to the root window; toolkits differ in who hears of them there.
    const std::uint32_t events = XCB_EVENT_MASK_STRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY;
    xcb_change_window_attributes(m_connection, m_root, XCB_CW_EVENT_MASK, &events);
    m_thread = std::thread(&WindowPulse::Run, this);
}

WindowPulse::~WindowPulse() {
    m_ending = true;
    m_thread.join();
    xcb_disconnect(m_connection);
}

xcb_atom_t WindowPulse::Atom(const std::string& name) {
    const auto cookie =
        xcb_intern_atom(m_connection, 0, static_cast<std::uint16_t>(name.size()), name.c_str());
    const auto reply = Own(xcb_intern_atom_reply(m_connection, cookie, nullptr));
    return reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
}

void WindowPulse::Run() {
    while (!m_ending && xcb_connection_has_error(m_connection) == 0) {
        bool ask = false;
        {
            const std::lock_guard lock(m_mutex);
            ask = !m_open && Clock::now() - m_asked >= kBetweenQuestions;
        }
        if (ask) Ask();
        pollfd readable = {xcb_get_file_descriptor(m_connection), POLLIN, 0};
        poll(&readable, 1, static_cast<int>(kBetweenQuestions / 1ms));
        while (const auto event = Own(xcb_poll_for_event(m_connection)))
            Hear(*event);
    }
    // A server that is gone owes no answer.
    const std::lock_guard lock(m_mutex);
    m_open = false;
}

void WindowPulse::Ask() {
    xcb_client_message_event_t question{};
    question.response_type = XCB_CLIENT_MESSAGE;
    question.format = 32;
    question.window = m_window;
    question.type = m_protocols;
    question.data.data32[0] = m_ping;
    question.data.data32[1] = XCB_CURRENT_TIME;
    question.data.data32[2] = m_window;
    {
        const std::lock_guard lock(m_mutex);
        question.data.data32[3] = ++m_question; // the answer brings it back
        m_open = true;
        m_awake = AwakeSoFar();
        m_asked = Clock::now();
    }
    xcb_send_event(m_connection, 0, m_window, XCB_EVENT_MASK_NO_EVENT,
                   reinterpret_cast<const char*>(&question));
    xcb_flush(m_connection);
}

void WindowPulse::Hear(const xcb_generic_event_t& event) {
    if ((event.response_type & 0x7F) != XCB_CLIENT_MESSAGE) return;
    const auto& answer = reinterpret_cast<const xcb_client_message_event_t&>(event);
    if (answer.type != m_protocols || answer.data.data32[0] != m_ping) return;
    const std::lock_guard lock(m_mutex);
    if (answer.data.data32[2] != m_window || answer.data.data32[3] != m_question || !m_open) return;
    MeasureLocked();
    m_open = false;
    ++m_answers;
}

void WindowPulse::MeasureLocked() {
    const Milliseconds wait = Clock::now() - m_asked;
    m_slowest.answer = std::max(m_slowest.answer, wait);
    const std::optional<Milliseconds> awake = AwakeSoFar();
    if (!awake || !m_awake) return;
    // A wait for a processor is counted when it is over, one from before the question too.
    const Milliseconds asleep = std::max(wait - (*awake - *m_awake), Milliseconds(0));
    m_slowest.asleep = std::max(m_slowest.asleep.value_or(asleep), asleep);
}

// Time on a processor and time waiting for one; nothing where neither is counted.
std::optional<WindowPulse::Milliseconds> WindowPulse::AwakeSoFar() const {
    std::ifstream file(m_schedule);
    std::uint64_t running = 0;
    std::uint64_t waiting = 0;
    file >> running >> waiting;
    if (!file || running == 0) return std::nullopt;
    return std::chrono::nanoseconds(running + waiting);
}

WindowPulse::Slowest WindowPulse::TakeSlowest() {
    const std::lock_guard lock(m_mutex);
    if (m_open) MeasureLocked();
    return std::exchange(m_slowest, Slowest());
}

} // namespace system_tests

// Another program on an X display from which something is dragged: it offers bytes of one type with one
// action, moves over what lies at a place of the screen, and drops.
//
// It speaks version 5 of the drag-and-drop protocol of X desktops, as file managers do.
#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include <xcb/xcb.h>

namespace support {

class DragSource {
  public:
    enum class Action { Copy, Move, Link };

    struct Offer {
        std::string type; // "text/uri-list"
        std::string data;
        Action action = Action::Copy;
    };

    struct Outcome {
        // The window below the pointer said that it would take the offer there; only then it is dropped.
        bool isWanted = false;
        // What the window said when it was done with the drop; nothing when it was not within the limit.
        std::optional<bool> isTaken;
    };

    // Throws std::runtime_error when there is no such display.
    explicit DragSource(const std::string& display);
    ~DragSource();
    DragSource(const DragSource&) = delete;
    DragSource& operator=(const DragSource&) = delete;

    // Drags the offer to a place of the root window and drops it there. Throws std::runtime_error when no
    // window there takes drags at all, or none answers within the limit.
    Outcome Drop(int x, int y, const Offer& offer,
                 std::chrono::milliseconds limit = std::chrono::seconds(30));

    // Files as desktops hand them over: a list of URLs.
    static Offer Files(const std::vector<std::string>& paths, Action action);
    static Offer Urls(const std::vector<std::string>& urls, Action action);

  private:
    xcb_atom_t Atom(const std::string& name);
    xcb_timestamp_t ServerTime();
    xcb_window_t TargetAt(int x, int y);
    void Send(const char* message, const std::vector<std::uint32_t>& data);
    // Serves what the target asks for until it has sent `message`; the message's data.
    std::optional<std::vector<std::uint32_t>> Await(const char* message, std::chrono::milliseconds limit);
    void Answer(const xcb_selection_request_event_t& request);

    xcb_connection_t* m_connection;
    xcb_window_t m_root = 0;
    xcb_window_t m_window = 0;
    xcb_window_t m_target = 0;
    Offer m_offer;
};

} // namespace support

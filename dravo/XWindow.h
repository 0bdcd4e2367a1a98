// The library's own window inside the one it was given: it covers all of it, follows its size, and asks for
// nothing but news of structure and exposure, so that keyboard and pointer go on to whoever owns the given
// one.
//
// Sizes are the server's, in physical pixels. Used by one thread at a time.
#pragma once

#include "dravo/Letterbox.h"
#include "dravo/PixelLayout.h"
#include "dravo/XConnection.h"

#include <cstdint>
#include <memory>

namespace dravo {

class XWindow {
  public:
    // Null when there is no such window, or one that cannot be drawn into. The connection must outlive the
    // object. The window appears with the first Show().
    static std::unique_ptr<XWindow> Make(XConnection& connection, xcb_window_t parent);
    // Takes the window away; what lies below it becomes visible, and is told so.
    ~XWindow();
    XWindow(const XWindow&) = delete;
    XWindow& operator=(const XWindow&) = delete;

    xcb_window_t Id() const { return m_window; }
    xcb_gcontext_t Gc() const { return m_gc; }
    std::uint8_t Depth() const { return m_depth; }
    const PixelLayout& Layout() const { return m_layout; }
    int Width() const { return m_width; }
    int Height() const { return m_height; }
    // False from the moment that the window or the one around it was destroyed.
    bool Exists() const { return m_exists; }
    // False while the given window is hidden: drawing would be lost.
    bool IsMapped() const { return m_parent_mapped; }

    // Takes an event or error that concerns this window. Other ones are none of its business.
    void HandleEvent(const xcb_generic_event_t& event);
    // Whether part of the window lost its content, or its size changed, since the last call.
    bool TakeDamage();

    // Makes the window appear; call it before the first drawing.
    void Show();
    // Paints everything around the box black.
    void Blacken(const Box& around);

  private:
    XWindow(XConnection& connection, xcb_window_t parent, const PixelLayout& layout);
    bool Create();
    void HandleError(const xcb_generic_error_t& error);
    void Follow(const xcb_configure_notify_event_t& event);

    // Fixed after Make().
    XConnection& m_connection;
    xcb_window_t m_parent;
    xcb_window_t m_window = XCB_NONE;
    xcb_gcontext_t m_gc = XCB_NONE;
    std::uint8_t m_depth = 0;
    PixelLayout m_layout;

    // What the server said last.
    int m_width = 0;
    int m_height = 0;
    bool m_exists = false;
    bool m_parent_mapped = false;
    bool m_shown = false;
    bool m_damaged = false;
};

} // namespace dravo

// What the main window asks of the X server itself. Both do nothing on a platform without one.
#pragma once

class QWindow;

// Waits until the X server has made every window that the toolkit asked for, so that another connection can
// draw into them.
void SyncWindowSystem();

// Asks the window manager to keep a window above the others, or no longer to, while it stays mapped.
void KeepAbove(QWindow* pWindow, bool bAbove);

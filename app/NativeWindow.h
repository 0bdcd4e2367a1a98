// What the main window asks of the X server itself. All do nothing on a platform without one.
#pragma once

class QColor;
class QWidget;
class QWindow;

// Waits until the X server has made every window that the toolkit asked for, so that another connection can
// draw into them.
void SyncWindowSystem();

// The colour that the X server itself gives new parts of a widget's native window, until they are painted.
// Without one it leaves there what was on the screen before, or the window manager's white.
void SetGround(QWidget* pWidget, const QColor& colour);

// Asks the window manager to keep a window above the others, or no longer to, while it stays mapped.
void KeepAbove(QWindow* pWindow, bool bAbove);

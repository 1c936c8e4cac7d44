#pragma once

class QWindow;

/// The window's frame where the platform allows changing it.
namespace WindowStyle {

/// Hides the title bar and lets the content run up under the window buttons (macOS); elsewhere the
/// window keeps the frame that the window manager gives it.
void hideTitleBar(QWindow *window);

/// How far the content must stay below the top edge to clear the window buttons, in points.
double titleBarInset();

} // namespace WindowStyle

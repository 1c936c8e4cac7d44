#include "WindowStyle.h"

// Platforms other than macOS: the window manager draws the frame.
namespace WindowStyle {

void hideTitleBar(QWindow *) { }

double titleBarInset()
{
    return 0;
}

} // namespace WindowStyle

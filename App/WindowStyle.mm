#include "WindowStyle.h"

#include <QWindow>

#import <AppKit/AppKit.h>

namespace WindowStyle {

void hideTitleBar(QWindow *window)
{
    NSView *view = reinterpret_cast<NSView *>(window->winId());
    NSWindow *nsWindow = view.window;
    if (!nsWindow)
        return;
    nsWindow.titleVisibility = NSWindowTitleHidden;
    nsWindow.titlebarAppearsTransparent = YES;
    nsWindow.styleMask |= NSWindowStyleMaskFullSizeContentView;
}

double titleBarInset()
{
    // The traffic-light buttons sit in the top 28 points of a window with a hidden title bar.
    return 28;
}

} // namespace WindowStyle

// The macOS window frame: a hidden title bar with the content running up under the window buttons.
// Compiled with ARC.
#include "WindowStyle.h"

#include <QGuiApplication>
#include <QObject>
#include <QString>
#include <QWindow>
#include <QtGlobal>

#import <AppKit/AppKit.h>

namespace WindowStyle {

namespace {

// The AppKit window behind a Qt window; nil unless Qt draws through its Cocoa platform plugin (under
// -platform offscreen or minimal, winId() is no view at all).
NSWindow *nativeWindow(QWindow *window)
{
    if (!window || QGuiApplication::platformName() != QStringLiteral("cocoa"))
        return nil;
    NSView *view = (__bridge NSView *)reinterpret_cast<void *>(window->winId());
    return view.window;
}

#if QT_VERSION < QT_VERSION_CHECK(6, 9, 0)
void applyStyle(NSWindow *nsWindow)
{
    nsWindow.titleVisibility = NSWindowTitleHidden;
    nsWindow.titlebarAppearsTransparent = YES;
    nsWindow.styleMask |= NSWindowStyleMaskFullSizeContentView;
}
#endif

} // namespace

void hideTitleBar(QWindow *window)
{
    NSWindow *nsWindow = nativeWindow(window);
    if (!nsWindow)
        return;
    nsWindow.titleVisibility = NSWindowTitleHidden;
#if QT_VERSION >= QT_VERSION_CHECK(6, 9, 0)
    // Qt draws the expanded client area itself and keeps it across full screen.
    window->setFlag(Qt::ExpandedClientAreaHint, true);
    window->setFlag(Qt::NoTitleBarBackgroundHint, true);
#else
    applyStyle(nsWindow);
    // Qt rewrites the style mask when the window enters and leaves full screen, so the content would
    // drop below a title bar again after the green button. Apply the style once more each time full
    // screen is left, on the next turn of the main queue, after Qt's own handling of the notification.
    NSWindow *__weak weakWindow = nsWindow;
    id observer = [[NSNotificationCenter defaultCenter] addObserverForName:NSWindowDidExitFullScreenNotification
                                                                    object:nsWindow
                                                                     queue:[NSOperationQueue mainQueue]
                                                                usingBlock:^(NSNotification *) {
                                                                    if (NSWindow *strongWindow = weakWindow)
                                                                        applyStyle(strongWindow);
                                                                }];
    QObject::connect(
        window, &QObject::destroyed, [observer] { [[NSNotificationCenter defaultCenter] removeObserver:observer]; });
#endif
}

double titleBarInset()
{
    // The traffic-light buttons sit in the top 28 points of a window with a hidden title bar.
    return 28;
}

} // namespace WindowStyle

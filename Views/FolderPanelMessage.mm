// The message line of macOS's folder-choice panel. Qt gives the panel its title only, which the open
// panel never shows, so the message goes straight onto AppKit's panel. Compiled with ARC.
#include "Folders.h"

#include <QGuiApplication>
#include <QString>

#import <AppKit/AppKit.h>

bool Folders::showPanelMessage(const QString &message)
{
    // Only Qt's Cocoa platform plugin shows AppKit panels (not -platform offscreen or minimal).
    if (QGuiApplication::platformName() != QStringLiteral("cocoa"))
        return false;
    NSString *text = [[NSString alloc] initWithCharacters:reinterpret_cast<const unichar *>(message.utf16())
                                                   length:static_cast<NSUInteger>(message.size())];
    // Qt's folder dialog has opened its panel by now (as a sheet or a window of the application); there is
    // at most one open at a time.
    bool shown = false;
    for (NSWindow *window in [NSApp windows]) {
        if ([window isKindOfClass:[NSOpenPanel class]]) {
            static_cast<NSOpenPanel *>(window).message = text;
            shown = true;
        }
    }
    return shown;
}

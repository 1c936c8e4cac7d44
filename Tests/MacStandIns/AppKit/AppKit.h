// Stand-in for AppKit: only the declarations Velloran's Objective-C++ uses (see Foundation.h here).
#pragma once

#import <Foundation/Foundation.h>

typedef enum NSWindowTitleVisibility : long {
    NSWindowTitleVisible = 0,
    NSWindowTitleHidden = 1,
} NSWindowTitleVisibility;

// An option set, as AppKit declares it for C++: a plain integer type with named bits.
typedef NSUInteger NSWindowStyleMask;
enum : NSUInteger {
    NSWindowStyleMaskTitled = 1 << 0,
    NSWindowStyleMaskFullSizeContentView = 1 << 15,
};

extern NSNotificationName const NSWindowDidExitFullScreenNotification;

@class NSWindow;

@interface NSView : NSObject
@property (readonly, weak) NSWindow *window;
@end

@interface NSWindow : NSObject
@property NSWindowTitleVisibility titleVisibility;
@property BOOL titlebarAppearsTransparent;
@property NSWindowStyleMask styleMask;
@end

@interface NSPanel : NSWindow
@end

@interface NSSavePanel : NSPanel
@property (copy) NSString *message;
@end

@interface NSOpenPanel : NSSavePanel
@end

@interface NSApplication : NSObject
@property (readonly, copy) NSArray<NSWindow *> *windows;
@end

extern NSApplication *NSApp;

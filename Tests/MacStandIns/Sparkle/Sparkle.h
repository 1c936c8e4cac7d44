// Stand-in for Sparkle 2: only the declarations Velloran's Objective-C++ uses (see
// Foundation/Foundation.h here).
#pragma once

#import <Foundation/Foundation.h>

@protocol SPUUpdaterDelegate <NSObject>
@end

@protocol SPUStandardUserDriverDelegate <NSObject>
@end

@interface SPUStandardUpdaterController : NSObject
- (instancetype)initWithStartingUpdater:(BOOL)startUpdater
                        updaterDelegate:(id<SPUUpdaterDelegate>)updaterDelegate
                     userDriverDelegate:(id<SPUStandardUserDriverDelegate>)userDriverDelegate;
@end

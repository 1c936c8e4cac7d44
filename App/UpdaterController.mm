// Sparkle's updater, for macOS builds with VELLORAN_SPARKLE. Compiled with ARC.
#include "UpdaterController.h"

#include <QtGlobal>

#import <Foundation/Foundation.h>
#import <Sparkle/Sparkle.h>

namespace {

// The feed URL and the public key as the bundle carries them. The build refuses placeholders, but a
// bundle whose Info.plist was edited afterwards, or a copy run outside its bundle, may still lack them:
// then Sparkle would report "Unable to Check For Updates" on every launch, so it is not started at all.
bool hasUpdateSettings()
{
    NSBundle *bundle = [NSBundle mainBundle];
    NSString *feed = [bundle objectForInfoDictionaryKey:@"SUFeedURL"];
    NSString *key = [bundle objectForInfoDictionaryKey:@"SUPublicEDKey"];
    if (![feed isKindOfClass:[NSString class]] || ![key isKindOfClass:[NSString class]])
        return false;
    return [feed hasPrefix:@"https://"] && ![feed containsString:@".invalid/"] && key.length > 0
        && ![key hasPrefix:@"REPLACE-"];
}

} // namespace

struct UpdaterController::Private
{
    // Started at creation, with no updater and no user-driver delegate; nil when the bundle carries no
    // usable feed URL or public key.
    SPUStandardUpdaterController *controller = nil;
};

UpdaterController::UpdaterController()
    : d(std::make_unique<Private>())
{
    if (!hasUpdateSettings()) {
        qWarning("Velloran: no update feed or public key in Info.plist; updates are off");
        return;
    }
    d->controller = [[SPUStandardUpdaterController alloc] initWithStartingUpdater:YES
                                                                  updaterDelegate:nil
                                                               userDriverDelegate:nil];
}

UpdaterController::~UpdaterController() = default;

// Sparkle's updater, for macOS builds with VELLORAN_SPARKLE. Compiled with ARC.
#include "UpdaterController.h"

#import <Sparkle/Sparkle.h>

struct UpdaterController::Private
{
    // Started at creation, with no updater and no user-driver delegate.
    SPUStandardUpdaterController *controller = nil;
};

UpdaterController::UpdaterController()
    : d(std::make_unique<Private>())
{
    d->controller = [[SPUStandardUpdaterController alloc] initWithStartingUpdater:YES
                                                                  updaterDelegate:nil
                                                               userDriverDelegate:nil];
}

UpdaterController::~UpdaterController() = default;

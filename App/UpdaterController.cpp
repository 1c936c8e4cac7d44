#include "UpdaterController.h"

// Without Sparkle there is nothing to hold.
struct UpdaterController::Private
{ };

UpdaterController::UpdaterController() = default;

UpdaterController::~UpdaterController() = default;

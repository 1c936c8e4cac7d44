#pragma once

#include <memory>

/// Keeps the update framework running for the life of the application. On macOS, built with
/// VELLORAN_SPARKLE, it holds Sparkle's standard updater controller, started at creation, so Sparkle's own
/// scheduled update checks run from launch. Everywhere else it holds nothing.
class UpdaterController
{
public:
    UpdaterController();
    ~UpdaterController();

    UpdaterController(const UpdaterController &) = delete;
    UpdaterController &operator=(const UpdaterController &) = delete;

private:
    struct Private;
    std::unique_ptr<Private> d;
};

#pragma once

#include <QtGlobal>

#include <memory>

/// Keeps the update framework running for the life of the application. On macOS, built with
/// VELLORAN_SPARKLE, it holds Sparkle's standard updater controller, started at creation, so Sparkle's own
/// scheduled update checks run from launch. Everywhere else it holds nothing.
class UpdaterController
{
    Q_DISABLE_COPY(UpdaterController)

public:
    UpdaterController();
    ~UpdaterController();

private:
    struct Private;
    std::unique_ptr<Private> d;
};

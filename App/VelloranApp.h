#pragma once

#include "Exporter.h"
#include "Migrator.h"
#include "UpdaterController.h"

#include <QGuiApplication>

#include <memory>

class QQuickView;

/// The application: owns the two controllers and the updater for the life of the process, and shows one
/// window whose root screen is WizardView.
class VelloranApp
{
public:
    VelloranApp(int &argc, char **argv);
    ~VelloranApp();

    /// Builds the window and runs the event loop; returns the exit code.
    int run();

    /// Builds and shows the window (at least 640 by 560, centred, untitled) without running the event
    /// loop; null when the screens fail to load.
    QQuickView *showWindow();

private:
    QGuiApplication m_application;
    Migrator m_migrator;
    Exporter m_exporter;
    UpdaterController m_updater;
    std::unique_ptr<QQuickView> m_window;
};

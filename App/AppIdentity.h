#pragma once

#include <QIcon>

/// Who the application is to the desktop: its names, which decide where its settings live, and its icon.
namespace AppIdentity {

/// Names the organisation, its domain and the application. On macOS the settings (the favourite export
/// folder) then go to the defaults domain of the bundle identifier: Qt stores them under the organisation
/// domain's labels reversed, followed by the application name. Call before any setting is read.
void apply();

/// The application icon in every size rendered from App/icons/velloran.svg, for the window.
QIcon icon();

} // namespace AppIdentity

#pragma once

class QQuickWindow;

/// Makes the tasks that the controllers hand to QML (QCoro's QmlTask) known to QML, so that the screens
/// can wait for them with `.then()`. Migrator and Exporter themselves come with the module
/// Velloran.Engine (tests build their own; the application hands its instances to WizardView). Call once,
/// before loading any QML.
void registerControllerTypes();

/// The controls style and the palette: Fusion where no native style is wanted, `ink` as the accent
/// (highlight) colour everywhere; Tab reaches every control. The appearance follows the desktop (macOS
/// switches the palette itself); VELLORAN_APPEARANCE=dark or light forces one. Call once, before loading
/// any QML.
void useVelloranStyle();

/// The light and the dark appearance of the screens.
enum class Appearance { Light, Dark };

/// Draws the screens in the given appearance from now on, by changing the application's palette (the
/// screens take their colours from it). Call after useVelloranStyle.
void useAppearance(Appearance appearance);

/// Gives the controls of `window` the application's palette, now and whenever it changes. Qt Quick
/// Controls take their colours from the window's palette, which Qt 6.4 does not update when the
/// application's palette is set (only when the desktop's theme changes).
void followApplicationPalette(QQuickWindow *window);

/// Gives the controls of `window` the application's palette once.
void applyApplicationPalette(QQuickWindow *window);

#pragma once

/// Makes Migrator and Exporter creatable from QML as `import Velloran.Engine` (tests build their own;
/// the application hands its instances to WizardView). Call once, before loading any QML.
void registerControllerTypes();

/// The controls style and the palette: Fusion where no native style is wanted, `ink` as the accent
/// (highlight) colour everywhere. Call once, before loading any QML.
void useVelloranStyle();

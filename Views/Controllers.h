#pragma once

/// Makes the tasks that the controllers hand to QML (QCoro's QmlTask) known to QML, so that the screens
/// can wait for them with `.then()`. Migrator and Exporter themselves come with the module
/// Velloran.Engine (tests build their own; the application hands its instances to WizardView). Call once,
/// before loading any QML.
void registerControllerTypes();

/// The controls style and the palette: Fusion where no native style is wanted, `ink` as the accent
/// (highlight) colour everywhere; Tab reaches every control. Call once, before loading any QML.
void useVelloranStyle();

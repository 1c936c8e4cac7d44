pragma Singleton
import QtQuick

// Colours and type sizes shared by the screens, after the desktop's text styles (in points). The colours
// follow the palette, so the screens read in the light and in the dark appearance alike.
QtObject {
    readonly property SystemPalette palette: SystemPalette { colorGroup: SystemPalette.Active }
    // The dark appearance: a window darker than its text.
    readonly property bool dark: palette.window.hslLightness < palette.windowText.hslLightness

    // The application colour, for symbols, outlines and text on the window. On a dark window the
    // application colour itself is too dim to read, so a lighter shade of it stands in.
    readonly property color ink: dark ? Qt.rgba(0.53, 0.56, 0.95, 1.0) : Qt.rgba(0.29, 0.31, 0.69, 1.0)
    // The application colour as a fill under white text (prominent buttons, progress): dark enough for
    // the white label in both appearances.
    readonly property color inkFill: dark ? Qt.rgba(0.36, 0.39, 0.82, 1.0) : Qt.rgba(0.29, 0.31, 0.69, 1.0)
    readonly property color inkFillPressed: Qt.darker(inkFill, 1.2)
    // The top of the ink gradient that fills the large symbols (lighter at the top).
    readonly property color inkTop: Qt.lighter(ink, dark ? 1.2 : 1.45)
    readonly property color textOnInk: "white"
    readonly property color orange: dark ? "#ffb340" : "#f09a37"
    readonly property color red: dark ? "#ff6961" : "#e0443e"

    readonly property color primary: palette.windowText
    readonly property color secondary: Qt.rgba(primary.r, primary.g, primary.b, 0.55)

    readonly property int largeTitle: 26
    readonly property int title: 22
    readonly property int title2: 17
    readonly property int title3: 15
    readonly property int headline: 13
    readonly property int body: 13
    readonly property int callout: 12
    readonly property int caption: 10

    // The secondary colour made more transparent by the given opacity (its own opacity times this one), for
    // outlines and dividers.
    function secondaryAt(opacity) {
        return Qt.rgba(secondary.r, secondary.g, secondary.b, secondary.a * opacity)
    }
}

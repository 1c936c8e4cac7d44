pragma Singleton
import QtQuick

// Colours and type sizes shared by the screens, after the desktop's text styles (in points).
QtObject {
    // The application colour.
    readonly property color ink: Qt.rgba(0.29, 0.31, 0.69, 1.0)
    readonly property color orange: "#f09a37"
    readonly property color red: "#e0443e"

    readonly property SystemPalette palette: SystemPalette { colorGroup: SystemPalette.Active }
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
}

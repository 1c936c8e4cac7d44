import QtQuick
import QtQuick.Controls

// Return and Enter press the screen's prominent button, wherever the keyboard focus is in the window, as a
// desktop dialog's default button does; nothing happens while that button is hidden or disabled.
Shortcut {
    required property Item button

    sequences: ["Return", "Enter"]
    enabled: button.visible && button.enabled
    onActivated: button.clicked()
}

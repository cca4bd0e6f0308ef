import QtQuick
import Tessarin

// The address that goes into the pairing link, stored as it is typed. What is stored may differ from what was typed, because blanks go
// and no address stands for the suggested one: that is seen when the person has finished, not while they type.
TextEntry {
    id: root

    required property RemoteSettingsModel remote
    property bool isBeingTyped: false
    property bool isShowing: false // what is stored, and so has not to be stored again

    function showStored() {
        isBeingTyped = false
        isShowing = true
        text = remote.address
        isShowing = false
        if (!activeFocus) {
            cursorPosition = 0 // its beginning is seen
        }
    }

    name: "Mac address or Tailscale IP"
    placeholderText: name
    // Not when it is edited: what a screen reader enters is not.
    onTextChanged: {
        if (!isShowing) {
            isBeingTyped = activeFocus
            remote.setAddress(text)
        }
    }
    onEditingFinished: showStored()
    onActiveFocusChanged: if (!activeFocus) showStored()
    Component.onCompleted: showStored()

    Connections {
        target: root.remote

        function onChanged() {
            if (!root.isBeingTyped && root.text !== root.remote.address) {
                root.showStored()
            }
        }
    }
}

import QtQuick
import Tessarin

// Whether and where updates are looked for. The address can always be edited: that is how one that is not usable is repaired.
SettingsSection {
    id: root

    required property UpdateController updates

    heading: "Software Updates"

    ToggleSwitch {
        width: parent.width
        enabled: root.updates.isConfigured
        text: "Automatically check for updates"
        isOn: root.updates.automaticallyChecksForUpdates
        onSwitched: isOn => root.updates.automaticallyChecksForUpdates = isOn
    }

    Prose {
        width: parent.width
        text: root.updates.statusMessage
        font: Theme.captionFont
    }

    Item {
        width: parent.width
        height: Theme.controlHeight

        StoredEntry {
            anchors.left: parent.left
            anchors.right: check.left
            anchors.rightMargin: Theme.space8
            name: "Update feed address"
            placeholderText: "https://updates.tessarin.example/appcast.xml"
            stored: root.updates.feedURL
            onEntered: text => root.updates.updateFeedURL(text)
        }

        PushButton {
            id: check

            anchors.right: parent.right
            enabled: root.updates.isConfigured
            text: "Check Now"
            onClicked: root.updates.checkForUpdates()
        }
    }
}

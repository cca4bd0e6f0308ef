import QtQuick
import Tessarin

// How prompts find their runtime.
SettingsSection {
    id: root

    required property RoutingSettingsModel routing

    heading: "Model Routing"

    Item {
        width: parent.width
        height: picker.height

        Line {
            id: title

            anchors.verticalCenter: parent.verticalCenter
            text: "Default"
        }

        SegmentedPicker {
            id: picker

            anchors.left: title.right
            anchors.leftMargin: Theme.space18
            anchors.right: parent.right
            name: "Default"
            enabled: root.routing.canChange
            segments: root.routing.choices
            current: root.routing.current
            onPicked: index => root.routing.choose(index)
        }
    }

    Prose {
        width: parent.width
        text: root.routing.detail
        color: Theme.text
    }

    Prose {
        width: parent.width
        text: "Automatic handoff happens only after a provider reports an exhausted allowance. Authentication, network, and runtime errors do not trigger a switch."
        font: Theme.captionFont
    }
}

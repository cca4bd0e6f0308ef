import QtQuick
import Tessarin

// What the section is, and how the generation goes.
Item {
    id: root

    required property ImagineModel imagine
    required property bool sidebarShown

    signal toggleSidebar()

    implicitHeight: Theme.headerHeight

    SymbolButton {
        id: toggle

        x: Theme.space12
        anchors.verticalCenter: parent.verticalCenter
        symbol: "sidebar.left"
        toolTip: root.sidebarShown ? "Hide the sidebar" : "Show the sidebar"
        onClicked: root.toggleSidebar()
    }

    Column {
        anchors.left: toggle.right
        anchors.leftMargin: Theme.space12
        anchors.right: progress.left
        anchors.rightMargin: Theme.space24
        anchors.verticalCenter: parent.verticalCenter

        Line {
            width: parent.width
            text: "Imagine"
            font: Theme.bodyStrongFont
        }

        Line {
            width: parent.width
            text: "Generate images and videos with your Grok subscription"
            font: Theme.captionFont
            color: Theme.secondaryText
        }
    }

    Row {
        id: progress

        anchors.right: parent.right
        anchors.rightMargin: Theme.space18
        anchors.verticalCenter: parent.verticalCenter
        visible: root.imagine.progress !== ""
        spacing: Theme.spaceProgress

        Tesserae {
            anchors.verticalCenter: parent.verticalCenter
            visible: root.imagine.working
            running: visible
        }

        Line {
            id: line

            width: Math.min(implicitWidth, root.width * Theme.progressShare)
            text: root.imagine.progress
            color: Theme.secondaryText

            HoverHandler { id: hover }

            HoverTip {
                text: line.truncated ? root.imagine.progress : ""
                shown: hover.hovered
            }
        }
    }

    Hairline {
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.bottom: parent.bottom
    }
}

import QtQuick
import Tessarin

// The bottom row of the sidebar: the way to one more project, or how the runtime of Imagine is.
Item {
    id: root

    required property WindowModel windowModel

    signal openSettings()

    implicitHeight: Theme.sidebarFooter

    PlainButton {
        x: Theme.space12
        anchors.verticalCenter: parent.verticalCenter
        visible: !root.windowModel.showsImagine
        text: "Open Project"
        symbol: "folder.badge.plus"
        onClicked: root.windowModel.openProject()
    }

    Row {
        x: Theme.space18
        anchors.verticalCenter: parent.verticalCenter
        visible: root.windowModel.showsImagine
        spacing: Theme.space8

        SystemSymbol {
            anchors.verticalCenter: parent.verticalCenter
            name: root.windowModel.imagine.working ? "wand.and.stars" : "circle.fill"
            size: root.windowModel.imagine.working ? Theme.symbolSmall : Theme.dotLarge
            color: root.windowModel.imagine.working ? Theme.orangeMark : Theme.secondaryText
        }

        Line {
            anchors.verticalCenter: parent.verticalCenter
            width: Math.min(implicitWidth, settings.x - 2 * Theme.space18 - Theme.symbolSmall - Theme.space8)
            text: root.windowModel.imagine.stateLabel
            font: Theme.captionFont
            color: Theme.secondaryText
        }
    }

    SymbolButton {
        id: settings

        anchors.right: parent.right
        anchors.rightMargin: Theme.space12
        anchors.verticalCenter: parent.verticalCenter
        symbol: "gearshape"
        toolTip: "Settings"
        onClicked: root.openSettings()
    }
}

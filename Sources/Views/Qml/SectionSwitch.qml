import QtQuick
import Tessarin

// The switch between the two sections. Tab leads to the one that is shown, the arrows to the other.
Row {
    id: root

    required property WindowModel windowModel
    readonly property real share: (width - spacing) / 2

    function showCode() {
        windowModel.showCode()
        code.forceActiveFocus(Qt.TabFocusReason)
    }

    function showImagine() {
        windowModel.showImagine()
        imagine.forceActiveFocus(Qt.TabFocusReason)
    }

    spacing: Theme.spaceSections
    Accessible.role: Accessible.Grouping
    Accessible.name: "Section"
    Keys.onLeftPressed: showCode()
    Keys.onUpPressed: showCode()
    Keys.onRightPressed: showImagine()
    Keys.onDownPressed: showImagine()

    SectionButton {
        id: code

        width: root.share
        text: "Code"
        symbol: "chevron.left.forwardslash.chevron.right"
        current: !root.windowModel.showsImagine
        onClicked: root.windowModel.showCode()
    }

    SectionButton {
        id: imagine

        width: root.share
        text: "Imagine"
        symbol: "photo.on.rectangle.angled"
        current: root.windowModel.showsImagine
        onClicked: root.windowModel.showImagine()
    }
}

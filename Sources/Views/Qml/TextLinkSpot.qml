import QtQuick
import Tessarin

// A link as the keyboard and a screen reader find it, over its first line in a text. While it has the focus it shows where it leads.
Item {
    id: root

    required property textLink modelData
    required property TextEdit text

    function follow() {
        PageActions.openLink(modelData.address)
    }

    // Anew whenever the text is laid out anew.
    function takePlace() {
        const first = text.positionToRectangle(modelData.begin)
        const last = text.positionToRectangle(modelData.end)
        const isOneLine = first.y === last.y
        x = isOneLine ? Math.min(first.x, last.x) : first.x
        y = first.y
        width = isOneLine ? Math.abs(last.x - first.x) : text.width - first.x
        height = first.height
    }

    Component.onCompleted: takePlace()
    activeFocusOnTab: true
    Accessible.role: Accessible.Link
    Accessible.name: modelData.text
    Accessible.description: modelData.address
    Accessible.focusable: true
    Accessible.onPressAction: follow()
    Keys.onReturnPressed: follow()
    Keys.onEnterPressed: follow()
    Keys.onSpacePressed: follow()

    Connections {
        target: root.text

        function onWidthChanged() { root.takePlace() }
        function onContentSizeChanged() { root.takePlace() }
        function onEffectiveHorizontalAlignmentChanged() { root.takePlace() }
    }

    Rectangle {
        anchors.fill: parent
        anchors.margins: -Theme.focusWidth
        visible: root.activeFocus
        radius: Theme.radiusSmall
        color: "transparent"
        border.width: Theme.focusWidth
        border.color: Theme.accent
    }

    HoverTip {
        text: root.modelData.address
        shown: root.activeFocus
        delay: 0
    }
}

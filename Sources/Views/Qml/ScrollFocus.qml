import QtQuick
import QtQuick.Templates as T
import Tessarin

// The focus of the keyboard on a view that scrolls: an accent line inside its edge. When it goes to something within the view, the view
// scrolls there.
Rectangle {
    id: root

    required property Flickable view
    property real inset: 0

    // Where the view is in the parent, which is not the view itself.
    readonly property rect place: visible ? parent.mapFromItem(view, 0, 0, view.width, view.height) : Qt.rect(0, 0, 0, 0)

    signal followed()

    x: place.x - inset
    y: place.y - inset
    z: 1
    width: place.width + 2 * inset
    height: place.height + 2 * inset
    radius: Theme.radiusSmall
    color: "transparent"
    border.width: Theme.focusWidth
    border.color: Theme.accent
    visible: Window.activeFocusItem === view

    Connections {
        target: root.Window.window

        function onActiveFocusItemChanged() { Qt.callLater(root.look) }
    }

    // Later, because a list gives the focus to a row while it still works on its rows, and must not be moved then.
    function look() {
        const item = Window.activeFocusItem
        if (item !== null && item !== view && view.activeFocus && isReachedByKey(item)) {
            follow(item)
        }
    }

    // A pointer that gives the focus is there already.
    function isReachedByKey(item) {
        const control = item as T.Control
        return control !== null ? control.visualFocus || KeyboardUse.isOn : item.activeFocusOnTab
    }

    function follow(item) {
        const top = item.mapToItem(view.contentItem, 0, 0).y
        const bottom = top + item.height
        followed()
        if (top < view.contentY + view.topMargin) {
            view.contentY = Math.max(view.originY, top) - view.topMargin
        } else if (bottom > view.contentY + view.height - view.bottomMargin) {
            view.contentY = Math.min(top - view.topMargin, bottom + view.bottomMargin - view.height)
        }
    }
}

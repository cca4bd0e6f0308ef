import QtQuick

// The keys that scroll a view which has the focus, as far as it goes. The keys of a direction in which all is seen anyway are left
// to what stands around the view. In a view that only scrolls across, Home and End go across.
QtObject {
    id: root

    required property Flickable view

    signal scrolled()

    readonly property bool goesDown: view.topMargin + view.contentHeight + view.bottomMargin > view.height
    readonly property bool goesAcross: view.contentWidth > view.width

    function press(event) {
        const page = view.height - Theme.space36
        const down = { [Qt.Key_Up]: -Theme.space36, [Qt.Key_Down]: Theme.space36, [Qt.Key_PageUp]: -page, [Qt.Key_PageDown]: page,
                       [Qt.Key_Home]: -view.contentHeight, [Qt.Key_End]: view.contentHeight }
        const across = { [Qt.Key_Left]: -Theme.space36, [Qt.Key_Right]: Theme.space36,
                         [Qt.Key_Home]: -view.contentWidth, [Qt.Key_End]: view.contentWidth }
        event.accepted = (event.key in down && goesDown) || (event.key in across && goesAcross)
        if (event.accepted) {
            root.scrolled()
            scroll(goesDown && event.key in down ? 0 : across[event.key], goesDown ? down[event.key] ?? 0 : 0)
        }
    }

    function scroll(across, down) {
        const right = view.originX + view.contentWidth + view.rightMargin - view.width
        const bottom = view.originY + view.contentHeight + view.bottomMargin - view.height
        view.contentX = Math.max(view.originX - view.leftMargin, Math.min(right, view.contentX + across))
        view.contentY = Math.max(view.originY - view.topMargin, Math.min(bottom, view.contentY + down))
    }
}

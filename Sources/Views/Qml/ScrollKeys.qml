import QtQuick

// The keys that scroll a view which has the focus, as far as it goes.
QtObject {
    id: root

    required property Flickable view

    signal scrolled()

    function press(event) {
        const page = view.height - Theme.space36
        const down = { [Qt.Key_Up]: -Theme.space36, [Qt.Key_Down]: Theme.space36, [Qt.Key_PageUp]: -page, [Qt.Key_PageDown]: page,
                       [Qt.Key_Home]: -view.contentHeight, [Qt.Key_End]: view.contentHeight }
        const across = { [Qt.Key_Left]: -Theme.space36, [Qt.Key_Right]: Theme.space36 }
        if (event.key in down || event.key in across) {
            root.scrolled()
            scroll(across[event.key] ?? 0, down[event.key] ?? 0)
            event.accepted = true
        }
    }

    function scroll(across, down) {
        const right = view.originX + view.contentWidth + view.rightMargin - view.width
        const bottom = view.originY + view.contentHeight + view.bottomMargin - view.height
        view.contentX = Math.max(view.originX - view.leftMargin, Math.min(right, view.contentX + across))
        view.contentY = Math.max(view.originY - view.topMargin, Math.min(bottom, view.contentY + down))
    }
}

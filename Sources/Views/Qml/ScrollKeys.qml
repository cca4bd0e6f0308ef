import QtQuick

// The keys that scroll a view which has the focus.
QtObject {
    id: root

    required property Flickable view

    signal scrolled()

    function press(event) {
        const page = view.height - Theme.space36
        const steps = { [Qt.Key_Up]: -Theme.space36, [Qt.Key_Down]: Theme.space36, [Qt.Key_PageUp]: -page, [Qt.Key_PageDown]: page,
                        [Qt.Key_Home]: -view.contentHeight, [Qt.Key_End]: view.contentHeight }
        const step = steps[event.key]
        if (step !== undefined) {
            root.scrolled()
            view.contentY += step
            view.returnToBounds()
            event.accepted = true
        }
    }
}

pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Templates as T
import Tessarin

// The log itself. While a person is at its end it stays there; who reads elsewhere is left where they are.
FocusScope {
    id: root

    required property RuntimeLogPages log

    Rectangle {
        anchors.fill: parent
        radius: Theme.radiusMedium
        color: Theme.sunken
        border.width: Theme.hairline
        border.color: Theme.stroke
    }

    Prose {
        anchors.centerIn: parent
        width: parent.width - 2 * Theme.space24
        visible: root.log.isEmpty
        horizontalAlignment: Text.AlignHCenter
        text: "Nothing has been written yet.\nMost agents write here only when something is wrong."
    }

    // Another log begins at its end.
    Connections {
        target: root.log

        function onEmptyChanged() { view.atEnd = view.atEnd || root.log.isEmpty }
    }

    TextSelection {
        id: selection

        anchors.fill: parent
        anchors.margins: Theme.space12
        visible: !root.log.isEmpty
        pages: root.log

        Flickable {
            id: view

            // Only the person changes it: what else moves the view are pages that find their heights.
            property bool atEnd: true
            readonly property real end: Math.max(0, contentHeight - height)

            function readPlace() {
                atEnd = contentY >= end - Theme.hairline
            }

            // All of it is selected and copied also by who has not clicked into it.
            function press(event) {
                const letter = event.modifiers === Qt.ControlModifier ? event.key : 0
                event.accepted = letter === Qt.Key_A || (letter === Qt.Key_C && selection.hasSelection)
                if (!event.accepted) {
                    keys.press(event)
                } else if (letter === Qt.Key_A) {
                    selection.selectAll()
                } else {
                    selection.copy()
                }
            }

            function stay() {
                if (atEnd && !moving && !bar.pressed) {
                    contentY = end
                }
            }

            width: selection.width
            height: selection.height
            contentHeight: pages.height
            boundsBehavior: Flickable.StopAtBounds
            clip: true
            focus: true
            activeFocusOnTab: true
            Accessible.role: Accessible.Pane
            Accessible.name: "Runtime log"
            Keys.onPressed: event => press(event)
            onEndChanged: Qt.callLater(view.stay)
            onMovementEnded: readPlace()
            T.ScrollBar.vertical: ThinScrollBar {
                id: bar

                steady: true
                onPressedChanged: view.readPlace()
            }

            ScrollKeys {
                id: keys

                view: view
                onScrolled: {
                    view.atEnd = false
                    Qt.callLater(view.readPlace)
                }
            }

            PageStack {
                id: pages

                width: view.width - Theme.space12 // beside the scroll bar
                count: root.log.count
                kept: selection.hasSelection

                delegate: RuntimeLogPage { log: root.log }
            }
        }
    }

    ScrollFocus {
        view: view
        inset: Theme.space8
    }
}

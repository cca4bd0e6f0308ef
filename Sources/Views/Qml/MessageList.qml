pragma ComponentBehavior: Bound

import Qt.labs.qmlmodels
import QtQuick
import Tessarin

// The entries of a task. Rows are chosen by kind and exist only while they are seen. A change of the last entry's text pulls the list
// down to it; nothing else moves the list but the person.
ListView {
    id: root

    required property EntryListModel entries
    // Whether the person, or the scroll rule, has left the list at its end, where it stays when the window changes its size.
    property bool atRest: true
    // For how many frames the list is still kept there, while rows that have just come find their heights.
    property int settling: 0
    // Whether it is on its way to its end.
    readonly property alias gliding: glide.running

    clip: true
    boundsBehavior: Flickable.StopAtBounds
    topMargin: Theme.space24
    bottomMargin: Theme.fade
    // A short task keeps all of its rows: where a few rows differ very much in height, the list's guesses at those that do not exist
    // may follow each other without end.
    cacheBuffer: count <= Theme.rowsKept ? Theme.rowsKeptWithin : Theme.outputMaximum
    currentIndex: -1
    keyNavigationEnabled: false
    highlightFollowsCurrentItem: false
    activeFocusOnTab: true
    model: entries
    Accessible.role: Accessible.List
    Accessible.name: "Messages"
    onContentYChanged: atRest = contentY >= lastY() - Theme.hairline
    onWidthChanged: stay()
    onHeightChanged: stay()
    onMovementStarted: release()
    Component.onCompleted: settle()
    Keys.onPressed: event => press(event)

    function toEnd() {
        forceLayout() // with the heights that the rows have now
        positionViewAtEnd() // it knows nothing of the margins
        contentY = lastY()
        atRest = true
    }

    // Where the list is at its end. Its own mark for it is late when it has just moved. Where a short list begins is known only while its
    // first row exists; else that is a guess from the rows that exist, which may lie far below the end.
    function lastY() {
        const end = originY + contentHeight + bottomMargin - height
        return itemAtIndex(0) === null ? end : Math.max(originY - topMargin, end)
    }

    function stay() {
        if (atRest) {
            settle()
        }
    }

    function settle() {
        settling = 3
        toEnd()
        askForFrame()
    }

    function press(event) {
        const step = { [Qt.Key_Up]: -1, [Qt.Key_Down]: 1 }[event.key] ?? 0
        event.accepted = step !== 0 && event.modifiers === Qt.ControlModifier
        if (event.accepted) {
            readBeside(step)
        } else {
            keys.press(event)
        }
    }

    // Gives the keys to the next message that has a text; at first to the one at the edge of what is seen.
    function readBeside(step) {
        const seen = indexAt(width / 2, step > 0 ? contentY + topMargin : contentY + height - bottomMargin)
        const isRead = (currentItem as EntryRow)?.texts?.hasKeys ?? false
        let row = isRead ? currentIndex + step : seen >= 0 ? seen : step > 0 ? 0 : count - 1
        release()
        for (; row >= 0 && row < count; row += step) {
            positionViewAtIndex(row, ListView.Contain)
            if ((itemAtIndex(row) as EntryRow)?.texts?.takeKeys()) {
                currentIndex = row
                return
            }
        }
    }

    // The person takes over.
    function release() {
        settling = 0
        glide.stop()
    }

    // There is none by itself where nothing moves.
    function askForFrame() {
        if (Window.window !== null && settling > 0) {
            Window.window.update()
        }
    }

    function follow() {
        release()
        const from = contentY
        toEnd()
        const to = contentY
        if (to > from) {
            glide.from = Math.max(from, to - height)
            glide.to = to
            glide.start()
        } else {
            settle()
        }
    }

    ListScrollBar { view: root }

    ScrollFocus {
        parent: root.parent
        view: root
        onFollowed: root.release()
    }

    Connections {
        target: root.settling > 0 ? root.Window.window : null

        function onAfterAnimating() {
            root.settling -= 1
            root.toEnd()
            root.askForFrame()
        }
    }

    NumberAnimation {
        id: glide

        target: root
        property: "contentY"
        duration: Theme.durationShort
        easing.type: Theme.easing
        onFinished: root.settle() // rows that came on the way have found their heights
    }

    ScrollKeys {
        id: keys

        view: root
        onScrolled: root.release()
    }

    Connections {
        target: root.entries

        function onLastTextChanged() { root.follow() }
        function onModelReset() {
            root.currentIndex = -1
            root.settle()
        }
    }

    delegate: DelegateChooser {
        role: "kind"

        DelegateChoice { roleValue: "user"; UserRow { entries: root.entries } }
        DelegateChoice { roleValue: "assistant"; AssistantRow { entries: root.entries } }
        DelegateChoice { roleValue: "thought"; ThoughtRow { entries: root.entries } }
        DelegateChoice { roleValue: "tool"; ToolCard { entries: root.entries } }
        DelegateChoice { roleValue: "system"; SystemRow { entries: root.entries } }
    }
}

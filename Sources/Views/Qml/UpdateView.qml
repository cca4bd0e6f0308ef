import QtQuick
import Tessarin

// What is known about an update, and what can be done. The keyboard begins at the button that does no harm, and where nobody asked, at
// the notes: a key that was meant for another window presses nothing.
FocusScope {
    id: root

    required property UpdateFlow flow
    required property UpdateController updates
    readonly property int stage: flow.stage

    signal done()

    function takeFocus() {
        if (flow.stage === UpdateFlow.Found && flow.hasNotes) {
            notes.forceActiveFocus()
        } else {
            buttons.takeFocus()
        }
    }

    implicitHeight: column.height + 2 * column.y
    Accessible.role: Accessible.Dialog
    Accessible.name: flow.heading
    Accessible.description: flow.message

    Column {
        id: column

        x: Theme.space24
        y: Theme.space24
        width: parent.width - 2 * x
        spacing: Theme.space12

        HeadingLine {
            width: parent.width
            text: root.flow.heading
            font: Theme.titleFont
            maximumLineCount: 3 // a version may be long
        }

        Prose {
            width: parent.width
            visible: text !== ""
            text: root.flow.message
            wrapMode: Text.WrapAtWordBoundaryOrAnywhere
        }

        DetailBox {
            id: notes

            width: parent.width
            visible: root.flow.stage === UpdateFlow.Found && root.flow.hasNotes
            label: "Release notes"
            content: root.flow.notes
        }

        ProgressLine {
            width: parent.width
            visible: root.flow.stage === UpdateFlow.Fetching
            name: "Progress"
            progress: root.flow.progress
        }

        Line {
            width: parent.width
            visible: root.flow.stage === UpdateFlow.Fetching
            text: root.flow.progressText
            font: Theme.captionFont
            color: Theme.secondaryText
        }

        UpdateButtons {
            id: buttons

            width: parent.width
            flow: root.flow
            updates: root.updates
            onDone: root.done()
        }
    }

    onStageChanged: Qt.callLater(takeFocus)
    Component.onCompleted: Qt.callLater(takeFocus)
}

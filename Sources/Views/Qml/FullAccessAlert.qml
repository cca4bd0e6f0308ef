pragma ComponentBehavior: Bound

import QtQuick

// The one question that is asked before ordinary prompts are skipped.
SheetPopup {
    id: root

    signal confirmed()

    title: "Enable Full Access?"
    sheetHeight: column.height
    width: Theme.alertWidth
    padding: Theme.space24
    onOpened: cancel.forceActiveFocus()

    Column {
        id: column

        width: root.availableWidth
        spacing: Theme.space8

        SystemSymbol {
            name: "bolt.shield.fill"
            size: Theme.symbolSheet
            color: Theme.orangeMark
        }

        Line {
            topPadding: Theme.space4
            text: root.title
            font: Theme.titleFont
        }

        Prose {
            width: parent.width
            text: "The active provider will skip ordinary approval prompts. Shell commands run with your macOS account's access unless deny rules, hooks, or a configured sandbox block them."
        }

        Row {
            anchors.right: parent.right
            topPadding: Theme.space12
            spacing: Theme.space8

            PushButton {
                id: cancel

                focus: true
                text: "Cancel"
                onClicked: root.close()
            }

            PushButton {
                destructive: true
                text: "Enable Full Access"
                onClicked: {
                    root.confirmed()
                    root.close()
                }
            }
        }
    }
}

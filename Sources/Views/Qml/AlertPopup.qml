pragma ComponentBehavior: Bound

import QtQuick

// A question before something that can't be taken back. Cancel has the focus, and Escape does the same.
SheetPopup {
    id: root

    required property string symbol
    required property string text
    required property string confirmation

    signal confirmed()

    sheetHeight: column.height
    width: Theme.alertWidth
    padding: Theme.space24

    Column {
        id: column

        width: root.availableWidth
        spacing: Theme.space8

        SystemSymbol {
            name: root.symbol
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
            text: root.text
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
                text: root.confirmation
                onClicked: {
                    root.confirmed()
                    root.close()
                }
            }
        }
    }
}

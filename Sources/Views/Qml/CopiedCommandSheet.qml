pragma ComponentBehavior: Bound

import QtQuick
import Tessarin

// A command that stands on the pasteboard, shown where no terminal could be opened for it.
SheetPopup {
    id: root

    required property InstallModel install

    title: "Copied"
    sheetHeight: column.height
    onClosed: install.dismissCopiedCommand()
    onOpened: close.forceActiveFocus()

    Column {
        id: column

        width: root.availableWidth
        spacing: Theme.space12

        Line {
            text: root.title
            font: Theme.titleFont
        }

        Prose {
            width: parent.width
            text: "No terminal could be opened. Open one yourself and paste this command."
        }

        CommandPanel {
            width: parent.width
            command: root.install.copiedCommand
        }

        PushButton {
            id: close

            anchors.right: parent.right
            text: "Close"
            onClicked: root.close()
        }
    }
}

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

    Column {
        id: column

        width: root.availableWidth
        spacing: Theme.space18

        SheetHead {
            width: parent.width
            symbol: "doc.on.doc"
            heading: root.title
            subject: "No terminal could be opened. Open one yourself and paste this command."
        }

        CommandPanel {
            width: parent.width
            command: root.install.copiedCommand
        }

        PushButton {
            id: close

            anchors.right: parent.right
            focus: true
            text: "Close"
            onClicked: root.close()
        }
    }
}

pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Templates as T
import Tessarin

// An agent asks. Every answer is a button; Escape rejects, Return gives the permission for once where it is offered. The sheet goes only
// with the request.
SheetPopup {
    id: root

    required property PermissionModel permission

    title: permission.heading
    sheetHeight: column.height
    closePolicy: T.Popup.NoAutoClose

    // A Return that was meant for something else as the sheet came up gives no permission: it has to stand first.
    function allowOnce() {
        if (opened && permission.defaultChoice !== "")
            permission.respond(permission.defaultChoice)
    }

    Column {
        id: column

        width: root.availableWidth
        spacing: Theme.space18
        Keys.onEscapePressed: root.permission.reject()
        Keys.onReturnPressed: root.allowOnce()
        Keys.onEnterPressed: root.allowOnce()

        SheetHead {
            width: parent.width
            symbol: "checkmark.shield.fill"
            heading: root.permission.heading
            subject: root.permission.subject
        }

        DetailBox {
            width: parent.width
            label: "Detail"
            text: root.permission.detail
            focus: true
        }

        Prose {
            width: parent.width
            visible: text !== ""
            text: root.permission.note
            color: Theme.red
        }

        Item {
            width: parent.width
            height: Math.max(reject.height, choices.height)

            PushButton {
                id: reject

                text: "Reject"
                onClicked: root.permission.reject()
            }

            Flow {
                id: choices

                anchors.right: parent.right
                width: Math.min(row.width, parent.width - reject.width - Theme.space24)
                spacing: Theme.space8

                Repeater {
                    model: root.permission.choices

                    PushButton {
                        required property permissionChoice modelData

                        width: Math.min(implicitWidth, choices.width)
                        prominent: modelData.isDefault
                        text: modelData.name
                        onClicked: root.permission.respond(modelData.id)
                    }
                }
            }

            // How wide the permissions are when they stand in one row.
            Row {
                id: row

                visible: false
                spacing: Theme.space8

                Repeater {
                    model: root.permission.choices

                    PushButton {
                        required property permissionChoice modelData

                        text: modelData.name
                    }
                }
            }
        }
    }
}

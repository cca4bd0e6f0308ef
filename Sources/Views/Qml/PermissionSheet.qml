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

    // A Return or a click that was meant for something else gives no permission: the request has to stand first, also one that takes the
    // place of another.
    readonly property bool stands: opened && !arrival.running

    function allow(choice) {
        if (stands)
            permission.respond(choice)
    }

    function allowOnce() {
        if (permission.hasDefaultChoice)
            allow(permission.defaultChoice)
    }

    Connections {
        target: root.permission
        function onRequestArrived() {
            arrival.restart()
            detail.forceActiveFocus()
        }
    }

    NumberAnimation {
        id: arrival

        target: column
        property: "opacity"
        from: 0
        to: 1
        duration: Theme.durationMedium
        easing.type: Theme.easing
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
            id: detail

            width: parent.width
            label: "Detail"
            content: root.permission.detail
            focus: true
        }

        Prose {
            width: parent.width
            visible: text !== ""
            text: root.permission.note
            color: Theme.red
        }

        Item {
            id: answers

            width: parent.width
            height: Math.max(reject.height, list.height)

            PushButton {
                id: reject

                text: "Reject"
                onClicked: root.permission.reject()
            }

            // However many there are, the sheet stays within the window.
            Flickable {
                id: list

                function show(choice) {
                    contentY = Math.max(choice.y + choice.height - height, Math.min(contentY, choice.y))
                }

                anchors.right: parent.right
                width: Math.ceil(choices.width)
                height: Math.min(choices.height, 4 * Theme.controlHeight + 3 * Theme.space8)
                contentHeight: choices.height
                boundsBehavior: Flickable.StopAtBounds
                clip: contentHeight > height

                T.ScrollBar.vertical: ThinScrollBar {
                    parent: answers
                    steady: true
                    height: list.height
                    anchors.left: list.right
                    anchors.leftMargin: Theme.space4
                }

                // In one row where they fit, else one below the other.
                Grid {
                    id: choices

                    x: list.width - width
                    readonly property int room: answers.width - Math.ceil(reject.width) - Theme.space24

                    columns: row.width <= room ? row.children.length : 1
                    horizontalItemAlignment: Grid.AlignRight
                    spacing: Theme.space8

                    Repeater {
                        model: root.permission.choices

                        PushButton {
                            id: choice

                            required property permissionChoice modelData

                            width: Math.min(Math.ceil(implicitWidth), choices.room)
                            prominent: modelData.isDefault
                            text: modelData.name
                            onClicked: root.allow(modelData.id)
                            onActiveFocusChanged: if (activeFocus) list.show(choice)
                        }
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

pragma ComponentBehavior: Bound

import QtQuick
import QtQml.Models
import Tessarin

// The menu of the approval modes. Full access is orange wherever it shows, and is entered only after a confirmation.
PlainButton {
    id: root

    required property PermissionModel permission

    menu: true
    text: permission.modeLabel
    symbol: permission.modeSymbol
    symbolColor: permission.isFullAccess ? Theme.orangeMark : Theme.secondaryText
    textColor: permission.isFullAccess ? Theme.orange : Theme.secondaryText
    enabled: permission.canChangeMode
    Accessible.description: permission.modeHelp
    onClicked: popup.active = true

    HoverTip {
        text: root.permission.modeHelp
        shown: root.hovered
    }

    LazyItem {
        id: popup

        active: false

        sourceComponent: AppMenu {
            id: menu

            y: -height - Theme.space8
            name: "Permission mode"
            Component.onCompleted: open()
            onClosed: popup.active = false

            Instantiator {
                model: root.permission.modeChoices
                onObjectAdded: (index, object) => menu.insertItem(index, object)
                onObjectRemoved: (index, object) => menu.removeItem(object)

                AppMenuItem {
                    required property permissionModeChoice modelData

                    text: modelData.title
                    symbol: modelData.symbol
                    symbolColor: modelData.isFullAccess ? Theme.orangeMark : Theme.secondaryText
                    current: modelData.isCurrent
                    onTriggered: modelData.isFullAccess ? confirmation.active = true : root.permission.setMode(modelData.mode)
                }
            }
        }
    }

    LazyItem {
        id: confirmation

        active: false

        sourceComponent: FullAccessAlert {
            onConfirmed: root.permission.enableFullAccess()
            onClosed: confirmation.active = false
        }
    }
}

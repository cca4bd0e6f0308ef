pragma ComponentBehavior: Bound

import QtQuick
import QtQml.Models
import Tessarin

// The menu of the routing modes; it opens upwards from the composer.
PlainButton {
    id: root

    required property ConversationModel conversation

    menu: true
    text: conversation.routingLabel
    symbol: conversation.routingSymbol
    textColor: Theme.secondaryText
    enabled: conversation.canChangeRoutingMode
    onClicked: popup.active = true

    LazyItem {
        id: popup

        active: false

        sourceComponent: AppMenu {
            id: menu

            y: -height - Theme.space8
            name: "Provider"
            Component.onCompleted: open()
            onClosed: popup.active = false

            Instantiator {
                model: root.conversation.routingChoices
                onObjectAdded: (index, object) => menu.insertItem(index, object)
                onObjectRemoved: (index, object) => menu.removeItem(object)

                AppMenuItem {
                    required property routingChoice modelData

                    text: modelData.title
                    symbol: modelData.symbol
                    current: modelData.isCurrent
                    onTriggered: root.conversation.setRoutingMode(modelData.mode)
                }
            }
        }
    }
}

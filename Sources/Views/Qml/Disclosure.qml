import QtQuick

// The mark of what opens: it turns from pointing right to pointing down.
SystemSymbol {
    id: root

    required property bool expanded

    name: "chevron.right"
    size: Theme.symbolTiny
    color: Theme.secondaryText
    rotation: expanded ? 90 : 0

    Behavior on rotation { NumberAnimation { duration: Theme.durationShort; easing.type: Theme.easing } }
}

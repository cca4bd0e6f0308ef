pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Templates as T
import Tessarin

// A tool tip, above its control, or below where the window ends. It exists only while it is wanted.
LazyItem {
    id: root

    required property string text
    required property bool shown
    property int delay: Theme.delayToolTip

    active: shown && text !== ""
    anchors.fill: parent

    sourceComponent: T.ToolTip {
        id: tip

        x: root.width - width > 0 ? (root.width - width) / 2 : 0
        y: root.mapToItem(null, 0, 0).y < height + 2 * Theme.space6 ? root.height + Theme.space6 : -height - Theme.space6
        margins: Theme.space6
        leftPadding: Theme.space8
        rightPadding: Theme.space8
        topPadding: Theme.space4
        bottomPadding: Theme.space4
        implicitWidth: Math.min(Theme.toolTipMaximum, label.implicitWidth + leftPadding + rightPadding)
        implicitHeight: label.implicitHeight + topPadding + bottomPadding
        visible: true
        delay: root.delay
        text: root.text
        closePolicy: T.Popup.CloseOnEscape | T.Popup.CloseOnPressOutsideParent

        Prose {
            id: label

            width: tip.availableWidth
            text: tip.text
            font: Theme.captionFont
            color: Theme.text
            wrapMode: Text.Wrap
        }

        background: Rectangle {
            radius: Theme.radiusSmall
            color: Theme.card
            border.width: Theme.hairline
            border.color: Theme.stroke
        }
    }
}

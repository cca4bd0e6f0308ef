import QtQuick
import QtQuick.Templates as T
import Tessarin

// What a tool printed, line by line as it stands. It scrolls both ways and leaves the wheel to the list at its ends.
Item {
    id: root

    required property EntryListModel entries
    required property int row
    required property string label

    implicitHeight: Math.min(Theme.outputMaximum, text.implicitHeight + 2 * Theme.space12)

    Rectangle {
        anchors.fill: parent
        anchors.margins: Theme.hairline
        radius: Theme.radiusMedium - Theme.hairline
        color: Theme.sunken

        Rectangle {
            width: parent.width
            height: parent.radius
            color: parent.color
        }
    }

    Hairline {
        x: Theme.hairline
        width: parent.width - 2 * Theme.hairline
    }

    Flickable {
        id: view

        anchors.fill: parent
        anchors.margins: Theme.space12
        contentWidth: text.width
        contentHeight: text.height
        boundsBehavior: Flickable.StopAtBounds
        clip: true
        activeFocusOnTab: contentWidth > width || contentHeight > height
        Accessible.role: Accessible.Pane
        Accessible.name: root.label
        Keys.onPressed: event => keys.press(event)
        T.ScrollBar.vertical: ThinScrollBar {}
        T.ScrollBar.horizontal: ThinScrollBar {}

        ScrollKeys {
            id: keys

            view: view
        }

        PlainPages {
            id: text

            width: Math.max(implicitWidth, view.width)
            entries: root.entries
            row: root.row
            label: root.label
            wrapMode: TextEdit.NoWrap
            lineHeight: Theme.lineCodeSmall
            font: Theme.codeSmallFont
        }
    }

    ScrollFocus {
        view: view
        inset: Theme.space8
    }
}

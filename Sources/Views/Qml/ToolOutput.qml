pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Templates as T
import Tessarin

// What a tool printed, line by line as it stands. It scrolls both ways and leaves the wheel to the list at its ends. Only the pages that are
// seen exist, so that it opens at once, however much it is. A line that is in several pages is wrapped: as one it would be laid out as a
// whole to show its begin, and nobody reads across a hundred widths of a window.
Item {
    id: root

    required property EntryListModel entries
    required property int row
    required property string label
    readonly property alias texts: selection

    implicitHeight: Math.min(Theme.outputMaximum, printed.lineCount * Theme.lineCodeSmall + 2 * Theme.space12)

    OutputPages {
        id: printed

        entries: root.entries
        row: root.row
    }

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

    TextSelection {
        id: selection

        anchors.fill: parent
        anchors.margins: Theme.space12
        pages: printed

        ListView {
            id: view

            // The widest page that was seen.
            property real widest: 0

            height: root.height - 2 * Theme.space12
            contentWidth: Math.max(widest, width)
            flickableDirection: Flickable.AutoFlickIfNeeded
            boundsBehavior: Flickable.StopAtBounds
            clip: true
            currentIndex: -1
            keyNavigationEnabled: false
            // What is selected stays, wherever it is scrolled to.
            cacheBuffer: selection.hasSelection ? Theme.outputKeptWithin : Theme.outputAhead
            model: printed
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

            delegate: OrderedItem {
                id: page

                required property int index
                required property styledRuns content
                required property bool continued
                required property bool endless

                order: index
                width: view.contentWidth
                height: text.height

                SelectableText {
                    id: text

                    content: page.content
                    label: root.label
                    separator: page.continued ? "" : "\n"
                    lineHeight: Theme.lineCodeSmall
                    width: page.endless ? view.width : undefined
                    wrapMode: page.endless ? TextEdit.WrapAnywhere : TextEdit.NoWrap
                    font: Theme.codeSmallFont
                    onImplicitWidthChanged: if (!page.endless) view.widest = Math.max(view.widest, implicitWidth)
                }
            }
        }
    }

    ScrollFocus {
        view: view
        inset: Theme.space8
    }
}

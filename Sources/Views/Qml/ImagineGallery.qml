pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Templates as T
import Tessarin

// The creations in columns as wide as they fit. Only the cards in sight exist. Tab leads to one of them, the arrows lead from card to card.
Item {
    id: root

    required property ImagineModel imagine

    signal emptied() // while a card had the focus

    GalleryEmpty {
        anchors.centerIn: parent
        visible: root.imagine.count === 0
    }

    GridView {
        id: grid

        readonly property int span: root.width - 2 * Theme.space18 + Theme.gallerySpacing
        readonly property int columns: Math.max(1, Math.floor(span / (Theme.cardMinimum + Theme.gallerySpacing)))
        readonly property int cardWidth: Math.min(Theme.cardMaximum, cellWidth - Theme.gallerySpacing)

        function passFocus() {
            if (activeFocus && currentItem !== null) {
                currentItem.forceActiveFocus(Qt.TabFocusReason)
            } else if (activeFocus && count === 0) {
                root.emptied()
            }
        }

        function press(event) {
            const page = columns * Math.max(1, Math.floor(height / cellHeight))
            const steps = { [Qt.Key_PageUp]: -page, [Qt.Key_PageDown]: page, [Qt.Key_Home]: -count, [Qt.Key_End]: count }
            event.accepted = event.key in steps
            if (event.accepted) {
                currentIndex = Math.max(0, Math.min(count - 1, currentIndex + steps[event.key]))
            }
        }

        x: Theme.space18
        width: span + Theme.space4
        height: root.height
        topMargin: Theme.space18
        bottomMargin: Theme.space8
        cellWidth: Math.floor(span / columns)
        cellHeight: Math.round(cardWidth / Theme.previewAspect) + Theme.cardInfo + Theme.gallerySpacing
        clip: true
        boundsBehavior: Flickable.StopAtBounds
        highlightMoveDuration: Theme.durationShort
        model: root.imagine.items
        Accessible.role: Accessible.List
        Accessible.name: "Creations"
        T.ScrollBar.vertical: ThinScrollBar {}
        Keys.onPressed: event => press(event)
        onCurrentItemChanged: passFocus()
        onCountChanged: if (count === 0) passFocus()

        delegate: ImagineCard {
            width: grid.cardWidth
            height: grid.cellHeight - Theme.gallerySpacing
            imagine: root.imagine
            reachable: GridView.isCurrentItem
            onTaken: grid.currentIndex = index
        }
    }

    ScrollFocus { view: grid }

    // A card that went leaves the focus to the view as a whole.
    Connections {
        target: root.Window.window

        function onActiveFocusItemChanged() {
            if (root.Window.activeFocusItem === grid) {
                Qt.callLater(grid.passFocus)
            }
        }
    }

    // The gallery runs out softly.
    Rectangle {
        anchors.bottom: grid.bottom
        width: parent.width
        height: Theme.fade
        gradient: Gradient {
            GradientStop { position: 0; color: Qt.alpha(Theme.window, 0) }
            GradientStop { position: 1; color: Theme.window }
        }
    }
}

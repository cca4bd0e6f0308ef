import QtQuick

// What stands in place of the first creation.
Column {
    id: root

    spacing: Theme.spaceGalleryEmpty

    SystemSymbol {
        anchors.horizontalCenter: parent.horizontalCenter
        name: "photo.on.rectangle.angled"
        size: Theme.symbolHero
        color: Theme.accent
    }

    Line {
        anchors.horizontalCenter: parent.horizontalCenter
        text: "Create something new"
        font: Theme.titleFont
    }

    Prose {
        anchors.horizontalCenter: parent.horizontalCenter
        horizontalAlignment: Text.AlignHCenter
        text: "Describe an image or video. Grok Build will generate it\nand tessarin will keep a local copy in your library."
        font: Theme.bodyFont
    }
}

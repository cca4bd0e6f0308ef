import QtQuick
import Tessarin

// What the sidebar tells of the library while Imagine is shown.
Column {
    id: root

    required property ImagineModel imagine

    spacing: Theme.spaceRow

    Line {
        width: parent.width
        text: "IMAGINE LIBRARY"
        font: Theme.overlineFont
        color: Theme.secondaryText
    }

    Line {
        width: parent.width
        text: root.imagine.countLabel
        font: Theme.titleFont
    }

    Prose {
        width: parent.width
        text: "Images and videos are generated through Grok Build and saved locally on this Mac."
        font: Theme.captionFont
    }
}

import QtQuick
import Tessarin

// The picture of a creation; for a film, and where there is no picture to be had, a gradient with a play mark.
Item {
    id: root

    property alias loader: picture.loader
    property alias path: picture.path

    signal tapped()

    Rectangle {
        anchors.fill: parent
        color: Theme.sunken
    }

    Rectangle {
        anchors.fill: parent
        visible: !picture.hasPicture && !picture.isPending
        gradient: Gradient {
            GradientStop { position: 0; color: Theme.accentFill }
            GradientStop { position: 1; color: Theme.accentDepth }
        }

        SystemSymbol {
            anchors.centerIn: parent
            name: "play.circle.fill"
            size: Theme.symbolHero
            color: Theme.inkOnAccent
        }
    }

    Preview {
        id: picture

        anchors.fill: parent
        cardSize: Qt.size(Theme.cardMaximum, Math.round(Theme.cardMaximum / Theme.previewAspect))
    }

    TapHandler { onSingleTapped: root.tapped() } // a double click opens it once
}

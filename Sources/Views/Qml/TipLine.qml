import QtQuick
import Tessarin

// A text on one line that is shown whole above it when it has been cut and the pointer rests on it.
Line {
    id: root

    HoverHandler {
        id: pointer

        enabled: root.truncated
    }

    HoverTip {
        text: root.text
        shown: root.truncated && pointer.hovered
    }
}

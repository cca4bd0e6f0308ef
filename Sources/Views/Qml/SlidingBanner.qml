import QtQuick

// The banner at the top of what it stands in: it comes down from the edge, and goes the same way.
ErrorBanner {
    id: root

    required property bool shown

    x: Theme.bannerInset
    y: shown ? Theme.space8 : -height
    width: parent.width - 2 * Theme.bannerInset
    visible: opacity > 0
    opacity: shown ? 1 : 0

    Behavior on y { NumberAnimation { duration: Theme.durationMedium; easing.type: Theme.easing } }
    Behavior on opacity { NumberAnimation { duration: Theme.durationMedium; easing.type: Theme.easing } }
}

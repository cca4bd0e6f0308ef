import QtQuick

// A field whose text is stored as it is typed, at each letter. What is stored may differ from what was typed, because blanks go or nothing
// stands for something: that is seen when the person has finished. What is stored as it was typed is shown at once when it comes from
// elsewhere. Neither moves the caret while they type.
TextEntry {
    id: root

    required property string stored
    property bool storesAsTyped: false
    property bool isBeingTyped: false
    property bool isShowing: false // what is stored, and so has not to be stored again

    signal entered(string text)

    function showStored() {
        const caret = activeFocus ? cursorPosition : 0 // whoever is elsewhere sees the beginning
        isBeingTyped = false
        isShowing = true
        text = stored
        isShowing = false
        cursorPosition = Math.min(caret, length)
    }

    // Not when it is edited: what a screen reader enters is not.
    onTextChanged: {
        if (!isShowing) {
            isBeingTyped = activeFocus
            entered(text)
        }
    }
    onStoredChanged: {
        if ((storesAsTyped || !isBeingTyped) && text !== stored) {
            showStored()
        }
    }
    onEditingFinished: showStored()
    onActiveFocusChanged: if (!activeFocus) showStored()
    Component.onCompleted: showStored()
}

import Tessarin

// The one question that is asked before a quit stops an agent.
AlertPopup {
    required property Quitting quitting

    title: "Quit tessarin?"
    symbol: "exclamationmark.triangle.fill"
    text: quitting.question
    confirmation: "Quit"
    onConfirmed: quitting.confirm()
    onAboutToHide: quitting.giveUp()
}

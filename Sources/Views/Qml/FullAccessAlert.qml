// The one question that is asked before ordinary prompts are skipped.
AlertPopup {
    title: "Enable Full Access?"
    symbol: "bolt.shield.fill"
    text: "The active provider will skip ordinary approval prompts. Shell commands run with your macOS account's access unless deny rules, hooks, or a configured sandbox block them."
    confirmation: "Enable Full Access"
}

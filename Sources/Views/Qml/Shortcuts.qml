pragma Singleton

import QtQuick

// The keys of the program, each written once: what acts on them and what lists them read them here.
QtObject {
    readonly property string newTask: "Ctrl+N"
    readonly property string openProject: "Ctrl+O"
    readonly property string showCode: "Ctrl+1"
    readonly property string showImagine: "Ctrl+2"
    readonly property string previousTask: "Ctrl+PgUp"
    readonly property string nextTask: "Ctrl+PgDown"
    readonly property string goToMessage: "Ctrl+L"
    readonly property string changePane: "F6"
    readonly property string toggleSidebar: "F9"
    readonly property string goToMenus: "F10"
    readonly property string stopAgent: "Shift+Escape"
    readonly property string settings: "Ctrl+,"
    readonly property string closeWindow: "Ctrl+W" // of a window beside the main one, like Escape; every desktop knows it, so it is not listed
    readonly property string listKeys: "Ctrl+?"
    readonly property string quit: "Ctrl+Q"

    readonly property var groups: [
        { name: "Everywhere", keys: [
            { keys: newTask, does: "New task" }, { keys: openProject, does: "Open a project" },
            { keys: showCode, does: "Show Code" }, { keys: showImagine, does: "Show Imagine" },
            { keys: previousTask, does: "Previous task" }, { keys: nextTask, does: "Next task" },
            { keys: goToMessage, does: "Go to the message" }, { keys: changePane, does: "Go between the sidebar and the message" },
            { keys: toggleSidebar, does: "Show or hide the sidebar" }, { keys: goToMenus, does: "Go to the menus" },
            { keys: stopAgent, does: "Stop the agent" }, { keys: settings, does: "Settings" }, { keys: listKeys, does: "List the keys" }, { keys: quit, does: "Quit" },
            { keys: "Tab, Shift+Tab", does: "Next or previous control" }, { keys: "Space", does: "Press the control" } ] },
        { name: "Message", keys: [
            { keys: "Return", does: "Send the message" }, { keys: "Shift+Return", does: "Add a line to the message" } ] },
        { name: "When an agent asks", keys: [
            { keys: "Return", does: "Allow once, when an agent asks" }, { keys: "Escape", does: "Reject, when an agent asks" } ] },
        { name: "Sidebar", keys: [
            { keys: "Up, Down, PgUp, PgDown, Home, End", does: "Another row" },
            { keys: "Space", does: "Show the task" }, { keys: "Return", does: "Show the task and write in it" },
            { keys: "Menu, Shift+F10, Delete", does: "Menu of the row" },
            { keys: "Left, Right", does: "Another section, or another width at the edge" } ] },
        { name: "Gallery", keys: [
            { keys: "Arrows, PgUp, PgDown, Home, End", does: "Another creation" }, { keys: "Return", does: "Open the creation" },
            { keys: "Menu, Shift+F10, Delete", does: "Menu of the creation" } ] },
        { name: "Messages, code, tables and outputs", keys: [
            { keys: "Up, Down, PgUp, PgDown, Home, End", does: "Scroll" }, { keys: "Left, Right", does: "Scroll across" },
            { keys: "Ctrl+Up, Ctrl+Down", does: "Another message" }, { keys: "Ctrl+A, Ctrl+C", does: "Select all, copy" },
            { keys: "Return", does: "Follow the link" } ] },
    ]
}

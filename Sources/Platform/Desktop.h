#pragma once

#include <functional>
#include <optional>
#include <string>

namespace tessarin
{

// The desktop around the program. The window implements it; tests pass one that records. Main thread only.
class Desktop
{
public:
    virtual ~Desktop() = default;

    struct FolderQuestion {
        std::string title;
        std::string prompt; // the text of the confirming button
    };
    // Asks for one folder, new ones allowed; `done` runs later with the path, or with absent when the person gave up.
    virtual void chooseFolder(const FolderQuestion& question, std::function<void(std::optional<std::string>)> done) = 0;
    struct FileQuestion {
        std::string title;
    };
    // Asks for one file that is there; `done` runs later with the path, or with absent when the person gave up.
    virtual void chooseFile(const FileQuestion& question, std::function<void(std::optional<std::string>)> done) = 0;
    // Shows the file or folder in the file manager.
    virtual void reveal(const std::string& path) = 0;
    // Opens the file with the person's application for its type.
    virtual void open(const std::string& path) = 0;
    // Moves the file to the desktop's trash, now or a little later. What can't be moved stays where it is, without a word.
    virtual void moveToTrash(const std::string& path) = 0;
    // Replaces what is on the pasteboard.
    virtual void copyToPasteboard(const std::string& text) = 0;
    // The same, with the mark that asks managers of the pasteboard not to keep or show it.
    virtual void copySecretToPasteboard(const std::string& text) = 0;
    // Opens the person's terminal application; `done` tells later whether there was one.
    virtual void openTerminal(std::function<void(bool wasOpened)> done) = 0;
};

} // namespace tessarin

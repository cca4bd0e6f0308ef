#pragma once

#include "Platform/Desktop.h"
#include "Views/DesktopPortal.h"
#include "Views/FilePicker.h"
#include "Views/FolderPicker.h"

namespace tessarin
{

// The desktop around the window: its own dialogs and programs where it has them, else ours. Main thread only; the references outlive it.
// Its dialogs for a path are modal: while the desktop has one of them open, no other is asked for, and such a question ends without a path.
class QtDesktop : public Desktop
{
public:
    QtDesktop(DesktopPortal& portal, FolderPicker& folderPicker, FilePicker& filePicker);

    void chooseFolder(const FolderQuestion& question, std::function<void(std::optional<std::string>)> done) override;
    void chooseFile(const FileQuestion& question, std::function<void(std::optional<std::string>)> done) override;
    void reveal(const std::string& path) override;
    void open(const std::string& path) override;
    void moveToTrash(const std::string& path) override;
    void copyToPasteboard(const std::string& text) override;
    void copySecretToPasteboard(const std::string& text) override;
    void openTerminal(std::function<void(bool wasOpened)> done) override;

private:
    using PathDone = std::function<void(std::optional<std::string>)>;
    // `askOurs` puts the same question in the window, where the desktop has no dialog for it.
    void choosePath(DesktopPortal::PathDialog dialog, PathDone done, std::function<void(PathDone)> askOurs);

    DesktopPortal& m_portal;
    FolderPicker& m_folderPicker;
    FilePicker& m_filePicker;
    bool m_isChoosing = false; // in a dialog of the desktop, or it has not said yet whether it has one
};

} // namespace tessarin

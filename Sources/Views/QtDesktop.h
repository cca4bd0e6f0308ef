#pragma once

#include "Platform/Desktop.h"
#include "Views/DesktopPortal.h"
#include "Views/FilePicker.h"
#include "Views/FolderPicker.h"

namespace tessarin
{

// The desktop around the window: its own dialogs and programs where it has them, else ours. Main thread only; the references outlive it.
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
    DesktopPortal& m_portal;
    FolderPicker& m_folderPicker;
    FilePicker& m_filePicker;
};

} // namespace tessarin

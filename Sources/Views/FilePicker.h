#pragma once

#include "Views/FolderPicker.h"

namespace tessarin
{

// The window's own dialog for a file that is there. Programs stand in hidden folders, so those are shown too. Main thread only.
class FilePicker : public tessarin::FolderPicker // the whole name, for the types of QML
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The program makes its file picker")
    Q_PROPERTY(QStringList entries MEMBER m_entries NOTIFY pathChanged) // folders, with a "/" at their end, and then files
public:
    static constexpr const char* acceptLabel = "Choose";

    void ask(const Desktop::FileQuestion& question, Done done);

    // A file is the answer, a folder is gone to; what is neither leaves the dialog open and says so.
    void submit(const QString& path) override;
    void accept(const QString& path) override;
    // Of an entry of the folder that is shown.
    Q_INVOKABLE QString pathOf(const QString& entry) const;

protected:
    void readFolder(const QString& path) override;

private:
    QStringList m_entries;
};

} // namespace tessarin

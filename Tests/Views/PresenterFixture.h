#pragma once

#include "AppModelFixture.h"
#include "Printing.h"
#include "Views/Appearance.h"
#include "Views/FolderPicker.h"
#include "Views/WindowModel.h"

namespace tessarin
{

// The presenters of the window on a real model with scripted runtimes.
class PresenterTest : public testing::AppModelTest
{
protected:
    PresenterTest() : appearance(preferences), window(appearance, folderPicker, [this] { return clock; })
    {
        window.provideSettings({ preferences, desktop, filePicker });
    }

    void openWindow(std::initializer_list<std::string_view> programs = { "grok" })
    {
        openProject(programs);
        window.attach(model);
    }
    QVariant conversation(const char* property) { return window.conversation()->property(property); }
    QVariant shown(const char* property) { return window.property(property); }

    Appearance appearance;
    FolderPicker folderPicker;
    FilePicker filePicker;
    WindowModel window;
};

} // namespace tessarin

#pragma once

#include "Imagine/ImagineStore.h"
#include "TemporaryFolder.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace tessarin
{

// A library in an application support directory of its own.
class LibraryFixture : public testing::Test
{
protected:
    [[nodiscard]] StoreLocations locations() const { return { .configuration = m_folder / "config", .data = support("tessarin") }; }
    [[nodiscard]] std::string support(const std::string& name = "") const { return m_folder / "share/" + name; }
    [[nodiscard]] std::string library(const std::string& name = "") const
    {
        return support("tessarin/Imagine") + (name.empty() ? "" : "/" + name);
    }
    [[nodiscard]] std::string history() const { return library("history.json"); }
    [[nodiscard]] std::string legacy(const std::string& name = "") const { return support("Ombrelan/Imagine/") + name; }

    // A file that an agent has made.
    std::string made(const std::string& name, const std::string& bytes = "bytes") const
    {
        writeWholeFile(m_folder / name, bytes);
        return m_folder / name;
    }
    // Of a file in the library.
    ImagineItem importedItem(const std::string& name, const std::string& prompt = "prompt") const
    {
        const auto item = ImagineStore::importMedia(made(name), prompt, locations());
        EXPECT_TRUE(item && item.value()) << name;
        return item && item.value() ? *item.value() : ImagineItem();
    }
    [[nodiscard]] std::vector<ImagineItem> loaded() const { return ImagineStore(locations()).load(); }
    void saveAndEnd(const std::vector<ImagineItem>& items) const
    {
        ImagineStore store(locations());
        const auto before = store.load();
        store.save(items);
    }

    const TemporaryFolder m_folder;
};

} // namespace tessarin

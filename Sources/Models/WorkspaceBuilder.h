#pragma once

#include "Models/Workspace.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace tessarin
{

// Makes the tree's records from the events of a JSON reader, in the order of the document, without a tree of general values in between.
// An operation returns false for what makes the whole document undecodable; the builder is then of no use.
class WorkspaceBuilder
{
public:
    // What the next value of an object is for.
    enum class Field {
        unknown,
        id,
        name,
        path,
        threads,
        title,
        sessionId,
        providerSessionIDs,
        lastProvider,
        entries,
        createdAt,
        updatedAt,
        kind,
        text,
        status,
        provider,
    };
    // Where in the document the next value belongs. Each place has one parent, so no stack is needed.
    enum class Place { document, workspaces, workspace, threads, thread, sessions, entries, entry };

    // The reader's events. Requires: they are those of well-formed JSON.
    [[nodiscard]] bool openArray();
    void closeArray();
    [[nodiscard]] bool openObject();
    [[nodiscard]] bool closeObject();
    void takeKey(std::string_view key);
    [[nodiscard]] bool takeText(std::string_view text);
    [[nodiscard]] bool takeNumber(double number);
    [[nodiscard]] bool takeBoolean() const { return isPassedOver(); }
    [[nodiscard]] bool takeNull();

    // The next value belongs to an unknown key, so that the reader need not collect it.
    [[nodiscard]] bool isPassedOver() const;

    [[nodiscard]] Place place() const { return m_place; }
    // As far as they have been read.
    [[nodiscard]] const std::vector<Workspace>& workspaces() const { return m_workspaces; }
    [[nodiscard]] std::vector<Workspace> takeWorkspaces() { return std::move(m_workspaces); }

private:
    [[nodiscard]] bool takeWorkspaceText(std::string_view text);
    [[nodiscard]] bool takeThreadText(std::string_view text);
    [[nodiscard]] bool takeEntryText(std::string_view text);
    // For the open object of the place.
    void noteField();

    [[nodiscard]] Workspace& workspace() { return m_workspaces.back(); }
    [[nodiscard]] ChatThread& thread() { return workspace().threads.back(); }
    [[nodiscard]] ChatEntry& entry() { return thread().entries.back(); }

    std::vector<Workspace> m_workspaces;
    Place m_place = Place::document;
    Field m_field = Field::unknown;
    std::uint32_t m_workspaceFields = 0; // that the open project has, by bit
    std::uint32_t m_threadFields = 0; // that the open task has
    std::uint32_t m_entryFields = 0; // that the open entry has
    std::size_t m_passedOverDepth = 0; // inside the value of an unknown key
    std::string m_sessionProvider; // the key of the next session
};

} // namespace tessarin

#pragma once

#include <filesystem>
#include <string>

namespace tessarin
{

// A folder for an agent that nobody trusts, thrown away with the object: a project, empty each time, and nothing beside it. It is the
// working directory of this process as well, so that inputs can name files without knowing where it is. One at a time.
class Playground
{
public:
    Playground();
    ~Playground();
    Playground(const Playground&) = delete;
    Playground& operator=(const Playground&) = delete;

    [[nodiscard]] std::string project() const { return m_project.string(); }
    // Empties the project.
    void clear() const;
    // Whether the project is all there is.
    [[nodiscard]] bool holdsTheProjectAlone() const;

private:
    std::filesystem::path m_folder;
    std::filesystem::path m_project;
};

} // namespace tessarin

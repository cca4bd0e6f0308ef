#include "Playground.h"

#include "FuzzTarget.h"

#include <stdlib.h>

namespace tessarin
{

namespace fs = std::filesystem;

Playground::Playground()
{
    // In memory where that is possible: each written file is synchronized.
    const fs::path memory = "/dev/shm";
    std::string pattern = ((fs::is_directory(memory) ? memory : fs::temp_directory_path()) / "tessarin-fuzz-XXXXXX").string();
    fuzzRequire(::mkdtemp(pattern.data()) != nullptr, "there is a folder to play in");
    m_folder = pattern;
    m_project = m_folder / "project";
    fs::create_directory(m_project);
    fs::current_path(m_project);
}

Playground::~Playground()
{
    std::error_code ignored;
    fs::current_path("/", ignored);
    fs::remove_all(m_folder, ignored);
}

void Playground::clear() const
{
    for (const auto& entry : fs::directory_iterator(m_project)) {
        fs::remove_all(entry.path());
    }
}

bool Playground::holdsTheProjectAlone() const
{
    return std::distance(fs::directory_iterator(m_folder), fs::directory_iterator()) == 1 && fs::is_directory(m_project);
}

} // namespace tessarin

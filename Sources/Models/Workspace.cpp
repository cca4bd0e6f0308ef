#include "Models/Workspace.h"

#include "Platform/Files.h"

#include <utility>

namespace tessarin
{

Workspace Workspace::make(std::string path)
{
    Workspace workspace;
    workspace.id = Uuid::random();
    workspace.name = lastPathComponent(path);
    workspace.path = std::move(path);
    workspace.threads.push_back(ChatThread::make());
    return workspace;
}

} // namespace tessarin

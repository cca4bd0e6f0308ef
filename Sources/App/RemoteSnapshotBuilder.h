#pragma once

#include "App/ModelChange.h"
#include "Platform/Instant.h"
#include "Platform/Uuid.h"
#include "Remote/RemoteSnapshot.h"

#include <memory>
#include <string>

namespace tessarin
{

class AppModel;

// Builds what devices see from the state of the model, and keeps what has not changed, so that a snapshot after one changed task costs
// the changed entries of that task. Nothing is left out or shortened. Main thread only.
class RemoteSnapshotBuilder
{
public:
    RemoteSnapshotBuilder();
    ~RemoteSnapshotBuilder();

    // Requires: called for each change since the last snapshot, when it is told, so that `model` has the same task selected.
    void note(const ModelChange& change, const AppModel& model);
    // Gives back what is kept: the next snapshot is built from nothing.
    void forget();
    [[nodiscard]] RemoteSnapshot build(const AppModel& model, std::string hostName, Instant now);

private:
    struct Implementation;
    std::unique_ptr<Implementation> m_implementation;
};

} // namespace tessarin

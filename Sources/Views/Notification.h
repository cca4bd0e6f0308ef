#pragma once

#include "Models/AppSection.h"
#include "Platform/Uuid.h"

#include <QString>

namespace tessarin
{

// What the desktop is asked to show of a task, or of Imagine, to a person who looks at something else.
struct Notification {
    enum class Kind {
        asks, // for a permission
        failed,
        moved, // to another runtime
        ended,
    };
    // Where a click leads. At most one notification stands for each place. The ids are empty for Imagine.
    struct Place {
        AppSection section = AppSection::build;
        Uuid workspaceID;
        Uuid threadID;
        auto operator<=>(const Place&) const = default;
    };
    Place place;
    Kind kind = Kind::ended;
    QString title;
    QString body; // plain text
    bool operator==(const Notification&) const = default;
};

} // namespace tessarin

#pragma once

#include "App/ModelChange.h"

#include <functional>
#include <memory>
#include <vector>

namespace tessarin
{

// Tells observers of each change of the model, in the order in which they joined, before the step that made the change goes on.
// An observer may join or leave others and itself; it must not call anything that changes the model. Main thread only.
class ChangeSignal
{
public:
    using Observer = std::function<void(const ModelChange&)>;
    // Leaves when the last copy is destroyed; may outlive the signal.
    using Subscription = std::shared_ptr<void>;

    // Who joins during a notification hears of the next one.
    [[nodiscard]] Subscription join(Observer observer);
    void fire(const ModelChange& change);

private:
    std::vector<std::weak_ptr<Observer>> m_observers;
    bool m_isFiring = false;
};

} // namespace tessarin

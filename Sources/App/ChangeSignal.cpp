#include "App/ChangeSignal.h"

#include <cassert>

namespace tessarin
{

ChangeSignal::Subscription ChangeSignal::join(Observer observer)
{
    auto seat = std::make_shared<Observer>(std::move(observer));
    m_observers.push_back(seat);
    return seat;
}

void ChangeSignal::fire(const ModelChange& change)
{
    assert(!m_isFiring && "an observer has called an operation of the model");
    m_isFiring = true;
    bool someoneLeft = false;
    // By index: an observer that joins makes the list grow.
    for (std::size_t i = 0, count = m_observers.size(); i < count; ++i) {
        // Held during the call, so that an observer may leave in it.
        if (const auto observer = m_observers[i].lock()) {
            (*observer)(change);
        } else {
            someoneLeft = true;
        }
    }
    if (someoneLeft) {
        std::erase_if(m_observers, [](const auto& observer) { return observer.expired(); });
    }
    m_isFiring = false;
}

} // namespace tessarin

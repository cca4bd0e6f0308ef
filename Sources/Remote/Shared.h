#pragma once

#include <memory>
#include <utility>

namespace tessarin
{

// A value that never changes, so that copies of it are one and the same: cheap to hand from thread to thread.
template <class T>
class Shared
{
public:
    Shared() : Shared(T()) { }
    Shared(T value) : m_value(std::make_shared<const T>(std::move(value))) { }

    [[nodiscard]] const T& operator*() const { return *m_value; }
    [[nodiscard]] const T* operator->() const { return m_value.get(); }
    // The same for copies of one value, and for no others that are alive.
    [[nodiscard]] const std::shared_ptr<const T>& identity() const { return m_value; }
    bool operator==(const Shared& other) const { return m_value == other.m_value || *m_value == *other.m_value; }

private:
    std::shared_ptr<const T> m_value;
};

} // namespace tessarin

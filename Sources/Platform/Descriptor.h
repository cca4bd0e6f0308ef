#pragma once

#include <unistd.h>
#include <utility>

namespace tessarin
{

// Owns one file descriptor and closes it. For the sources of this folder alone.
class Descriptor
{
public:
    Descriptor() = default;
    explicit Descriptor(int descriptor) : m_descriptor(descriptor) { }
    ~Descriptor() { reset(); }
    Descriptor(Descriptor&& other) noexcept : m_descriptor(other.release()) { }
    Descriptor& operator=(Descriptor&& other) noexcept
    {
        if (this != &other)
            reset(other.release());
        return *this;
    }

    // False for none, as a failed call of the system leaves it.
    [[nodiscard]] bool isOpen() const { return m_descriptor >= 0; }
    [[nodiscard]] int get() const { return m_descriptor; }
    int release() { return std::exchange(m_descriptor, -1); }
    void reset(int descriptor = -1)
    {
        if (isOpen())
            ::close(m_descriptor);
        m_descriptor = descriptor;
    }

private:
    int m_descriptor = -1;
};

} // namespace tessarin

#pragma once

#include <utility>

#include <unistd.h>

namespace varnox::socketutil {

/// Owns a file descriptor and closes it. Movable; -1 is none.
class Descriptor
{
public:
    Descriptor() = default;
    explicit Descriptor(int descriptor) : m_descriptor(descriptor) {}
    Descriptor(Descriptor&& other) noexcept : m_descriptor(other.release()) {}
    Descriptor& operator=(Descriptor&& other) noexcept
    {
        if (this != &other)
            reset(other.release());
        return *this;
    }
    ~Descriptor() { reset(); }

    int get() const { return m_descriptor; }
    bool isOpen() const { return m_descriptor >= 0; }
    /// Gives the descriptor away: the caller closes it.
    int release() { return std::exchange(m_descriptor, -1); }
    void reset(int descriptor = -1)
    {
        if (m_descriptor >= 0)
            ::close(m_descriptor);
        m_descriptor = descriptor;
    }

private:
    int m_descriptor = -1;
};

}

#pragma once

#include <cstddef>
#include <cstring>

namespace varnox::tests {

/// The position of a virtual function in its table, which a pointer to the member holds as one more
/// than its offset.
template <typename Member>
std::size_t slot(Member member)
{
    std::ptrdiff_t offset = 0;
    static_assert(sizeof member >= sizeof offset);
    std::memcpy(&offset, &member, sizeof offset);
    return static_cast<std::size_t>(offset - 1) / sizeof(void*);
}

}

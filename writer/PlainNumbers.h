#pragma once

#include <clocale>
#include <new>

namespace varnox::hdqfswriter {

/// While it lives this thread prints numbers with a point, whatever locale the program has chosen.
class PlainNumbers
{
public:
    PlainNumbers() : m_plain(::newlocale(LC_ALL_MASK, "C", nullptr))
    {
        if (m_plain == nullptr)
            throw std::bad_alloc();
        m_before = ::uselocale(m_plain);
    }
    PlainNumbers(PlainNumbers const&) = delete;
    PlainNumbers& operator=(PlainNumbers const&) = delete;
    ~PlainNumbers()
    {
        ::uselocale(m_before);
        ::freelocale(m_plain);
    }

private:
    locale_t m_plain;
    locale_t m_before = nullptr;
};

}

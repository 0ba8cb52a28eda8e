#include "query/WideLoops.h"

#include <cstring>

namespace varnox {

namespace {

using SubzoneAddress = WideLoops::SubzoneAddress;

constexpr std::uint64_t NEXT_ITEM = std::uint64_t{1} << ItemAddress<long>::ITEM_OFFSET_SHIFT;

[[gnu::always_inline]] inline void addressFrom(std::size_t begin, SubzoneAddress subzone,
                                               std::size_t count, ItemAddress<long>* items)
{
    std::uint64_t const first = ItemAddress<long>(subzone, 0).word();
    for (std::size_t i = begin; i < count; ++i)
        items[i] = ItemAddress<long>(first + i * NEXT_ITEM);
}

[[gnu::always_inline]] inline void roundFrom(std::size_t begin, double const* values,
                                             std::size_t count, void* floats)
{
    auto* target = static_cast<unsigned char*>(floats);
    for (std::size_t i = begin; i < count; ++i) {
        auto const value = static_cast<float>(values[i]);
        std::memcpy(target + i * sizeof(value), &value, sizeof(value));
    }
}

void addressPlain(SubzoneAddress subzone, std::size_t count, ItemAddress<long>* items)
{
    addressFrom(0, subzone, count, items);
}

void roundPlain(double const* values, std::size_t count, void* floats)
{
    roundFrom(0, values, count, floats);
}

#if defined(__x86_64__)

[[gnu::target("avx2")]] void addressAvx2(SubzoneAddress subzone, std::size_t count,
                                         ItemAddress<long>* items)
{
    addressFrom(0, subzone, count, items);
}

[[gnu::target("avx2")]] void roundAvx2(double const* values, std::size_t count, void* floats)
{
    roundFrom(0, values, count, floats);
}

// Eight at a time: compilers keep to half of this width by themselves.
constexpr std::size_t EIGHT = 8;
using Words = std::uint64_t __attribute__((vector_size(EIGHT * sizeof(std::uint64_t))));
using Doubles = double __attribute__((vector_size(EIGHT * sizeof(double))));
using Floats = float __attribute__((vector_size(EIGHT * sizeof(float))));

[[gnu::target("avx512f")]] void addressAvx512(SubzoneAddress subzone, std::size_t count,
                                              ItemAddress<long>* items)
{
    Words words = Words{0, 1, 2, 3, 4, 5, 6, 7} * NEXT_ITEM + ItemAddress<long>(subzone, 0).word();
    std::size_t i = 0;
    for (; i + EIGHT <= count; i += EIGHT, words += EIGHT * NEXT_ITEM)
        std::memcpy(static_cast<void*>(items + i), &words, sizeof(words));
    addressFrom(i, subzone, count, items);
}

[[gnu::target("avx512f")]] void roundAvx512(double const* values, std::size_t count, void* floats)
{
    auto* target = static_cast<unsigned char*>(floats);
    std::size_t i = 0;
    for (; i + EIGHT <= count; i += EIGHT) {
        Doubles wide;
        std::memcpy(&wide, values + i, sizeof(wide));
        Floats const rounded = __builtin_convertvector(wide, Floats);
        std::memcpy(target + i * sizeof(float), &rounded, sizeof(rounded));
    }
    roundFrom(i, values, count, floats);
}

#endif

}

std::vector<WideLoops> supportedLoops()
{
    std::vector<WideLoops> result{{addressPlain, roundPlain}};
#if defined(__x86_64__)
    if (__builtin_cpu_supports("avx2") != 0)
        result.push_back({addressAvx2, roundAvx2});
    if (__builtin_cpu_supports("avx512f") != 0)
        result.push_back({addressAvx512, roundAvx512});
#endif
    return result;
}

WideLoops const& wideLoops()
{
    static WideLoops const fastest = supportedLoops().back();
    return fastest;
}

}

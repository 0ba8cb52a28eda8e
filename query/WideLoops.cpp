#include "query/WideLoops.h"

#include <cstring>

#if defined(__x86_64__)
#include <immintrin.h>
#endif

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

/// The entry of a table where a node's subzone is looked up.
[[gnu::always_inline]] inline std::size_t slotOf(std::uint64_t word)
{
    return word >> ItemAddress<long>::SUBZONE_OFFSET_SHIFT & 0xFF;
}

[[gnu::always_inline]] inline std::size_t findFrom(std::size_t begin, std::uint64_t const* table,
                                                   ItemAddress<long> const* nodes,
                                                   std::size_t count, std::uint8_t* numbers,
                                                   std::uint8_t* offsets)
{
    for (std::size_t i = begin; i < count; ++i) {
        std::uint64_t const word = nodes[i].word();
        std::uint64_t const entry = table[slotOf(word)];
        if (((entry ^ word) & ItemAddress<long>::SUBZONE_MASK) != 0)
            return i;
        numbers[i] = static_cast<std::uint8_t>(entry >> ItemAddress<long>::ITEM_OFFSET_SHIFT);
        offsets[i] = nodes[i].itemOffset();
    }
    return count;
}

[[gnu::always_inline]] inline void lookUpFrom(std::size_t begin, std::uint8_t const* numbers,
                                              std::size_t count, std::uint16_t const* list,
                                              void* out)
{
    auto* target = static_cast<unsigned char*>(out);
    for (std::size_t i = begin; i < count; ++i)
        std::memcpy(target + i * sizeof(*list), list + numbers[i], sizeof(*list));
}

std::size_t findPlain(std::uint64_t const* table, ItemAddress<long> const* nodes, std::size_t count,
                      std::uint8_t* numbers, std::uint8_t* offsets)
{
    return findFrom(0, table, nodes, count, numbers, offsets);
}

void lookUpPlain(std::uint8_t const* numbers, std::size_t count, std::uint16_t const* list,
                 std::size_t, void* out)
{
    lookUpFrom(0, numbers, count, list, out);
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

[[gnu::target("avx512f")]] std::size_t findAvx512(std::uint64_t const* table,
                                                  ItemAddress<long> const* nodes, std::size_t count,
                                                  std::uint8_t* numbers, std::uint8_t* offsets)
{
    constexpr unsigned SHIFT = ItemAddress<long>::ITEM_OFFSET_SHIFT;
    for (std::size_t i = 0; i < count; i += EIGHT) {
        auto const areThere =
            static_cast<__mmask8>(count - i < EIGHT ? (1U << (count - i)) - 1 : 0xFF);
        auto const words = reinterpret_cast<Words>(_mm512_maskz_loadu_epi64(areThere, nodes + i));
        Words const slots = words >> ItemAddress<long>::SUBZONE_OFFSET_SHIFT & 0xFF;
        auto const entries = reinterpret_cast<Words>(_mm512_mask_i64gather_epi64(
            reinterpret_cast<__m512i>(words), areThere, reinterpret_cast<__m512i>(slots), table,
            sizeof(std::uint64_t)));
        Words const differences = (entries ^ words) & ItemAddress<long>::SUBZONE_MASK;
        auto const different = reinterpret_cast<__m512i>(differences);
        if (_mm512_test_epi64_mask(different, different) != 0)
            return findFrom(i, table, nodes, count, numbers, offsets);
        _mm512_mask_cvtepi64_storeu_epi8(numbers + i, areThere,
                                         reinterpret_cast<__m512i>(entries >> SHIFT));
        _mm512_mask_cvtepi64_storeu_epi8(offsets + i, areThere,
                                         reinterpret_cast<__m512i>(words >> SHIFT));
    }
    return count;
}

constexpr std::size_t THIRTY_TWO = 32;

/// A list of up to 32 fits into one register.
[[gnu::target("avx512f,avx512bw")]] void lookUpAvx512(std::uint8_t const* numbers,
                                                      std::size_t count, std::uint16_t const* list,
                                                      std::size_t listSize, void* out)
{
    std::size_t i = 0;
    if (listSize <= THIRTY_TWO) {
        __mmask32 const isThere = listSize == THIRTY_TWO ? ~0U : (1U << listSize) - 1;
        __m512i const all = _mm512_maskz_loadu_epi16(isThere, list);
        for (; i + THIRTY_TWO <= count; i += THIRTY_TWO) {
            __m256i bytes;
            std::memcpy(&bytes, numbers + i, sizeof(bytes));
            _mm512_storeu_si512(
                static_cast<unsigned char*>(out) + i * sizeof(*list),
                _mm512_maskz_permutexvar_epi16(~0U, _mm512_maskz_cvtepu8_epi16(~0U, bytes), all));
        }
    }
    lookUpFrom(i, numbers, count, list, out);
}

#endif

}

std::vector<WideLoops> supportedLoops()
{
    std::vector<WideLoops> result{{addressPlain, findPlain, lookUpPlain, roundPlain}};
#if defined(__x86_64__)
    if (__builtin_cpu_supports("avx2") != 0)
        result.push_back({addressAvx2, findPlain, lookUpPlain, roundAvx2});
    if (__builtin_cpu_supports("avx512f") != 0 && __builtin_cpu_supports("avx512bw") != 0)
        result.push_back({addressAvx512, findAvx512, lookUpAvx512, roundAvx512});
#endif
    return result;
}

WideLoops const& wideLoops()
{
    static WideLoops const fastest = supportedLoops().back();
    return fastest;
}

}

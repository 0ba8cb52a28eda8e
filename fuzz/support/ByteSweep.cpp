#include "fuzz/support/ByteSweep.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string_view>
#include <utility>

namespace varnox::fuzz {

namespace {

constexpr std::size_t WORD_SIZE = 4; ///< Of a count, or half of a location.

std::string changed(std::string text, std::size_t at, std::size_t way)
{
    auto const set = [&](int value) { text[at] = static_cast<char>(value); };
    auto const setWord = [&](char value) {
        std::fill_n(text.begin() + static_cast<std::ptrdiff_t>(at),
                    std::min(WORD_SIZE, text.size() - at), value);
    };
    switch (way) {
    case 0:
        text.resize(at + 1);
        break;
    case 1:
        set(text[at] + 1);
        break;
    case 2:
        set(text[at] - 1);
        break;
    case 3:
        set(0);
        break;
    case 4:
        set(0xFF);
        break;
    case 5:
        set(text[at] ^ 0x80);
        break;
    case 6:
        set(text[at] ^ 0x10);
        break;
    case 7:
        text.erase(at, 1);
        break;
    case 8:
        text.insert(at, 1, text[at]);
        break;
    case 9:
        setWord('\xFF');
        break;
    default:
        setWord('\0');
        break;
    }
    return text;
}

std::vector<std::string> filesOf(char const* folder)
{
    std::vector<std::string> result;
    for (auto const& entry : std::filesystem::directory_iterator(folder)) {
        std::ifstream file(entry.path(), std::ios::binary);
        result.emplace_back(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
    }
    return result;
}

}

ByteSweep::ByteSweep(std::vector<std::string> inputs) : m_inputs(std::move(inputs))
{
    // Of equal length in one order, too: a sweep is the same each time.
    std::sort(m_inputs.begin(), m_inputs.end(), [](std::string const& a, std::string const& b) {
        return std::pair(a.size(), std::string_view(a)) < std::pair(b.size(), std::string_view(b));
    });
}

std::optional<std::string> ByteSweep::next()
{
    while (m_input < m_inputs.size() && m_byte == m_inputs[m_input].size()) {
        ++m_input;
        m_byte = 0;
    }
    if (m_input == m_inputs.size())
        return std::nullopt;
    std::string result = changed(m_inputs[m_input], m_byte, m_way);
    if (++m_way == NUM_WAYS) {
        m_way = 0;
        ++m_byte;
    }
    return result;
}

std::size_t sweepStep(std::uint8_t* data, std::size_t maxSize)
{
    static char const* const folder = std::getenv("VNX_FUZZ_SWEEP");
    if (folder == nullptr || *folder == '\0')
        return 0;
    static ByteSweep sweep(filesOf(folder));
    static bool isAtItsEnd = false;
    std::optional<std::string> next;
    do { // an input of one byte without it is empty
        next = isAtItsEnd ? std::nullopt : sweep.next();
    } while (next && next->empty());
    if (!next) {
        if (!isAtItsEnd)
            std::fputs("Each byte has been changed in each way; from now on by chance.\n", stderr);
        isAtItsEnd = true;
        return 0;
    }
    std::size_t const size = std::min(next->size(), maxSize);
    std::copy_n(next->begin(), size, data);
    return size;
}

}

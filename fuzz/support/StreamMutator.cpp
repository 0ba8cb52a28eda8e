#include "fuzz/support/StreamMutator.h"

#include <algorithm>
#include <cstring>
#include <vector>

namespace varnox::fuzz {

namespace {

constexpr std::size_t WORD = sizeof(std::uint64_t);

std::uint64_t wordAt(std::string const& stream, std::size_t at)
{
    std::uint64_t result = 0;
    std::memcpy(&result, stream.data() + at, WORD);
    return result;
}

/// Where a count can stand: eight bytes that say less than what follows.
std::vector<std::size_t> countsIn(std::string const& stream)
{
    std::vector<std::size_t> result;
    for (std::size_t at = 0; at + WORD <= stream.size(); ++at)
        if (wordAt(stream, at) <= stream.size() - at - WORD)
            result.push_back(at);
    return result;
}

/// Where a message can begin: a length and as many letters, as commands and calls have them.
std::vector<std::size_t> messagesIn(std::string const& stream)
{
    constexpr std::uint64_t SHORTEST = 4;
    constexpr std::uint64_t LONGEST = 64;
    auto const isOfAName = [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
               c == ' ';
    };
    std::vector<std::size_t> result;
    for (std::size_t at = 0; at + WORD + SHORTEST <= stream.size(); ++at) {
        std::uint64_t const length = wordAt(stream, at);
        if (length < SHORTEST || length > std::min(LONGEST, stream.size() - at - WORD))
            continue;
        auto const name = stream.begin() + static_cast<std::ptrdiff_t>(at + WORD);
        if (std::all_of(name, name + static_cast<std::ptrdiff_t>(length), isOfAName))
            result.push_back(at);
    }
    return result;
}

}

void StreamMutator::mutate(std::string& stream)
{
    for (std::size_t steps = 1 + below(3); steps > 0 && !stream.empty(); --steps)
        switch (below(10)) {
        case 0:
        case 1:
            changeBytes(stream);
            break;
        case 2:
        case 3:
            changeCount(stream);
            break;
        case 4:
        case 5:
            changeNumber(stream);
            break;
        case 6:
            moveRun(stream);
            break;
        case 7:
        case 8:
            moveMessages(stream);
            break;
        default:
            stream.resize(below(stream.size()) + 1);
            break;
        }
}

std::uint64_t StreamMutator::extremeNumber(std::uint64_t present)
{
    switch (below(5)) {
    case 0:
        return present + 1;
    case 1:
        return present - 1;
    case 2:
        return below(10);
    case 3:
        return (std::uint64_t{1} << below(64)) - below(2);
    default:
        return m_random() >> below(64);
    }
}

void StreamMutator::changeBytes(std::string& stream)
{
    for (std::size_t n = 1 + below(8); n > 0; --n)
        stream[below(stream.size())] = static_cast<char>(m_random());
}

void StreamMutator::changeCount(std::string& stream)
{
    std::vector<std::size_t> const counts = countsIn(stream);
    if (counts.empty())
        return changeBytes(stream);
    std::size_t const at = counts[below(counts.size())];
    std::uint64_t const number = extremeNumber(wordAt(stream, at));
    std::memcpy(stream.data() + at, &number, WORD);
}

void StreamMutator::changeNumber(std::string& stream)
{
    std::size_t const width = std::size_t{1} << below(4);
    if (stream.size() < width)
        return changeBytes(stream);
    std::size_t const at = below(stream.size() - width + 1);
    std::uint64_t present = 0;
    std::memcpy(&present, stream.data() + at, width);
    std::uint64_t const number = extremeNumber(present);
    std::memcpy(stream.data() + at, &number, width);
}

void StreamMutator::moveRun(std::string& stream)
{
    std::size_t const start = below(stream.size());
    std::size_t const length = std::min<std::size_t>(1 + below(64), stream.size() - start);
    std::string const run = stream.substr(start, length);
    Move const move = anyMove();
    if (move != Move::Repeat)
        stream.erase(start, length);
    if (move != Move::LeaveOut)
        stream.insert(below(stream.size() + 1), run);
}

/// Up to four messages with what follows them, to where another one begins.
void StreamMutator::moveMessages(std::string& stream)
{
    std::vector<std::size_t> places = messagesIn(stream);
    if (places.empty())
        return moveRun(stream);
    places.push_back(stream.size());
    std::size_t const first = below(places.size() - 1);
    std::size_t const last = std::min(first + 1 + below(4), places.size() - 1);
    std::size_t const start = places[first];
    std::size_t const length = places[last] - start;
    std::string const run = stream.substr(start, length);
    std::size_t target = places[below(places.size())];
    Move const move = anyMove();
    if (move != Move::Repeat) {
        stream.erase(start, length);
        if (target > start)
            target = std::max(target, start + length) - length;
    }
    if (move != Move::LeaveOut)
        stream.insert(target, run);
}

}

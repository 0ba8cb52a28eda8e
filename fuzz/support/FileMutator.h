#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <random>
#include <string>
#include <vector>

namespace varnox::fuzz {

/// Changes bytes in place: size of them in a buffer of maxSize. Gives the new size.
using MutateBytes =
    std::function<std::size_t(std::uint8_t* bytes, std::size_t size, std::size_t maxSize)>;

/// Changes HDQFS files so that readers come further than to the first check: counts, types and
/// values change while locations go on leading to their blocks, blocks grow and shrink, and
/// locations are exchanged for each other.
class FileMutator
{
public:
    FileMutator(unsigned seed, MutateBytes mutateBytes)
        : m_random(seed), m_mutateBytes(std::move(mutateBytes))
    {
    }

    /// A file of at most maxSize bytes; one that isn't understood is changed byte by byte.
    void mutate(std::string& file, std::size_t maxSize);

    /// Where in a binary file the words stand that are locations, ascending.
    static std::vector<std::size_t> locationWords(std::string const& file);

private:
    struct Map;

    void mutateBinary(std::string& file, std::size_t maxSize);
    void mutateText(std::string& file, std::size_t maxSize);
    void changeScalar(std::string& file, Map const& map);
    void changeLocation(std::string& file, Map const& map);
    void changeTagNumber(std::string& file, Map const& map);
    void changeInBlock(std::string& file, Map const& map);
    void changeLetter(std::string& file, Map const& map);
    void changeFirstLine(std::string& file);
    void resizeBlock(std::string& file, Map const& map, std::size_t maxSize);
    void mutatePlainly(std::string& file, std::size_t maxSize);

    std::size_t below(std::size_t n) { return n == 0 ? 0 : m_random() % n; }
    std::uint64_t interestingNumber(std::uint64_t present);

    std::mt19937_64 m_random;
    MutateBytes m_mutateBytes;
};

}

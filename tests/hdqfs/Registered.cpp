#include "tests/hdqfs/Registered.h"

namespace varnox::hdqfsloader::tests {

std::vector<std::uint64_t> wordsOf(std::function<void(RawArray<SubzoneAddress>&)> const& fill)
{
    Growable<SubzoneAddress> result;
    fill(result.array());
    std::vector<std::uint64_t> words;
    for (std::uint64_t i = 0; i < result.array().size; ++i)
        words.push_back(result.array().data[i].word());
    return words;
}

}

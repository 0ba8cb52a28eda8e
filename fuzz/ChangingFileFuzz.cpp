#include "filedata/Messages.h"
#include "fuzz/support/Bytes.h"
#include "fuzz/support/Entry.h"
#include "fuzz/support/InputFile.h"
#include "fuzz/support/LoaderQuestions.h"

// An input: uint16 where bytes change, uint64 what they become, uint16 where the file is cut, then
// a file. It changes when the loader has opened it, and is cut in the middle of the questions.
extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    using namespace varnox;
    static fuzz::InputFile file;
    fuzz::Bytes input(data, size);
    auto const changedAt = input.take<std::uint16_t>();
    auto const change = input.take<std::uint64_t>();
    auto const cutAt = input.take<std::uint16_t>();
    std::string bytes = input.rest();
    file.set(bytes);
    hdqio::MessageCapture const quiet;
    fuzz::ask([&] {
        hdqfsloader::DataSet dataSet({file.path()});
        if (std::size_t{changedAt} + sizeof change <= bytes.size()) {
            std::memcpy(bytes.data() + changedAt, &change, sizeof change);
            file.set(bytes);
        }
        fuzz::loadOnDemand(dataSet);
        if (cutAt < bytes.size())
            file.cutTo(cutAt);
        fuzz::query(dataSet);
        fuzz::loadOnDemand(dataSet);
    });
    return 0;
}

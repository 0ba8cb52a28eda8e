#include "filedata/Messages.h"
#include "fuzz/support/Entry.h"
#include "fuzz/support/InputFile.h"
#include "fuzz/support/LoaderQuestions.h"

// An input is a file, which the loader opens and of which every question is asked that a host asks.
extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    static varnox::fuzz::InputFile file;
    file.set(data, size);
    varnox::hdqio::MessageCapture const quiet;
    varnox::fuzz::ask([&] {
        varnox::hdqfsloader::DataSet dataSet({file.path()});
        varnox::fuzz::loadOnDemand(dataSet);
        varnox::fuzz::query(dataSet);
    });
    return 0;
}

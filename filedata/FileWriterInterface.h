#pragma once

#include "filedata/FileIOStreamInterface.h"

#include <cstddef>

namespace varnox::hdqio {

/// Writes a file. The operations are those of the C stream library of the same name.
class FileWriterInterface : public FileIOStreamInterface
{
public:
    virtual char open() = 0;
    virtual std::size_t fwrite(void const* buffer, std::size_t size, std::size_t count) = 0;
    virtual int fprintf(char const* format, ...) __attribute__((format(printf, 2, 3))) = 0;
};

}

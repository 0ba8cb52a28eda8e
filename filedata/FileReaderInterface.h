#pragma once

#include "filedata/FileIOStreamInterface.h"

#include <cstddef>

namespace varnox::hdqio {

/// Reads a file. The operations are those of the C stream library of the same name.
class FileReaderInterface : public FileIOStreamInterface
{
public:
    virtual char open() = 0;
    virtual std::size_t fread(void* buffer, std::size_t size, std::size_t count) = 0;
    virtual char* fgets(char* buffer, int size) = 0;
    virtual int feof() = 0;
    virtual int getc() = 0;
    virtual int ungetc(int c) = 0;
    virtual int fscanf(char const* format, void* a) = 0;
    virtual int fscanf(char const* format, void* a, void* b) = 0;
    virtual int fscanf(char const* format, void* a, void* b, void* c) = 0;
};

/// Bytes between the position and the end of the file; 0 if that can't be told. Keeps the position.
std::uint64_t bytesLeft(FileReaderInterface& reader);

}

#pragma once

#include "varnox/hostapi/VnxTypes.h"

#include <cstdint>
#include <string>

namespace varnox::tools {

/// Words for the numbers of a file. An unknown number stands in its word.
std::string zoneTypeName(ZoneType_e type);
std::string shapeName(std::uint8_t shape);
std::string valueTypeName(std::uint8_t fieldDataType);
std::string fileTypeName(DataFileType_e type);

}

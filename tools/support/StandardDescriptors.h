#pragma once

namespace varnox::tools {

/// To be called first. Whoever started us may have closed standard input, output or error; then the
/// next file or connection would take its number, and be read or written in its place.
void occupyStandardDescriptors();

}

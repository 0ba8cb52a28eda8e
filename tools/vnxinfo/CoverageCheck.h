#pragma once

#include "tools/vnxinfo/CheckedFile.h"

namespace varnox::tools {

/// No two blocks lie on each other, and all of the file belongs to something: between blocks there
/// is nothing but zeros, or blanks in text. What belongs to nothing tells of a block that is
/// shorter than it was, so it is only looked for in a file that is otherwise sound.
void checkCoverage(CheckedFile& file);

}

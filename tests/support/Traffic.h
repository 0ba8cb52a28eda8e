#pragma once

#include <string>

namespace varnox::tests {

enum class Speaker : char { Server = 'S', Client = 'C' };

/// Appends what one side said to the file that VNX_TRAFFIC names, for a check of what all tests of
/// a program have said; nothing without that variable. A record is the speaker's letter, the number
/// of bytes as a line of text, and the bytes.
void recordTraffic(Speaker speaker, std::string const& bytes);

}

#include "varnox/socketutil/SocketInterface.h"

namespace varnox::socketutil {

SocketInterface::~SocketInterface() = default;

}

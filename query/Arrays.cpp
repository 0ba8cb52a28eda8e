#include "query/Arrays.h"

namespace varnox::hdqremote {

void sendItemAddress(socketutil::SocketInterface& socket, ItemAddress<long> address)
{
    socket.sendUInt64(address.word());
}

ItemAddress<long> receiveItemAddress(socketutil::SocketInterface& socket)
{
    return ItemAddress<long>(socket.receiveUInt64());
}

SubzoneAddress receiveSubzoneAddress(socketutil::SocketInterface& socket)
{
    return SubzoneAddress(socket.receiveUInt64());
}

std::vector<SubzoneAddress> receiveSubzoneAddresses(socketutil::SocketInterface& socket)
{
    std::vector<unsigned long> const words =
        withIOException([&] { return socket.receiveUInt64Vector(); });
    std::vector<SubzoneAddress> result;
    result.reserve(words.size());
    for (unsigned long const word : words)
        result.emplace_back(word);
    return result;
}

}

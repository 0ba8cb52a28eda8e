#include "query/SubzoneNodeConnectivity.h"

#include "query/WithIOException.h"
#include "varnox/socketutil/SocketInterface.h"
#include "varnox/socketutil/WriteCache.h"

#include <algorithm>

namespace varnox::hdqlib {

SubzoneNodeConnectivity::SubzoneNodeConnectivity(unsigned short size,
                                                 std::vector<SubzoneAddress> const& referenced)
    : m_size(size), m_referencedCellSubzones(referenced)
{
}

// Wire form of a node subzone:
//   uint16         size                     nodes in the subzone
//   uint64 vector  referencedCellSubzones   subzone addresses, in the order given

SubzoneNodeConnectivity::SubzoneNodeConnectivity(socketutil::SocketInterface& socket)
{
    m_size = socket.receiveUInt16();
    withIOException([&] {
        for (unsigned long const word : socket.receiveUInt64Vector())
            m_referencedCellSubzones.emplace_back(word);
    });
}

void SubzoneNodeConnectivity::addToCache(socketutil::WriteCache& cache) const
{
    cache.addUInt16(m_size);
    withIOException([&] {
        std::vector<unsigned long> words;
        words.reserve(m_referencedCellSubzones.size());
        for (SubzoneAddress const& subzone : m_referencedCellSubzones)
            words.push_back(subzone.word());
        cache.addUInt64Vector(words);
    });
}

void SubzoneNodeConnectivity::referencedCellSubzones(RawArray<SubzoneAddress>& result) const
{
    resize(result, m_referencedCellSubzones.size());
    std::copy(m_referencedCellSubzones.begin(), m_referencedCellSubzones.end(), result.data);
}

}

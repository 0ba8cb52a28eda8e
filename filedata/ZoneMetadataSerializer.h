#pragma once

#include <memory>

namespace varnox::hdqio {
struct ZoneMetadata;
}

namespace varnox::socketutil {
class SocketInterface;
class WriteCache;
}

namespace varnox::hdqlib {

/// Moves the shape of a zone and its partitions over the wire: not where its data lies, nor what it
/// is called. The two halves are exact mirrors.
class ZoneMetadataSerializer
{
public:
    /// The record must outlive the serializer.
    explicit ZoneMetadataSerializer(hdqio::ZoneMetadata& metadata) : m_metadata(&metadata) {}

    void addToCache(socketutil::WriteCache& cache) const;

    /// A new record, which is the caller's to delete, with the structures that a file read would
    /// have built. Throws IOException, or std::bad_alloc.
    static ZoneMetadataSerializer deserialize(socketutil::SocketInterface& socket);

    hdqio::ZoneMetadata* metadata() const { return m_metadata; }

private:
    hdqio::ZoneMetadata* m_metadata;
};

}

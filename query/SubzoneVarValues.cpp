#include "query/SubzoneVarValues.h"

#include "query/WithIOException.h"
#include "varnox/socketutil/SocketInterface.h"
#include "varnox/socketutil/WriteCache.h"

#include <algorithm>
#include <type_traits>

namespace varnox::hdqlib {

namespace {

template <typename T>
T narrow(double value)
{
    if constexpr (std::is_floating_point_v<T>)
        return static_cast<T>(value);
    else
        return static_cast<T>(truncateToInt32(value));
}

using socketutil::SocketInterface;
using socketutil::WriteCache;

void add(WriteCache& cache, std::vector<float> const& v)
{
    cache.addFloatVector(v);
}
void add(WriteCache& cache, std::vector<double> const& v)
{
    cache.addDoubleVector(v);
}
void add(WriteCache& cache, std::vector<int> const& v)
{
    cache.addInt32Vector(v);
}
void add(WriteCache& cache, std::vector<short> const& v)
{
    cache.addInt16Vector(v);
}
void add(WriteCache& cache, std::vector<unsigned char> const& v)
{
    cache.addUInt8Vector(v);
}

void receive(SocketInterface& socket, std::vector<float>& v)
{
    v = socket.receiveFloatVector();
}
void receive(SocketInterface& socket, std::vector<double>& v)
{
    v = socket.receiveDoubleVector();
}
void receive(SocketInterface& socket, std::vector<int>& v)
{
    v = socket.receiveInt32Vector();
}
void receive(SocketInterface& socket, std::vector<short>& v)
{
    v = socket.receiveInt16Vector();
}
void receive(SocketInterface& socket, std::vector<unsigned char>& v)
{
    v = socket.receiveUInt8Vector();
}

/// Values of a block that is kept: more than a subzone has.
constexpr std::size_t MAX_SPARE = 4096;

template <typename T>
std::vector<T>& spareBlock()
{
    thread_local std::vector<T> block;
    return block;
}

}

SubzoneVarValuesAbstract::~SubzoneVarValuesAbstract() = default;

// Wire form of a value subzone: one vector of T, of the subzone's item count.

template <typename T>
SubzoneVarValues<T>::SubzoneVarValues(RawArray<double> const& values)
{
    // An answer makes thousands of these one after the other: the block of the last one serves again.
    m_values.swap(spareBlock<T>());
    m_values.resize(static_cast<std::size_t>(values.size));
    std::transform(values.data, values.data + values.size, m_values.begin(), narrow<T>);
}

template <typename T>
SubzoneVarValues<T>::SubzoneVarValues(SocketInterface& socket)
    : m_values(withIOException([&] { return receiveValues(socket); }))
{
}

template <typename T>
SubzoneVarValues<T>::~SubzoneVarValues()
{
    if (m_values.capacity() <= MAX_SPARE)
        m_values.swap(spareBlock<T>());
}

template <typename T>
std::vector<T> SubzoneVarValues<T>::receiveValues(SocketInterface& socket)
{
    std::vector<T> values;
    receive(socket, values);
    return values;
}

template <typename T>
double SubzoneVarValues<T>::fieldValue(unsigned short item) const
{
    return static_cast<double>(m_values[item]);
}

template <typename T>
void SubzoneVarValues<T>::fieldValues(RawArray<ItemAddress<long>> const& items,
                                      RawArray<double>& values) const
{
    // Deliberate: items is only counted. Element i is the i-th value of the subzone, whatever
    // address stands in items[i]. Test: SubzoneVarValues.FieldValuesIgnoresTheAddresses
    resize(values, items.size);
    for (std::uint64_t i = 0; i < items.size; ++i)
        values.data[i] = static_cast<double>(m_values[i]);
}

template <typename T>
void SubzoneVarValues<T>::addToCache(WriteCache& cache)
{
    withIOException([&] { add(cache, m_values); });
}

template class SubzoneVarValues<float>;
template class SubzoneVarValues<double>;
template class SubzoneVarValues<int>;
template class SubzoneVarValues<short>;
template class SubzoneVarValues<unsigned char>;

}

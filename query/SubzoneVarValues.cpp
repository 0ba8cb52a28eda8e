#include "query/SubzoneVarValues.h"

#include "query/WideLoops.h"
#include "query/WithIOException.h"
#include "varnox/socketutil/SocketInterface.h"
#include "varnox/socketutil/WriteCache.h"

#include <cstring>
#include <stdexcept>
#include <string>
#include <type_traits>

namespace varnox::hdqlib {

namespace {

/// Writes the values as Ts, wherever the bytes of these begin.
template <typename T>
void narrow(RawArray<double> const& values, void* out)
{
    if constexpr (std::is_same_v<T, double>) {
        if (values.size > 0)
            std::memcpy(out, values.data, values.size * sizeof(double));
    } else if constexpr (std::is_same_v<T, float>) {
        wideLoops().writeFloats(values.data, values.size, out);
    } else {
        auto* target = static_cast<unsigned char*>(out);
        for (std::uint64_t i = 0; i < values.size; ++i) {
            auto const value = static_cast<T>(truncateToInt32(values.data[i]));
            std::memcpy(target + i * sizeof(T), &value, sizeof(T));
        }
    }
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

}

SubzoneVarValuesAbstract::~SubzoneVarValuesAbstract() = default;

// Wire form of a value subzone: one vector of T, of the subzone's item count.

template <typename T>
SubzoneVarValues<T>::SubzoneVarValues(RawArray<double> const& values)
    : m_values(static_cast<std::size_t>(values.size))
{
    narrow<T>(values, m_values.data());
}

template <typename T>
SubzoneVarValues<T>::SubzoneVarValues(SocketInterface& socket)
    : m_values(withIOException([&] { return receiveValues(socket); }))
{
}

template <typename T>
std::vector<T> SubzoneVarValues<T>::receiveValues(SocketInterface& socket)
{
    std::vector<T> values;
    receive(socket, values);
    return values;
}

/// A received subzone has as many values as its sender gave it, and no more may be asked for.
template <typename T>
void SubzoneVarValues<T>::requireValues(std::uint64_t count) const
{
    if (count > m_values.size())
        throw std::out_of_range("A subzone of " + std::to_string(m_values.size()) +
                                " values is asked for " + std::to_string(count) + ".");
}

template <typename T>
double SubzoneVarValues<T>::fieldValue(unsigned short item) const
{
    requireValues(std::uint64_t{item} + 1);
    return static_cast<double>(m_values[item]);
}

template <typename T>
void SubzoneVarValues<T>::fieldValues(RawArray<ItemAddress<long>> const& items,
                                      RawArray<double>& values) const
{
    // Deliberate: items is only counted. Element i is the i-th value of the subzone, whatever
    // address stands in items[i]. Test: SubzoneVarValues.FieldValuesIgnoresTheAddresses
    requireValues(items.size);
    resize(values, items.size);
    for (std::uint64_t i = 0; i < items.size; ++i)
        values.data[i] = static_cast<double>(m_values[i]);
}

template <typename T>
void SubzoneVarValues<T>::addToCache(WriteCache& cache)
{
    withIOException([&] { add(cache, m_values); });
}

template <typename T>
void addNarrowed(RawArray<double> const& values, WriteCache& cache)
{
    std::uint64_t const count = values.size;
    unsigned char* const out = cache.extend(sizeof(count) + count * sizeof(T));
    std::memcpy(out, &count, sizeof(count));
    narrow<T>(values, out + sizeof(count));
}

template void addNarrowed<float>(RawArray<double> const&, WriteCache&);
template void addNarrowed<double>(RawArray<double> const&, WriteCache&);
template void addNarrowed<int>(RawArray<double> const&, WriteCache&);
template void addNarrowed<short>(RawArray<double> const&, WriteCache&);
template void addNarrowed<unsigned char>(RawArray<double> const&, WriteCache&);

template class SubzoneVarValues<float>;
template class SubzoneVarValues<double>;
template class SubzoneVarValues<int>;
template class SubzoneVarValues<short>;
template class SubzoneVarValues<unsigned char>;

}

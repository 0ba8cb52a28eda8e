#pragma once

#include "expressions/Narrowing.h"
#include "varnox/ItemAddress.h"
#include "varnox/RawArray.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace varnox::socketutil {
class SocketInterface;
class WriteCache;
}

namespace varnox::hdqlib {

/// The values of one variable in one subzone. No type travels with them: the reader knows it from
/// the variable's registration.
class SubzoneVarValuesAbstract
{
public:
    virtual ~SubzoneVarValuesAbstract();

    /// The item-th value, counted from 0. Throws std::out_of_range if there are fewer.
    virtual double fieldValue(unsigned short item) const = 0;
    /// Grows the result to the number of items and fills it with the subzone's first values. Throws
    /// std::out_of_range if there are fewer.
    virtual void fieldValues(RawArray<ItemAddress<long>> const& items,
                             RawArray<double>& values) const = 0;
    virtual std::size_t size() const = 0;
    /// Throws IOException.
    virtual void addToCache(socketutil::WriteCache& cache) = 0;

private:
    [[maybe_unused]] std::uint32_t m_checkoutCount = 0;
};

/// T is float, double, int, short or unsigned char.
template <typename T>
class SubzoneVarValues : public SubzoneVarValuesAbstract
{
public:
    /// Narrows every value to T: integers are cut toward zero to 32 bits and then to their low
    /// bits.
    explicit SubzoneVarValues(RawArray<double> const& values);
    /// Reads the wire form. Throws IOException.
    explicit SubzoneVarValues(socketutil::SocketInterface& socket);

    std::vector<T> receiveValues(socketutil::SocketInterface& socket);

    double fieldValue(unsigned short item) const override;
    void fieldValues(RawArray<ItemAddress<long>> const& items,
                     RawArray<double>& values) const override;
    std::size_t size() const override { return m_values.size(); }
    void addToCache(socketutil::WriteCache& cache) override;

private:
    void requireValues(std::uint64_t count) const;

    std::vector<T> m_values;
};

/// Adds what SubzoneVarValues<T>(values) adds, without the copy between.
template <typename T>
void addNarrowed(RawArray<double> const& values, socketutil::WriteCache& cache);

extern template class SubzoneVarValues<float>;
extern template class SubzoneVarValues<double>;
extern template class SubzoneVarValues<int>;
extern template class SubzoneVarValues<short>;
extern template class SubzoneVarValues<unsigned char>;

}

#include "client/Values.h"

namespace varnox::client {

bool isTransferable(FieldDataType_e type)
{
    return type >= FieldDataType_Float && type <= FieldDataType_Byte;
}

std::size_t sizeOf(FieldDataType_e type)
{
    if (!isTransferable(type))
        return 0;
    return withElementOf(type, [](auto element) { return sizeof(element); });
}

Values zeros(FieldDataType_e type, std::size_t count)
{
    return withElementOf(
        type, [count](auto element) { return Values(std::vector<decltype(element)>(count)); });
}

std::size_t count(Values const& values)
{
    return std::visit([](auto const& vector) { return vector.size(); }, values);
}

void const* bytes(Values const& values)
{
    return std::visit([](auto const& vector) { return static_cast<void const*>(vector.data()); },
                      values);
}

std::size_t byteCount(Values const& values)
{
    return std::visit([](auto const& vector) { return vector.size() * sizeof(vector[0]); }, values);
}

}

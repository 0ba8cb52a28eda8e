#pragma once

#include "varnox/ExceptionBase.h"

namespace varnox {

/// An array of a query could not be moved over the connection.
class VNX_EXPORT IOException : public ExceptionBase
{
public:
    explicit IOException(std::string message);
    ~IOException() override;
};

}

#pragma once

#include "addons/hdqfs/VarRanges.h"
#include "addons/hdqfs/VarValues.h"

namespace varnox::hdqfsloader {

/// The three objects through which one variable of one zone is queried.
class VariableQueries : public ValuesAt<Items::Cells>,
                        public ValuesAt<Items::Nodes>,
                        public VarRanges
{
public:
    ValuesAt<Items::Cells>& cellCentered() { return *this; }
    ValuesAt<Items::Nodes>& nodal() { return *this; }
    VarRanges& ranges() { return *this; }
};

}

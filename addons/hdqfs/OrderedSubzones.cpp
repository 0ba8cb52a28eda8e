#include "addons/hdqfs/OrderedSubzones.h"

#include "addons/hdqfs/NotServed.h"

namespace varnox::hdqfsloader {

namespace {

constexpr char const* WHAT = "searches by plane or line";

}

void OrderedSubzones::findIJKPlaneCellSubzones(int, long, RawArray<SubzoneAddress>&)
{
    throwNotServed(WHAT);
}

void OrderedSubzones::findIJKLineCellSubzones(int, long, long, RawArray<SubzoneAddress>&)
{
    throwNotServed(WHAT);
}

void OrderedSubzones::findIJKPlaneNodeSubzones(int, long, RawArray<SubzoneAddress>&)
{
    throwNotServed(WHAT);
}

void OrderedSubzones::findIJKLineNodeSubzones(int, long, long, RawArray<SubzoneAddress>&)
{
    throwNotServed(WHAT);
}

}

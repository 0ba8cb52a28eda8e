// A shared object without the entry of an add-on.

#include "varnox/Export.h"

extern "C" VNX_EXPORT int notTheEntry();

int notTheEntry()
{
    return 0;
}

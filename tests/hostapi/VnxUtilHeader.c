/* The header for add-on authors is C as well. */
#include "varnox/hostapi/VnxUtil.h"

/* A use of each kind of type keeps the header from being empty. */
int vnxUtilHeaderIsUsableFromC(StringList_s* list, Set_s* set)
{
    return list != 0 && set != 0 && ZoneType_FEMixed == 8;
}

#pragma once

#include "varnox/hostapi/VnxTypes.h"

#include <cstdint>
#include <vector>

namespace varnox {

/// The functions of an add-on that load the values of variables on demand. A null one doesn't
/// exist.
struct FieldDataFunctions
{
    char (*load)(FieldData_s*) = nullptr;
    char (*unload)(FieldData_s*) = nullptr;
    void (*cleanUp)(FieldData_s*) = nullptr;
    double (*getValue)(FieldData_s*, long) = nullptr;
    void (*setValue)(FieldData_s*, long, double) = nullptr;

    friend bool operator==(FieldDataFunctions const&, FieldDataFunctions const&) = default;
};

/// How the values of one variable of one zone are loaded on demand. There may be millions of these;
/// the functions are mostly the same for all.
struct FieldDataCallbacks
{
    std::int64_t clientData = 0;
    std::uint32_t functions = 0; ///< Their place in the proxy's table; the first has none.
};

/// What the proxy remembers of a zone, to answer the client's requests for its data without asking
/// back.
struct ZoneRecord
{
    std::vector<FieldDataCallbacks> fieldData; ///< By variable number minus 1.
    std::int32_t faceNeighborMode = 0;
    std::vector<int> varDataTypes; ///< FieldDataType_e by variable number minus 1.
    char (*faceNbrLoad)(FaceNeighbor_s*) = nullptr;
    char (*faceNbrUnload)(FaceNeighbor_s*) = nullptr;
    void (*faceNbrCleanUp)(FaceNeighbor_s*) = nullptr;
    bool faceNbrsLoaded = false; ///< The client's copy of the face neighbours is loaded.
    std::int64_t faceNbrClientData = 0;
    char (*nodeMapLoad)(ElemToNodeMap*) = nullptr;
    char (*nodeMapUnload)(ElemToNodeMap*) = nullptr;
    void (*nodeMapCleanUp)(ElemToNodeMap*) = nullptr;
    std::int64_t nodeMapClientData = 0;
};

}

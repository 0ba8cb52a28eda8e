#ifndef VARNOX_HOSTAPI_VNXTYPES_H
#define VARNOX_HOSTAPI_VNXTYPES_H

/* The types of the host API, for C and C++. Handles are opaque: an add-on gets them from the host and
   gives them back. A char is a boolean, 1 for true. */

#ifdef __cplusplus
#define VNX_ENUM(name) enum name : int
extern "C" {
#else
#define VNX_ENUM(name) enum name
#endif

typedef struct _ArgList_s _ArgList_s;     /* named arguments; from VnxUtilArgListAlloc */
typedef struct StringList_s StringList_s; /* strings; from VnxUtilStringListAlloc */
typedef struct Set_s Set_s;               /* integers; from VnxUtilSetAlloc */
typedef struct Mutex_s Mutex_s;           /* from VnxUtilThreadMutexAlloc */
typedef struct AuxData_s AuxData_s;       /* from the VnxUtilAuxData...GetRef functions */
typedef struct FieldData_s FieldData_s;   /* one variable of one zone, valid inside one callback */
typedef struct FaceNeighbor_s FaceNeighbor_s; /* the face neighbours of one zone */
typedef struct AddOnList_s AddOnList_s;       /* a registered add-on */

VNX_ENUM(ZoneType_e)
{
    ZoneType_Ordered = 0,
    ZoneType_FETriangle = 1,
    ZoneType_FEQuad = 2,
    ZoneType_FETetra = 3,
    ZoneType_FEBrick = 4,
    ZoneType_FELineSeg = 5,
    ZoneType_FEPolygon = 6,
    ZoneType_FEPolyhedron = 7,
    ZoneType_FEMixed = 8
};

VNX_ENUM(FieldDataType_e)
{
    FieldDataType_Float = 1,
    FieldDataType_Double = 2,
    FieldDataType_Int32 = 3,
    FieldDataType_Int16 = 4,
    FieldDataType_Byte = 5,
    FieldDataType_Bit = 6 /* in files only; a bit travels as a byte */
};

VNX_ENUM(ValueLocation_e)
{
    ValueLocation_CellCentered = 0,
    ValueLocation_Nodal = 1
};

VNX_ENUM(DataFileType_e)
{
    DataFileType_Full = 0,
    DataFileType_Grid = 1,
    DataFileType_Solution = 2
};

VNX_ENUM(FECellShape_e)
{
    FECellShape_Line = 0,
    FECellShape_Triangle = 1,
    FECellShape_Quadrilateral = 2,
    FECellShape_Tetrahedron = 3,
    FECellShape_Hexahedron = 4,
    FECellShape_Pyramid = 5,
    FECellShape_Prism = 6
};

VNX_ENUM(MessageBoxType_e)
{
    MessageBoxType_Error = 0,
    MessageBoxType_Information = 2
};

VNX_ENUM(StateChange_e)
{
    StateChange_Announced = 3 /* the only one that this library forwards; goes with a Set_s of numbers */
};

/* Of these the host API gives no values that this library looks at; it passes them on as numbers. */
VNX_ENUM(FaceNeighborMode_e){FaceNeighborMode_None = 0};
VNX_ENUM(FECellBasisFunction_e){FECellBasisFunction_None = 0};
VNX_ENUM(AuxDataType_e){AuxDataType_None = 0};
VNX_ENUM(CoordSys_e){CoordSys_None = 0};
VNX_ENUM(Units_e){Units_None = 0};
VNX_ENUM(ArrowheadAttachment_e){ArrowheadAttachment_None = 0};
VNX_ENUM(ArrowheadStyle_e){ArrowheadStyle_None = 0};
VNX_ENUM(Clipping_e){Clipping_None = 0};
VNX_ENUM(LinePattern_e){LinePattern_None = 0};
VNX_ENUM(Scope_e){Scope_None = 0};
VNX_ENUM(TextAnchor_e){TextAnchor_None = 0};
VNX_ENUM(TextBox_e){TextBox_None = 0};

#ifdef __cplusplus
} /* extern "C" */

namespace varnox {
class ElemToNodeMap;
class NodeToElemMap;
namespace hdq {
class DataSetRegistrationInterface;
}
}
#define VNX_ELEM_TO_NODE_MAP varnox::ElemToNodeMap
#define VNX_HDQ_REGISTRATION varnox::hdq::DataSetRegistrationInterface
#else
typedef enum ZoneType_e ZoneType_e;
typedef enum FieldDataType_e FieldDataType_e;
typedef enum ValueLocation_e ValueLocation_e;
typedef enum DataFileType_e DataFileType_e;
typedef enum FECellShape_e FECellShape_e;
typedef enum MessageBoxType_e MessageBoxType_e;
typedef enum StateChange_e StateChange_e;
typedef enum FaceNeighborMode_e FaceNeighborMode_e;
typedef enum FECellBasisFunction_e FECellBasisFunction_e;
typedef enum AuxDataType_e AuxDataType_e;
typedef enum CoordSys_e CoordSys_e;
typedef enum Units_e Units_e;
typedef enum ArrowheadAttachment_e ArrowheadAttachment_e;
typedef enum ArrowheadStyle_e ArrowheadStyle_e;
typedef enum Clipping_e Clipping_e;
typedef enum LinePattern_e LinePattern_e;
typedef enum Scope_e Scope_e;
typedef enum TextAnchor_e TextAnchor_e;
typedef enum TextBox_e TextBox_e;
typedef struct ElemToNodeMap ElemToNodeMap;
typedef struct DataSetRegistration DataSetRegistration;
#define VNX_ELEM_TO_NODE_MAP ElemToNodeMap       /* the node map of one zone */
#define VNX_HDQ_REGISTRATION DataSetRegistration /* used from C++ only */
#endif

/* The function that loads a data set: the loader's instructions and its client data; the low byte of
   the result is true when the data set was loaded. */
typedef char (*VnxLoaderCallback)(StringList_s* instructions, unsigned long clientData);

#endif

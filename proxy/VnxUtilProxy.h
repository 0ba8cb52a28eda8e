#pragma once

#include "varnox/hostapi/VnxMock.h"

#include <memory>
#include <string>

namespace varnox::socketutil {
class SocketInterface;
}

namespace varnox::hdqremote {
class AddonProxy;
class CommandCache;
}

namespace varnox {

/// Stands where the engine would stand when an add-on calls the host API: answers what it can on
/// the spot and forwards the rest to the client. A forwarded call is direct (sent at once,
/// overtaking what is batched), flushed (the batch is delivered and its replies read first; a
/// failed flush gives 0) or cached (appended to the batch, its reply read at the next flush).
///
/// Zone and variable numbers count from one. Owns none of the objects given to its constructor.
class VnxUtilProxy : public VnxMock
{
public:
    VnxUtilProxy(socketutil::SocketInterface& socket,
                 hdq::DataSetRegistrationInterface& registration, hdqremote::AddonProxy& addonProxy,
                 hdqremote::CommandCache& commandCache);
    ~VnxUtilProxy() override;

    /// The loader that the add-on registered; null before that.
    VnxLoaderCallback loaderCallback() const;
    unsigned long loaderClientData() const;
    std::string loaderName() const;
    std::string fileExtensions() const;

    /// The client's requests for data. Each reads its arguments, runs the add-on's callback and
    /// answers "command finished"; a load or unload then sends whether it succeeded.
    void handleLoadFieldData() const;
    void handleUnloadFieldData() const;
    void handleCleanUpFieldData() const;
    void handleLoadNodeMap() const;
    void handleUnloadNodeMap() const;
    void handleCleanUpNodeMap() const;
    void handleLoadFaceNeighbors() const;
    void handleUnloadFaceNeighbors() const;
    void handleCleanUpFaceNeighbors() const;

    AddOnList_s* VnxUtilAddOnRegister(int version, char const* name, char const* date,
                                      char const* company) override;
    _ArgList_s* VnxUtilArgListAlloc() override;
    char VnxUtilArgListAppendArbParam(_ArgList_s* list, char const* name, long value) override;
    char VnxUtilArgListAppendArray(_ArgList_s* list, char const* name, void const* array) override;
    char VnxUtilArgListAppendDouble(_ArgList_s* list, char const* name, double value) override;
    char VnxUtilArgListAppendFunction(_ArgList_s* list, char const* name,
                                      void const* function) override;
    char VnxUtilArgListAppendInt(_ArgList_s* list, char const* name, long value) override;
    char VnxUtilArgListAppendInt64Array(_ArgList_s* list, char const* name,
                                        long const* array) override;
    char VnxUtilArgListAppendString(_ArgList_s* list, char const* name, char const* text) override;
    char VnxUtilArgListAppendStringList(_ArgList_s* list, char const* name,
                                        StringList_s* strings) override;
    void VnxUtilArgListDealloc(_ArgList_s** list) override;
    AuxData_s* VnxUtilAuxDataDataSetGetRef() override;
    AuxData_s* VnxUtilAuxDataVarGetRef(int var) override;
    AuxData_s* VnxUtilAuxDataZoneGetRef(int zone) override;
    void VnxUtilDataConnectShare(int first, int second) override;
    char VnxUtilDataFaceNbrAssignByRef(FaceNeighbor_s* handle, long first, int second, char third,
                                       int count, int const* items, long const* zones) override;
    char VnxUtilDataFaceNbrCustomLOD(int zone, char flag, char (*load)(FaceNeighbor_s*),
                                     char (*unload)(FaceNeighbor_s*),
                                     void (*cleanUp)(FaceNeighbor_s*), long clientData) override;
    long VnxUtilDataFaceNbrGetClientData(FaceNeighbor_s* handle) override;
    FaceNeighborMode_e VnxUtilDataFaceNbrGetModeByRef(FaceNeighbor_s* handle) override;
    FaceNeighborMode_e VnxUtilDataFaceNbrGetModeByZone(int zone) override;
    long VnxUtilDataFaceNbrGetZoneUniqueIDByRef(FaceNeighbor_s* handle) override;
    char VnxUtilDataLoadFinishX(_ArgList_s* args, long* ids) override;
    void VnxUtilDataLoadStart() override;
    void VnxUtilDataNodeArraySetByRef(ElemToNodeMap* handle, long offset, long count,
                                      int const* nodes) override;
    char VnxUtilDataNodeCustomLOD(int zone, char (*load)(ElemToNodeMap*),
                                  char (*unload)(ElemToNodeMap*), void (*cleanUp)(ElemToNodeMap*),
                                  long clientData) override;
    long VnxUtilDataNodeGetClientData(ElemToNodeMap* handle) override;
    int VnxUtilDataNodeGetRawItemType(ElemToNodeMap* handle) override;
    int* VnxUtilDataNodeGetWritableRawPtrByRef(ElemToNodeMap* handle) override;
    void VnxUtilDataNodeSectionArraySetByRef(ElemToNodeMap* handle, int section, long offset,
                                             long count, int const* nodes) override;
    void VnxUtilDataNodeSectionArraySetByRef64(ElemToNodeMap* handle, int section, long offset,
                                               long count, long const* nodes) override;
    char VnxUtilDataSetAddWriterX(_ArgList_s* args) override;
    char VnxUtilDataSetAddZoneX(_ArgList_s* args) override;
    char VnxUtilDataSetCreate(char const* title, StringList_s* varNames, char flag) override;
    char VnxUtilDataSetCreateX(_ArgList_s* args) override;
    hdq::DataSetRegistrationInterface* VnxUtilDataSetGetHDQRegistration() override;
    int VnxUtilDataSetGetNumVars() override;
    int VnxUtilDataSetGetNumZones() override;
    long VnxUtilDataSetGetUniqueID() override;
    void VnxUtilDataSetGetUniqueIDsForZones(int const* zoneList, int count, long* ids) override;
    void VnxUtilDataValueArraySetByRef(FieldData_s* handle, long offset, long count,
                                       void const* values) override;
    char VnxUtilDataValueCustomLOD(int zone, int var, char (*load)(FieldData_s*),
                                   char (*unload)(FieldData_s*), void (*cleanUp)(FieldData_s*),
                                   double (*getValue)(FieldData_s*, long),
                                   void (*setValue)(FieldData_s*, long, double),
                                   long clientData) override;
    long VnxUtilDataValueGetClientData(FieldData_s* handle) override;
    FieldDataType_e VnxUtilDataValueGetRefType(FieldData_s* handle) override;
    void* VnxUtilDataValueGetWritableRawPtrByRef(FieldData_s* handle) override;
    void VnxUtilDataValueSetByRef(FieldData_s* handle, long offset, double value) override;
    void VnxUtilDataValueSetMinMaxByZoneVar(int zone, int var, double min, double max) override;
    void VnxUtilDataValueShare(int first, int second, int third) override;
    void VnxUtilDialogErrMsg(char const* text) override;
    char VnxUtilDialogMessageBox(char const* text, MessageBoxType_e type) override;
    void VnxUtilFECellTypeGetNumNodes(FECellShape_e shape, int order, FECellBasisFunction_e basis,
                                      int* numCorners, int* numNodes) override;
    long VnxUtilGetNextUniqueID() override;
    char VnxUtilImportAddLoaderX(_ArgList_s* args) override;
    char VnxUtilImportSetLoaderInstr(char const* name, StringList_s* instructions) override;
    char VnxUtilInterruptCheck() override;
    char VnxUtilInterruptIsSet() override;
    void VnxUtilLockFinish(AddOnList_s* addOn) override;
    void VnxUtilLockOff() override;
    void VnxUtilLockOn() override;
    void VnxUtilLockStart(AddOnList_s* addOn) override;
    char VnxUtilMacroAddCommandCallback(char const* command,
                                        char (*callback)(char*, char**)) override;
    void VnxUtilMainlineInvoke(void (*callback)(long), long param) override;
    void VnxUtilPleaseWait(char const* text, char wait) override;
    char VnxUtilSetAddMember(Set_s* set, long member, char showErr) override;
    Set_s* VnxUtilSetAlloc(char showErr) override;
    char VnxUtilSetCopy(Set_s* dst, Set_s* src, char showErr) override;
    void VnxUtilSetDealloc(Set_s** set) override;
    long VnxUtilSetGetNextMember(Set_s* set, long member) override;
    void VnxUtilSetRemoveMember(Set_s* set, long member) override;
    char VnxUtilStateChangeAddCallbackX(_ArgList_s* args) override;
    void VnxUtilStateChanged(StateChange_e change, long param) override;
    char* VnxUtilStringAlloc(long maxLength, char const* debugInfo) override;
    void VnxUtilStringDealloc(char** text) override;
    StringList_s* VnxUtilStringListAlloc() override;
    char VnxUtilStringListAppendString(StringList_s* list, char const* text) override;
    void VnxUtilStringListDealloc(StringList_s** list) override;
    long VnxUtilStringListGetCount(StringList_s* list) override;
    char const* VnxUtilStringListGetRawStringPtr(StringList_s* list, long index) override;
    Mutex_s* VnxUtilThreadMutexAlloc() override;
    void VnxUtilThreadMutexDealloc(Mutex_s** mutex) override;
    void VnxUtilThreadMutexLock(Mutex_s* mutex) override;
    void VnxUtilThreadMutexUnlock(Mutex_s* mutex) override;
    char VnxUtilVarGetName(int var, char** name) override;
    long VnxUtilVarGetUniqueID(int var) override;
    char VnxUtilZoneGetNumSections(long first, int second, int* numSections) override;

    // Texts, geometries, custom labels and auxiliary data.
#define SETTER(command, function, type, parameter) void function(long id, type parameter) override;
#include "proxy/AnnotationSetters.def"
    char VnxUtilAuxDataSetItem(AuxData_s* ref, char const* name, long value, AuxDataType_e type,
                               char retain) override;
    char VnxUtilCustomLabelsAppend(StringList_s* labels) override;
    long VnxUtilGeom2DMPolyCreate(CoordSys_e coordSys, int numPolylines,
                                  long const* numPoints) override;
    void VnxUtilGeom2DMPolySetPoint(long id, int polyline, long point, double x, double y) override;
    long VnxUtilGeom3DMPolyCreate(int numPolylines, long const* numPoints) override;
    void VnxUtilGeom3DMPolySetPoint(long id, int polyline, long point, double x, double y,
                                    double z) override;
    long VnxUtilGeomCircleCreate(CoordSys_e coordSys, double x, double y, double radius) override;
    long VnxUtilGeomEllipseCreate(CoordSys_e coordSys, double x, double y, double horizontalAxis,
                                  double verticalAxis) override;
    long VnxUtilGeomRectangleCreate(CoordSys_e coordSys, double x, double y, double width,
                                    double height) override;
    void VnxUtilGeomSetAnchorPos(long id, double x, double y, double z) override;
    char VnxUtilGeomSetMacroFunctionCmd(long id, char const* command) override;
    long VnxUtilGeomSquareCreate(CoordSys_e coordSys, double x, double y, double size) override;
    long VnxUtilTextCreate(CoordSys_e coordSys, double x, double y, Units_e heightUnits,
                           double height, char const* text) override;
    char VnxUtilTextSetMacroFunctionCmd(long id, char const* command) override;
    void VnxUtilTextSetTypeface(long id, char const* family, char isBold, char isItalic) override;

private:
    class Impl;
    std::unique_ptr<Impl> m_impl;
};

}

#ifndef VARNOX_HOSTAPI_VNXUTIL_H
#define VARNOX_HOSTAPI_VNXUTIL_H

/* The host API for loader add-ons, for C and C++: the functions that this library answers or
   forwards to the client. Zone and variable numbers count from 1. Calls run on the thread that
   called the add-on. A call that waits in the batch reaches the client at the next call that needs
   an answer; one that is sent at once overtakes the batch. In C++ any call may throw when the
   connection fails; let it pass. */

#include "varnox/hostapi/VnxTypes.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Registers the add-on: version of the API it was built for, its name, its date, its maker. Returns
   a handle that other calls take; nothing else is kept. */
AddOnList_s* VnxUtilAddOnRegister(int version, char const* name, char const* date,
                                  char const* company);

/* A new empty argument list; the caller frees it with VnxUtilArgListDealloc. */
_ArgList_s* VnxUtilArgListAlloc(void);

/* Adds or replaces an argument. Names match whatever their case. Returns 1. */
char VnxUtilArgListAppendArbParam(_ArgList_s* list, char const* name, long value);

/* An array of int, one element for each variable of the data set; it stays the caller's and must
   live until the list has been used. Returns 1. */
char VnxUtilArgListAppendArray(_ArgList_s* list, char const* name, void const* array);

/* Adds or replaces a real. Returns 1. */
char VnxUtilArgListAppendDouble(_ArgList_s* list, char const* name, double value);

/* Adds or replaces a function. The client sees its name alone. Returns 1. */
char VnxUtilArgListAppendFunction(_ArgList_s* list, char const* name, void const* function);

/* Adds or replaces an integer. Returns 1. */
char VnxUtilArgListAppendInt(_ArgList_s* list, char const* name, long value);

/* An array of long, one element for each variable of the data set; it stays the caller's.
 * Returns 1. */
char VnxUtilArgListAppendInt64Array(_ArgList_s* list, char const* name, long const* array);

/* Adds or replaces a text, which is copied. Returns 1. */
char VnxUtilArgListAppendString(_ArgList_s* list, char const* name, char const* text);

/* Adds or replaces a list of texts, which is copied. Returns 1. */
char VnxUtilArgListAppendStringList(_ArgList_s* list, char const* name, StringList_s* strings);

/* Frees a list and sets the pointer to null; a null list is fine. */
void VnxUtilArgListDealloc(_ArgList_s** list);

/* A handle for the auxiliary data of the data set. Nothing is sent. */
AuxData_s* VnxUtilAuxDataDataSetGetRef(void);

/* A handle for the auxiliary data of a variable, counted from 1. Nothing is sent. */
AuxData_s* VnxUtilAuxDataVarGetRef(int var);

/* A handle for the auxiliary data of a zone, counted from 1. Nothing is sent. */
AuxData_s* VnxUtilAuxDataZoneGetRef(int zone);

/* Two zones, counted from 1, share their connectivity; which of them is the source is between the
   add-on and the client. Waits in the batch. */
void VnxUtilDataConnectShare(int first, int second);

/* Hands over face neighbours inside a load callback: count items and, unless zones is null, as many
   zones, all of which stay the caller's. What the numbers mean is between the add-on and the client,
   who get them as they are. Sent at once. Returns the client's answer. */
char VnxUtilDataFaceNbrAssignByRef(FaceNeighbor_s* handle, long first, int second, char third,
                                   int count, int const* items, long const* zones);

/* Registers the load-on-demand callbacks of a zone's face neighbours; a null callback doesn't
   exist. Zone counts from 1; the flag is for the client. Returns 0 for a zone that was not added. Waits in the batch. */
char VnxUtilDataFaceNbrCustomLOD(int zone, char flag, char (*load)(FaceNeighbor_s*),
                                 char (*unload)(FaceNeighbor_s*), void (*cleanUp)(FaceNeighbor_s*),
                                 long clientData);

/* The client data given at registration, 0 for an unknown zone. */
long VnxUtilDataFaceNbrGetClientData(FaceNeighbor_s* handle);

/* The zone's "FaceNeighborMode", 0 for an unknown zone. */
FaceNeighborMode_e VnxUtilDataFaceNbrGetModeByRef(FaceNeighbor_s* handle);

/* The same by the zone's number, counted from 1. */
FaceNeighborMode_e VnxUtilDataFaceNbrGetModeByZone(int zone);

/* The unique ID that VnxUtilDataSetGetUniqueIDsForZones gave for the zone before the handle's, or
 * 0. */
long VnxUtilDataFaceNbrGetZoneUniqueIDByRef(FaceNeighbor_s* handle);

/* Ends a load: delivers the batch and ends batching. On success ids receives what the client sends,
   and 1 is returned; on 0 ids is untouched. */
char VnxUtilDataLoadFinishX(_ArgList_s* args, long* ids);

/* Begins a load. Sent at once. */
void VnxUtilDataLoadStart(void);

/* Hands over count nodes of a zone's node map inside a load callback, from the entry offset on;
   entries and nodes count from 1. Sent at once, without an answer. */
void VnxUtilDataNodeArraySetByRef(VNX_ELEM_TO_NODE_MAP* handle, long offset, long count,
                                  int const* nodes);

/* Registers the load-on-demand callbacks of a zone's node map; a null callback doesn't exist. Zone
   counts from
   1. Returns 0 for a zone that was not added. Waits in the batch. */
char VnxUtilDataNodeCustomLOD(int zone, char (*load)(VNX_ELEM_TO_NODE_MAP*),
                              char (*unload)(VNX_ELEM_TO_NODE_MAP*),
                              void (*cleanUp)(VNX_ELEM_TO_NODE_MAP*), long clientData);

/* The client data given at registration, 0 for an unknown zone. */
long VnxUtilDataNodeGetClientData(VNX_ELEM_TO_NODE_MAP* handle);

/* Always 0. */
int VnxUtilDataNodeGetRawItemType(VNX_ELEM_TO_NODE_MAP* handle);

/* Always null: use VnxUtilDataNodeArraySetByRef. */
int* VnxUtilDataNodeGetWritableRawPtrByRef(VNX_ELEM_TO_NODE_MAP* handle);

/* VnxUtilDataNodeArraySetByRef for one section of a mixed zone, counted from 1. */
void VnxUtilDataNodeSectionArraySetByRef(VNX_ELEM_TO_NODE_MAP* handle, int section, long offset,
                                         long count, int const* nodes);

/* The same with 64-bit node numbers. */
void VnxUtilDataNodeSectionArraySetByRef64(VNX_ELEM_TO_NODE_MAP* handle, int section, long offset,
                                           long count, long const* nodes);

/* Always 1; nothing is kept. */
char VnxUtilDataSetAddWriterX(_ArgList_s* args);

/* Adds a zone, described by named arguments that travel to the client as they are. This library
   itself reads "Zone", "ConnectShareZone", "FaceNeighborMode" and "VarDataType". Waits in the
   batch, unless it shares connectivity with a zone whose face neighbours are still to be loaded.
   Always 1. */
char VnxUtilDataSetAddZoneX(_ArgList_s* args);

/* Creates the data set: title and variable names, and a flag for the client. Sent at once; returns
   the client's answer. */
char VnxUtilDataSetCreate(char const* title, StringList_s* varNames, char flag);

/* The same by named arguments; "VarNames" gives the number of variables. Sent at once. */
char VnxUtilDataSetCreateX(_ArgList_s* args);

/* Where query objects are handed in; belongs to the host. C++ only. */
VNX_HDQ_REGISTRATION* VnxUtilDataSetGetHDQRegistration(void);

/* Asks the client, behind the batch. 0 if the batch failed. */
int VnxUtilDataSetGetNumVars(void);

/* Asks the client, behind the batch. 0 if the batch failed. */
int VnxUtilDataSetGetNumZones(void);

/* Asks the client, behind the batch. 0 if the batch failed. */
long VnxUtilDataSetGetUniqueID(void);

/* Asks the client, behind the batch, for the unique IDs of count zones, whose numbers travel as they
   are; ids has room for count and stays alone if the batch failed. */
void VnxUtilDataSetGetUniqueIDsForZones(int const* zoneList, int count, long* ids);

/* Hands over values of a variable inside a load callback: count values of the variable's own type,
   from the item offset on, counted from 1. Sent at once, without an answer; not sent at all for a
   variable without a type. */
void VnxUtilDataValueArraySetByRef(FieldData_s* handle, long offset, long count,
                                   void const* values);

/* Registers the load-on-demand callbacks of a variable in a zone, both counted from 1; a null
   callback doesn't exist. Returns 0 for a zone or variable that was not added. Waits in the batch.
 */
char VnxUtilDataValueCustomLOD(int zone, int var, char (*load)(FieldData_s*),
                               char (*unload)(FieldData_s*), void (*cleanUp)(FieldData_s*),
                               double (*getValue)(FieldData_s*, long),
                               void (*setValue)(FieldData_s*, long, double), long clientData);

/* The client data given at registration. */
long VnxUtilDataValueGetClientData(FieldData_s* handle);

/* The variable's type in the zone, 0 for an unknown one. */
FieldDataType_e VnxUtilDataValueGetRefType(FieldData_s* handle);

/* Always null: use VnxUtilDataValueArraySetByRef. */
void* VnxUtilDataValueGetWritableRawPtrByRef(FieldData_s* handle);

/* One value, whose bytes go out as the variable's type: right for doubles alone. */
void VnxUtilDataValueSetByRef(FieldData_s* handle, long offset, double value);

/* The range of a variable in a zone, both counted from 1. Waits in the batch. */
void VnxUtilDataValueSetMinMaxByZoneVar(int zone, int var, double min, double max);

/* Two zones share the values of a variable. The three numbers reach the client as they are, in this
   order; which is which is between it and the add-on. Waits in the batch. */
void VnxUtilDataValueShare(int first, int second, int third);

/* Shows an error to the user, behind the batch; dropped if the batch failed. */
void VnxUtilDialogErrMsg(char const* text);

/* Shows a message to the user. Sent at once; returns the client's answer. */
char VnxUtilDialogMessageBox(char const* text, MessageBoxType_e type);

/* Corners and nodes of a cell of a shape with polynomials of an order; 0 and 0 for an unknown
 * shape. */
void VnxUtilFECellTypeGetNumNodes(FECellShape_e shape, int order, FECellBasisFunction_e basis,
                                  int* numCorners, int* numNodes);

/* Asks the client, behind the batch. 0 if the batch failed. */
long VnxUtilGetNextUniqueID(void);

/* Registers the loader: "LoaderCallback", "ClientData", "LoaderName", "FileNameExtensions".
 * Returns 1. */
char VnxUtilImportAddLoaderX(_ArgList_s* args);

/* Tells the client that the loader's instructions were set; they themselves don't travel. Behind
 * the batch. */
char VnxUtilImportSetLoaderInstr(char const* name, StringList_s* instructions);

/* Always 0: a load is never interrupted. */
char VnxUtilInterruptCheck(void);

/* Always 0. */
char VnxUtilInterruptIsSet(void);

/* Nothing to do: there is one thread. */
void VnxUtilLockFinish(AddOnList_s* addOn);

/* Nothing to do. */
void VnxUtilLockOff(void);

/* Nothing to do. */
void VnxUtilLockOn(void);

/* Nothing to do. */
void VnxUtilLockStart(AddOnList_s* addOn);

/* Always 1; the callback is never called. */
char VnxUtilMacroAddCommandCallback(char const* command, char (*callback)(char*, char**));

/* The callback is not called. */
void VnxUtilMainlineInvoke(void (*callback)(long), long param);

/* Nothing to do. */
void VnxUtilPleaseWait(char const* text, char wait);

/* Adds a member that may be there already. Returns 1. */
char VnxUtilSetAddMember(Set_s* set, long member, char showErr);

/* A new empty set; the caller frees it with VnxUtilSetDealloc. */
Set_s* VnxUtilSetAlloc(char showErr);

/* Makes dst a copy of src. Returns 1. */
char VnxUtilSetCopy(Set_s* dst, Set_s* src, char showErr);

/* Frees a set and sets the pointer to null; a null set is fine. */
void VnxUtilSetDealloc(Set_s** set);

/* The smallest member above this one, 0 at the end; 0 asks for the first. */
long VnxUtilSetGetNextMember(Set_s* set, long member);

/* Removes a member that may be absent. */
void VnxUtilSetRemoveMember(Set_s* set, long member);

/* Always 1; the callback is never called. */
char VnxUtilStateChangeAddCallbackX(_ArgList_s* args);

/* Only state change 3 is forwarded, with the members of the Set_s* in param. Sent at once. */
void VnxUtilStateChanged(StateChange_e change, long param);

/* Room for maxLength characters and a terminator, not cleared; null if memory is short. Free it
   with VnxUtilStringDealloc. */
char* VnxUtilStringAlloc(long maxLength, char const* debugInfo);

/* Frees a text and sets the pointer to null; a null text is fine. */
void VnxUtilStringDealloc(char** text);

/* A new empty list; the caller frees it with VnxUtilStringListDealloc. */
StringList_s* VnxUtilStringListAlloc(void);

/* Appends a copy. Returns 1. */
char VnxUtilStringListAppendString(StringList_s* list, char const* text);

/* Frees a list and sets the pointer to null; a null list is fine. */
void VnxUtilStringListDealloc(StringList_s** list);

/* Texts in the list. */
long VnxUtilStringListGetCount(StringList_s* list);

/* The index-th text, counted from 1, in the list's own memory. Another index throws
 * std::out_of_range. */
char const* VnxUtilStringListGetRawStringPtr(StringList_s* list, long index);

/* A new mutex, not recursive, for the add-on's own threads; freed with VnxUtilThreadMutexDealloc.
 */
Mutex_s* VnxUtilThreadMutexAlloc(void);

/* Frees a mutex and sets the pointer to null; a null mutex is fine. */
void VnxUtilThreadMutexDealloc(Mutex_s** mutex);

/* Waits for the mutex. */
void VnxUtilThreadMutexLock(Mutex_s* mutex);

/* Gives the mutex back. */
void VnxUtilThreadMutexUnlock(Mutex_s* mutex);

/* Asks the client, behind the batch, for the name of a variable, counted from 1; *name is then the caller's to free with
   VnxUtilStringDealloc. 0 leaves *name alone. */
char VnxUtilVarGetName(int var, char** name);

/* Asks the client at once, ahead of the batch, for the unique ID of a variable, counted from 1. */
long VnxUtilVarGetUniqueID(int var);

/* Asks the client, behind the batch, for the number of sections of a zone; the two numbers that name
   it travel as they are. 1 if the client knows it; 0 leaves *numSections alone. */
char VnxUtilZoneGetNumSections(long first, int second, int* numSections);

/* Texts, geometries, custom labels and auxiliary data. Nothing of them is kept on this side, and no
   number is looked at: what the values of the enumerations mean lies with the client. A creator asks
   the client behind the batch; it returns the client's id of the new object, 0 if the batch failed.
   What changes an object takes that id, is sent at once, ahead of the batch, and has no answer but
   where one is named. A char is a boolean that travels with its sign. */

/* Attaches a text to what ref stands for: its name, the text (value is the char const* as a number),
   its type, and whether it is kept when the data set is saved. While a load is being batched the
   item waits in the batch and the result is 1; otherwise it is the client's answer. 0 if the batch
   failed, or for a handle that no GetRef function gave. */
char VnxUtilAuxDataSetItem(AuxData_s* ref, char const* name, long value, AuxDataType_e type,
                           char retain);

/* Adds a set of labels, behind the batch. The client's answer; 0 if the batch failed. */
char VnxUtilCustomLabelsAppend(StringList_s* labels);

/* Creates polylines in the plane: numPoints holds the size of each of the numPolylines lines. Their
   points follow with VnxUtilGeom2DMPolySetPoint. */
long VnxUtilGeom2DMPolyCreate(CoordSys_e coordSys, int numPolylines, long const* numPoints);

/* Gives one point of one of the lines. Both numbers travel as they are; this library's own client and
   loader count them from 1. */
void VnxUtilGeom2DMPolySetPoint(long id, int polyline, long point, double x, double y);

/* Creates polylines in space; their points follow with VnxUtilGeom3DMPolySetPoint. */
long VnxUtilGeom3DMPolyCreate(int numPolylines, long const* numPoints);

/* Gives one point of one of the lines; its numbers as in VnxUtilGeom2DMPolySetPoint. */
void VnxUtilGeom3DMPolySetPoint(long id, int polyline, long point, double x, double y, double z);

/* Sets the angle of a geometry's arrowheads. */
void VnxUtilGeomArrowheadSetAngle(long id, double angle);

/* Sets at which ends of a geometry arrowheads stand. */
void VnxUtilGeomArrowheadSetAttach(long id, ArrowheadAttachment_e attachment);

/* Sets the size of a geometry's arrowheads. */
void VnxUtilGeomArrowheadSetSize(long id, double size);

/* Sets the style of a geometry's arrowheads. */
void VnxUtilGeomArrowheadSetStyle(long id, ArrowheadStyle_e style);

/* Creates a circle around a point. */
long VnxUtilGeomCircleCreate(CoordSys_e coordSys, double x, double y, double radius);

/* Creates an ellipse around a point, with the lengths of its two axes. */
long VnxUtilGeomEllipseCreate(CoordSys_e coordSys, double x, double y, double horizontalAxis,
                              double verticalAxis);

/* Sets with how many points a circle or an ellipse is drawn. */
void VnxUtilGeomEllipseSetNumPoints(long id, int numPoints);

/* Creates a rectangle at a point. */
long VnxUtilGeomRectangleCreate(CoordSys_e coordSys, double x, double y, double width,
                                double height);

/* Sets the point that a geometry hangs at. */
void VnxUtilGeomSetAnchorPos(long id, double x, double y, double z);

/* Sets whether a geometry is attached to a zone or map, the one of VnxUtilGeomSetZoneOrMap. */
void VnxUtilGeomSetAttached(long id, char attached);

/* Sets how a geometry is clipped. */
void VnxUtilGeomSetClipping(long id, Clipping_e clipping);

/* Sets the colour of a geometry's lines. */
void VnxUtilGeomSetColor(long id, int color);

/* Sets the colour that a geometry is filled with. */
void VnxUtilGeomSetFillColor(long id, int color);

/* Sets whether a geometry is filled. */
void VnxUtilGeomSetIsFilled(long id, char isFilled);

/* Sets the pattern of a geometry's lines. */
void VnxUtilGeomSetLinePattern(long id, LinePattern_e pattern);

/* Sets the thickness of a geometry's lines. */
void VnxUtilGeomSetLineThickness(long id, double thickness);

/* Sets the command that runs when a geometry is picked. Returns the client's answer. */
char VnxUtilGeomSetMacroFunctionCmd(long id, char const* command);

/* Sets the length of a geometry's line pattern. */
void VnxUtilGeomSetPatternLength(long id, double length);

/* Sets the coordinate system of a geometry's anchor point. */
void VnxUtilGeomSetPositionCoordSys(long id, CoordSys_e coordSys);

/* Sets in which frames a geometry is shown. */
void VnxUtilGeomSetScope(long id, Scope_e scope);

/* Sets the zone or map that a geometry is attached to, counted from 1. */
void VnxUtilGeomSetZoneOrMap(long id, int zoneOrMap);

/* Creates a square at a point. */
long VnxUtilGeomSquareCreate(CoordSys_e coordSys, double x, double y, double size);

/* Sets the colour of the lines of a text's box. */
void VnxUtilTextBoxSetColor(long id, int color);

/* Sets the colour that a text's box is filled with. */
void VnxUtilTextBoxSetFillColor(long id, int color);

/* Sets the thickness of the lines of a text's box. */
void VnxUtilTextBoxSetLineThickness(long id, double thickness);

/* Sets the room between a text and its box. */
void VnxUtilTextBoxSetMargin(long id, double margin);

/* Sets what box a text has. */
void VnxUtilTextBoxSetType(long id, TextBox_e type);

/* Creates a text at a point, with its height and the units of that. */
long VnxUtilTextCreate(CoordSys_e coordSys, double x, double y, Units_e heightUnits, double height,
                       char const* text);

/* Sets which point of a text lies at its position. */
void VnxUtilTextSetAnchor(long id, TextAnchor_e anchor);

/* Sets the angle of a text. */
void VnxUtilTextSetAngle(long id, double angle);

/* Sets whether a text is attached to a zone or map, the one of VnxUtilTextSetZoneOrMap. */
void VnxUtilTextSetAttached(long id, char attached);

/* Sets how a text is clipped. */
void VnxUtilTextSetClipping(long id, Clipping_e clipping);

/* Sets the colour of a text. */
void VnxUtilTextSetColor(long id, int color);

/* Sets the spacing of a text's lines. */
void VnxUtilTextSetLineSpacing(long id, double spacing);

/* Sets the command that runs when a text is picked. Returns the client's answer. */
char VnxUtilTextSetMacroFunctionCmd(long id, char const* command);

/* Sets in which frames a text is shown. */
void VnxUtilTextSetScope(long id, Scope_e scope);

/* Sets a text's typeface. */
void VnxUtilTextSetTypeface(long id, char const* family, char isBold, char isItalic);

/* Sets the zone or map that a text is attached to, counted from 1. */
void VnxUtilTextSetZoneOrMap(long id, int zoneOrMap);

#ifdef __cplusplus
}
#endif

#endif

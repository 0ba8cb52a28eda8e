// The part of the proxy that never touches the socket: the objects that an add-on allocates, the
// answers that let it run without an engine, and the auxiliary data handles.

#include "proxy/LocalObjects.h"

#include "proxy/ArgList.h"
#include "proxy/VnxUtilProxyImpl.h"

#include <cstdlib>

namespace varnox {

namespace {

template <typename T>
char appendArg(_ArgList_s* list, char const* name, T value)
{
    list->values[toUpper(name)] = std::move(value);
    return 1;
}

template <typename T>
void dealloc(T** object)
{
    delete *object;
    *object = nullptr;
}

}

_ArgList_s* VnxUtilProxy::VnxUtilArgListAlloc()
{
    return new _ArgList_s;
}

char VnxUtilProxy::VnxUtilArgListAppendArbParam(_ArgList_s* list, char const* name, long value)
{
    return appendArg(list, name, static_cast<unsigned long>(value));
}

char VnxUtilProxy::VnxUtilArgListAppendArray(_ArgList_s* list, char const* name, void const* array)
{
    return appendArg(list, name, static_cast<int*>(const_cast<void*>(array)));
}

char VnxUtilProxy::VnxUtilArgListAppendDouble(_ArgList_s* list, char const* name, double value)
{
    return appendArg(list, name, value);
}

char VnxUtilProxy::VnxUtilArgListAppendFunction(_ArgList_s* list, char const* name,
                                                void const* function)
{
    return appendArg(list, name, reinterpret_cast<void (*)()>(const_cast<void*>(function)));
}

char VnxUtilProxy::VnxUtilArgListAppendInt(_ArgList_s* list, char const* name, long value)
{
    return appendArg(list, name, value);
}

char VnxUtilProxy::VnxUtilArgListAppendInt64Array(_ArgList_s* list, char const* name,
                                                  long const* array)
{
    return appendArg(list, name, const_cast<long*>(array));
}

char VnxUtilProxy::VnxUtilArgListAppendString(_ArgList_s* list, char const* name, char const* text)
{
    return appendArg(list, name, std::string(text));
}

char VnxUtilProxy::VnxUtilArgListAppendStringList(_ArgList_s* list, char const* name,
                                                  StringList_s* strings)
{
    return appendArg(list, name, strings->strings);
}

void VnxUtilProxy::VnxUtilArgListDealloc(_ArgList_s** list)
{
    dealloc(list);
}

StringList_s* VnxUtilProxy::VnxUtilStringListAlloc()
{
    return new StringList_s;
}

char VnxUtilProxy::VnxUtilStringListAppendString(StringList_s* list, char const* text)
{
    list->strings.emplace_back(text);
    return 1;
}

long VnxUtilProxy::VnxUtilStringListGetCount(StringList_s* list)
{
    return static_cast<long>(list->strings.size());
}

char const* VnxUtilProxy::VnxUtilStringListGetRawStringPtr(StringList_s* list, long index)
{
    return list->strings.at(static_cast<std::size_t>(index - 1)).c_str();
}

void VnxUtilProxy::VnxUtilStringListDealloc(StringList_s** list)
{
    dealloc(list);
}

Set_s* VnxUtilProxy::VnxUtilSetAlloc(char)
{
    return new Set_s;
}

char VnxUtilProxy::VnxUtilSetAddMember(Set_s* set, long member, char)
{
    set->members.insert(member);
    return 1;
}

void VnxUtilProxy::VnxUtilSetRemoveMember(Set_s* set, long member)
{
    set->members.erase(member);
}

long VnxUtilProxy::VnxUtilSetGetNextMember(Set_s* set, long member)
{
    // Deliberate: 0 is both the start and the end, also in a set that holds it.
    // Test: Set.ZeroAsAMemberEndsTheIteration
    auto const next = member == 0 ? set->members.begin() : set->members.upper_bound(member);
    return next == set->members.end() ? 0 : *next;
}

char VnxUtilProxy::VnxUtilSetCopy(Set_s* dst, Set_s* src, char)
{
    dst->members = src->members;
    return 1;
}

void VnxUtilProxy::VnxUtilSetDealloc(Set_s** set)
{
    dealloc(set);
}

char* VnxUtilProxy::VnxUtilStringAlloc(long maxLength, char const*)
{
    return static_cast<char*>(std::malloc(static_cast<std::size_t>(maxLength) + 1));
}

void VnxUtilProxy::VnxUtilStringDealloc(char** text)
{
    std::free(*text);
    *text = nullptr;
}

Mutex_s* VnxUtilProxy::VnxUtilThreadMutexAlloc()
{
    return new Mutex_s;
}

void VnxUtilProxy::VnxUtilThreadMutexLock(Mutex_s* mutex)
{
    mutex->mutex.lock();
}

void VnxUtilProxy::VnxUtilThreadMutexUnlock(Mutex_s* mutex)
{
    mutex->mutex.unlock();
}

void VnxUtilProxy::VnxUtilThreadMutexDealloc(Mutex_s** mutex)
{
    dealloc(mutex);
}

void VnxUtilProxy::VnxUtilPleaseWait(char const*, char)
{
}

AddOnList_s* VnxUtilProxy::VnxUtilAddOnRegister(int, char const*, char const*, char const*)
{
    return reinterpret_cast<AddOnList_s*>(this);
}

char VnxUtilProxy::VnxUtilInterruptCheck()
{
    return 0;
}

char VnxUtilProxy::VnxUtilInterruptIsSet()
{
    return 0;
}

char VnxUtilProxy::VnxUtilDataSetAddWriterX(_ArgList_s*)
{
    return 1;
}

char VnxUtilProxy::VnxUtilStateChangeAddCallbackX(_ArgList_s*)
{
    return 1;
}

char VnxUtilProxy::VnxUtilMacroAddCommandCallback(char const*, char (*)(char*, char**))
{
    return 1;
}

// Deliberate: the callback isn't called. Test: FixedAnswers.MainlineInvokeNeverCallsItsCallback
void VnxUtilProxy::VnxUtilMainlineInvoke(void (*)(long), long)
{
}

// There is one thread, so that the engine's lock has nothing to keep apart.
void VnxUtilProxy::VnxUtilLockStart(AddOnList_s*)
{
}
void VnxUtilProxy::VnxUtilLockFinish(AddOnList_s*)
{
}
void VnxUtilProxy::VnxUtilLockOn()
{
}
void VnxUtilProxy::VnxUtilLockOff()
{
}

// No direct access to memory that has no meaning here: this leads an add-on to the array calls.
void* VnxUtilProxy::VnxUtilDataValueGetWritableRawPtrByRef(FieldData_s*)
{
    return nullptr;
}

int* VnxUtilProxy::VnxUtilDataNodeGetWritableRawPtrByRef(ElemToNodeMap*)
{
    return nullptr;
}

int VnxUtilProxy::VnxUtilDataNodeGetRawItemType(ElemToNodeMap*)
{
    return 0;
}

AuxData_s* VnxUtilProxy::Impl::auxDataRef(AuxDataOwner const& owner)
{
    auto const known = auxDataRefs.right.find(owner);
    if (known != auxDataRefs.right.end())
        return known->second;
    // Not a pointer, but the numbers 1, 2, 3 in the order of first request.
    auto* const handle = reinterpret_cast<AuxData_s*>(auxDataRefs.size() + 1);
    auxDataRefs.left.insert({handle, owner});
    return handle;
}

AuxData_s* VnxUtilProxy::VnxUtilAuxDataZoneGetRef(int zone)
{
    return m_impl->auxDataRef({AuxDataOwner::ZONE, zone});
}

AuxData_s* VnxUtilProxy::VnxUtilAuxDataDataSetGetRef()
{
    return m_impl->auxDataRef({AuxDataOwner::DATA_SET, 0});
}

AuxData_s* VnxUtilProxy::VnxUtilAuxDataVarGetRef(int var)
{
    return m_impl->auxDataRef({AuxDataOwner::VARIABLE, var});
}

}

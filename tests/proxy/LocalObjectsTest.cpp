#include "tests/proxy/ProxyTest.h"

#include "proxy/VnxUtilProxyImpl.h"

#include <boost/thread/exceptions.hpp>

#include <algorithm>
#include <cstring>
#include <iterator>
#include <stdexcept>
#include <string_view>
#include <type_traits>

#include <pthread.h>

namespace varnox {
namespace {

using namespace tests;

char const NULL_STRING[] = "basic_string: construction from null is not valid";

void aFunction()
{
}

// The index of an alternative is what every rule about argument lists refers to.
template <int index, typename T>
constexpr bool isAlternative =
    std::is_same_v<typename boost::mpl::at_c<ArgValue::types, index>::type, T>;
static_assert(isAlternative<0, long> && isAlternative<1, int*> && isAlternative<2, long*> &&
              isAlternative<3, double> && isAlternative<4, std::string> &&
              isAlternative<5, std::vector<std::string>> && isAlternative<6, unsigned long> &&
              isAlternative<7, void (*)()>);

class ArgList : public ProxyTest
{
protected:
    void TearDown() override
    {
        proxy.VnxUtilArgListDealloc(&list);
        EXPECT_EQ(socket.numOperations(), 0U);
    }

    std::string bytes(int numVars = 0)
    {
        return cached([&](auto& target) { addArgList(target, *list, numVars); });
    }

    _ArgList_s* list = proxy.VnxUtilArgListAlloc();
};

TEST_F(ArgList, NamesMatchWhateverTheirCase)
{
    EXPECT_EQ(proxy.VnxUtilArgListAppendInt(list, "zone", 3), 1);
    ASSERT_NE(list->find<long>("Zone"), nullptr);
    EXPECT_EQ(*list->find<long>("Zone"), 3);
    EXPECT_EQ(list->find<long>("Zones"), nullptr);
}

TEST_F(ArgList, LaterValueReplacesTheEarlierWithItsType)
{
    proxy.VnxUtilArgListAppendInt(list, "zone", 3);
    EXPECT_EQ(proxy.VnxUtilArgListAppendDouble(list, "ZONE", 1.5), 1);
    EXPECT_EQ(list->values.size(), 1U);
    EXPECT_EQ(*list->find<double>("zone"), 1.5);
    EXPECT_THROW(list->find<long>("zone"), boost::bad_get);
}

TEST_F(ArgList, LaterValueOfTheSameTypeReplacesTheEarlier)
{
    proxy.VnxUtilArgListAppendString(list, "Name", "first");
    proxy.VnxUtilArgListAppendString(list, "name", "second");
    EXPECT_EQ(*list->find<std::string>("NAME"), "second");
}

TEST_F(ArgList, KeysTravelInCapitalsAndInTheOrderOfTheirBytes)
{
    proxy.VnxUtilArgListAppendInt(list, "b", 1);
    proxy.VnxUtilArgListAppendInt(list, "A_", 2);
    proxy.VnxUtilArgListAppendInt(list, "a9", 3);
    EXPECT_EQ(bytes(), i32(3) + text("A9") + i64(3) + text("A_") + i64(2) + text("B") + i64(1));
}

TEST_F(ArgList, EveryTypeOfValueIsItsGoldenBytes)
{
    int ints[] = {1, -2, 3};
    long longs[] = {4, -5, 6};
    StringList_s strings{{"x", ""}};
    EXPECT_EQ(proxy.VnxUtilArgListAppendInt(list, "a", -7), 1);
    EXPECT_EQ(proxy.VnxUtilArgListAppendArray(list, "b", ints), 1);
    EXPECT_EQ(proxy.VnxUtilArgListAppendInt64Array(list, "c", longs), 1);
    EXPECT_EQ(proxy.VnxUtilArgListAppendDouble(list, "d", 0.5), 1);
    EXPECT_EQ(proxy.VnxUtilArgListAppendString(list, "e", "text"), 1);
    EXPECT_EQ(proxy.VnxUtilArgListAppendStringList(list, "f", &strings), 1);
    EXPECT_EQ(proxy.VnxUtilArgListAppendArbParam(list, "g", -1), 1);
    EXPECT_EQ(bytes(/*numVars*/ 2),
              hex("07 00 00 00"                                           // entries
                  "01 00 00 00 00 00 00 00 41 f9 ff ff ff ff ff ff ff"    // A: -7
                  "01 00 00 00 00 00 00 00 42 02 00 00 00 00 00 00 00"    // B: two ints
                  "01 00 00 00 fe ff ff ff"                               //
                  "01 00 00 00 00 00 00 00 43 02 00 00 00 00 00 00 00"    // C: two longs
                  "04 00 00 00 00 00 00 00 fb ff ff ff ff ff ff ff"       //
                  "01 00 00 00 00 00 00 00 44 00 00 00 00 00 00 e0 3f"    // D: 0.5
                  "01 00 00 00 00 00 00 00 45 04 00 00 00 00 00 00 00"    // E: text
                  "74 65 78 74"                                           //
                  "01 00 00 00 00 00 00 00 46 02 00 00 00 00 00 00 00"    // F: two strings
                  "01 00 00 00 00 00 00 00 78 00 00 00 00 00 00 00 00"    //
                  "01 00 00 00 00 00 00 00 47 ff ff ff ff ff ff ff ff")); // G: all ones
}

TEST_F(ArgList, ArrayHasAsManyElementsAsThereAreVariables)
{
    int ints[] = {1, 2, 3};
    proxy.VnxUtilArgListAppendArray(list, "a", ints);
    EXPECT_EQ(bytes(0), i32(1) + text("A") + vec({}));
    EXPECT_EQ(bytes(3), i32(1) + text("A") + vec({i32(1), i32(2), i32(3)}));
}

TEST_F(ArgList, ArrayStaysTheCallers)
{
    int ints[] = {1};
    proxy.VnxUtilArgListAppendArray(list, "a", ints);
    ints[0] = 9;
    EXPECT_EQ(bytes(1), i32(1) + text("A") + vec({i32(9)}));
}

TEST_F(ArgList, StringListIsCopied)
{
    StringList_s strings{{"x"}};
    proxy.VnxUtilArgListAppendStringList(list, "a", &strings);
    strings.strings[0] = "changed";
    EXPECT_EQ(bytes(), i32(1) + text("A") + vec({text("x")}));
}

TEST_F(ArgList, FunctionTravelsAsItsKeyAlone)
{
    proxy.VnxUtilArgListAppendFunction(list, "f", reinterpret_cast<void const*>(aFunction));
    proxy.VnxUtilArgListAppendInt(list, "g", 1);
    EXPECT_EQ(*list->find<void (*)()>("F"), aFunction);
    EXPECT_EQ(bytes(), i32(2) + text("F") + text("G") + i64(1));
}

TEST_F(ArgList, NullArrayWithVariablesIsRefused)
{
    proxy.VnxUtilArgListAppendArray(list, "a", nullptr);
    EXPECT_EQ(bytes(0), i32(1) + text("A") + vec({}));
    EXPECT_THROW(bytes(1), std::invalid_argument);
}

TEST_F(ArgList, NullTextIsTheStandardLibrarysException)
{
    EXPECT_EQ(messageOf<std::logic_error>([&] { proxy.VnxUtilArgListAppendInt(list, nullptr, 1); }),
              NULL_STRING);
    EXPECT_EQ(
        messageOf<std::logic_error>([&] { proxy.VnxUtilArgListAppendString(list, "a", nullptr); }),
        NULL_STRING);
    EXPECT_TRUE(list->values.empty());
}

TEST_F(ArgList, DeallocSetsTheHandleToNullAndAcceptsANullOne)
{
    _ArgList_s* other = proxy.VnxUtilArgListAlloc();
    proxy.VnxUtilArgListAppendInt(other, "a", 1);
    proxy.VnxUtilArgListDealloc(&other);
    EXPECT_EQ(other, nullptr);
    proxy.VnxUtilArgListDealloc(&other);
    EXPECT_EQ(other, nullptr);
}

class StringList : public ProxyTest
{
protected:
    void TearDown() override { proxy.VnxUtilStringListDealloc(&list); }

    StringList_s* list = proxy.VnxUtilStringListAlloc();
};

TEST_F(StringList, CountsFromOne)
{
    EXPECT_EQ(proxy.VnxUtilStringListGetCount(list), 0);
    EXPECT_EQ(proxy.VnxUtilStringListAppendString(list, "first"), 1);
    EXPECT_EQ(proxy.VnxUtilStringListGetCount(list), 1);
    EXPECT_STREQ(proxy.VnxUtilStringListGetRawStringPtr(list, 1), "first");
}

TEST_F(StringList, GivesItsOwnBuffer)
{
    proxy.VnxUtilStringListAppendString(list, "first");
    EXPECT_EQ(proxy.VnxUtilStringListGetRawStringPtr(list, 1), list->strings[0].c_str());
}

TEST_F(StringList, PositionOutsideIsTheStandardRangeException)
{
    proxy.VnxUtilStringListAppendString(list, "first");
    EXPECT_EQ(
        messageOf<std::out_of_range>([&] { proxy.VnxUtilStringListGetRawStringPtr(list, 0); }),
        "vector::_M_range_check: __n (which is 18446744073709551615) >= this->size() "
        "(which is 1)");
    EXPECT_EQ(
        messageOf<std::out_of_range>([&] { proxy.VnxUtilStringListGetRawStringPtr(list, 2); }),
        "vector::_M_range_check: __n (which is 1) >= this->size() (which is 1)");
}

TEST_F(StringList, NullTextIsTheStandardLibrarysException)
{
    EXPECT_EQ(
        messageOf<std::logic_error>([&] { proxy.VnxUtilStringListAppendString(list, nullptr); }),
        NULL_STRING);
    EXPECT_EQ(proxy.VnxUtilStringListGetCount(list), 0);
}

TEST_F(StringList, DeallocSetsTheHandleToNullAndAcceptsANullOne)
{
    proxy.VnxUtilStringListDealloc(&list);
    EXPECT_EQ(list, nullptr);
    proxy.VnxUtilStringListDealloc(&list);
    EXPECT_EQ(list, nullptr);
}

class Set : public ProxyTest
{
protected:
    void SetUp() override { other = proxy.VnxUtilSetAlloc(0); }
    void TearDown() override
    {
        proxy.VnxUtilSetDealloc(&set);
        proxy.VnxUtilSetDealloc(&other);
    }

    Set_s* set = proxy.VnxUtilSetAlloc(1);
    Set_s* other = nullptr;
};

TEST_F(Set, EmptySetEndsAtOnce)
{
    EXPECT_EQ(proxy.VnxUtilSetGetNextMember(set, 0), 0);
}

TEST_F(Set, IteratesInAscendingOrderAndFromAnyNumber)
{
    EXPECT_EQ(proxy.VnxUtilSetAddMember(set, 5, 1), 1);
    EXPECT_EQ(proxy.VnxUtilSetAddMember(set, 2, 0), 1);
    EXPECT_EQ(proxy.VnxUtilSetGetNextMember(set, 0), 2);
    EXPECT_EQ(proxy.VnxUtilSetGetNextMember(set, 2), 5);
    EXPECT_EQ(proxy.VnxUtilSetGetNextMember(set, 5), 0);
    EXPECT_EQ(proxy.VnxUtilSetGetNextMember(set, 3), 5);
}

TEST_F(Set, ZeroAsAMemberEndsTheIteration)
{
    proxy.VnxUtilSetAddMember(set, 0, 0);
    proxy.VnxUtilSetAddMember(set, 4, 0);
    EXPECT_EQ(proxy.VnxUtilSetGetNextMember(set, 0), 0);
}

TEST_F(Set, AddingAMemberAgainChangesNothing)
{
    proxy.VnxUtilSetAddMember(set, 5, 0);
    EXPECT_EQ(proxy.VnxUtilSetAddMember(set, 5, 1), 1);
    EXPECT_EQ(set->members.size(), 1U);
}

TEST_F(Set, RemovingAnAbsentMemberDoesNothing)
{
    proxy.VnxUtilSetAddMember(set, 5, 0);
    proxy.VnxUtilSetRemoveMember(set, 4);
    EXPECT_EQ(set->members.size(), 1U);
    proxy.VnxUtilSetRemoveMember(set, 5);
    EXPECT_TRUE(set->members.empty());
}

TEST_F(Set, CopyOntoItselfLeavesItAsItIs)
{
    proxy.VnxUtilSetAddMember(set, 5, 0);
    EXPECT_EQ(proxy.VnxUtilSetCopy(set, set, 0), 1);
    EXPECT_EQ(set->members, (std::set<long>{5}));
}

TEST_F(Set, CopyReplacesWhatTheTargetHeld)
{
    proxy.VnxUtilSetAddMember(set, 5, 0);
    proxy.VnxUtilSetAddMember(other, -3, 0);
    EXPECT_EQ(proxy.VnxUtilSetCopy(set, other, 1), 1);
    EXPECT_EQ(set->members, (std::set<long>{-3}));
    EXPECT_EQ(other->members, (std::set<long>{-3}));
}

TEST_F(Set, CopyOfAnEmptySetEmptiesTheTarget)
{
    proxy.VnxUtilSetAddMember(set, 5, 0);
    EXPECT_EQ(proxy.VnxUtilSetCopy(set, other, 0), 1);
    EXPECT_TRUE(set->members.empty());
}

TEST_F(Set, DeallocSetsTheHandleToNullAndAcceptsANullOne)
{
    proxy.VnxUtilSetDealloc(&other);
    EXPECT_EQ(other, nullptr);
    proxy.VnxUtilSetDealloc(&other);
    EXPECT_EQ(other, nullptr);
}

class String : public ProxyTest
{
};

TEST_F(String, HasRoomForItsTerminator)
{
    char* block = proxy.VnxUtilStringAlloc(3, nullptr);
    ASSERT_NE(block, nullptr);
    std::memcpy(block, "abc", 4); // the sanitizer sees a block that is too short
    EXPECT_STREQ(block, "abc");
    proxy.VnxUtilStringDealloc(&block);
    EXPECT_EQ(block, nullptr);
}

TEST_F(String, DeallocLeavesANullAlone)
{
    char* block = nullptr;
    proxy.VnxUtilStringDealloc(&block);
    EXPECT_EQ(block, nullptr);
}

class Mutex : public ProxyTest
{
};

TEST_F(Mutex, LocksAndUnlocksAPlainMutex)
{
    Mutex_s* mutex = proxy.VnxUtilThreadMutexAlloc();
    proxy.VnxUtilThreadMutexLock(mutex);
    EXPECT_FALSE(mutex->mutex.try_lock()); // it isn't recursive
    proxy.VnxUtilThreadMutexUnlock(mutex);
    EXPECT_TRUE(mutex->mutex.try_lock());
    proxy.VnxUtilThreadMutexUnlock(mutex);
    proxy.VnxUtilThreadMutexDealloc(&mutex);
    EXPECT_EQ(mutex, nullptr);
    proxy.VnxUtilThreadMutexDealloc(&mutex);
    EXPECT_EQ(mutex, nullptr);
}

TEST_F(Mutex, LockThatFailsIsALockError)
{
    Mutex_s* mutex = proxy.VnxUtilThreadMutexAlloc();
    pthread_mutexattr_t attributes;
    ASSERT_EQ(::pthread_mutexattr_init(&attributes), 0);
    ASSERT_EQ(::pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_ERRORCHECK), 0);
    ASSERT_EQ(::pthread_mutex_destroy(mutex->mutex.native_handle()), 0);
    ASSERT_EQ(::pthread_mutex_init(mutex->mutex.native_handle(), &attributes), 0);
    ::pthread_mutexattr_destroy(&attributes);
    proxy.VnxUtilThreadMutexLock(mutex);
    std::string const message =
        messageOf<boost::lock_error>([&] { proxy.VnxUtilThreadMutexLock(mutex); });
    EXPECT_EQ(message.rfind("boost: mutex lock failed in pthread_mutex_lock", 0), 0U) << message;
    proxy.VnxUtilThreadMutexDealloc(&mutex);
}

TEST_F(Mutex, DeallocOfALockedMutexFreesItAllTheSame)
{
    Mutex_s* mutex = proxy.VnxUtilThreadMutexAlloc();
    proxy.VnxUtilThreadMutexLock(mutex);
    proxy.VnxUtilThreadMutexDealloc(&mutex);
    EXPECT_EQ(mutex, nullptr);
}

class FixedAnswers : public ProxyTest
{
protected:
    void TearDown() override
    {
        EXPECT_EQ(socket.numOperations(), 0U);
        EXPECT_FALSE(cache.isCachingCommands());
    }
};

bool wasCalled = false;

void mainlineCallback(long)
{
    wasCalled = true;
}

TEST_F(FixedAnswers, MainlineInvokeNeverCallsItsCallback)
{
    wasCalled = false;
    proxy.VnxUtilMainlineInvoke(mainlineCallback, 7);
    EXPECT_FALSE(wasCalled);
}

TEST_F(FixedAnswers, AddOnHandleIsTheProxyItself)
{
    EXPECT_EQ(static_cast<void*>(proxy.VnxUtilAddOnRegister(113, "name", "date", "company")),
              static_cast<void*>(&proxy));
}

TEST_F(FixedAnswers, LoadIsNeverInterrupted)
{
    EXPECT_EQ(proxy.VnxUtilInterruptCheck(), 0);
    EXPECT_EQ(proxy.VnxUtilInterruptIsSet(), 0);
}

TEST_F(FixedAnswers, RegistrationsForTheEngineSucceedWithoutEffect)
{
    EXPECT_EQ(proxy.VnxUtilDataSetAddWriterX(nullptr), 1);
    EXPECT_EQ(proxy.VnxUtilStateChangeAddCallbackX(nullptr), 1);
    EXPECT_EQ(proxy.VnxUtilMacroAddCommandCallback("command", nullptr), 1);
}

TEST_F(FixedAnswers, LocksAndWaitingDoNothing)
{
    proxy.VnxUtilPleaseWait("text", 1);
    proxy.VnxUtilLockStart(nullptr);
    proxy.VnxUtilLockFinish(nullptr);
    proxy.VnxUtilLockOn();
    proxy.VnxUtilLockOff();
}

TEST_F(FixedAnswers, DirectAccessToMemoryIsRefused)
{
    FieldData_s handle{1, 1};
    EXPECT_EQ(proxy.VnxUtilDataValueGetWritableRawPtrByRef(&handle), nullptr);
    EXPECT_EQ(proxy.VnxUtilDataNodeGetWritableRawPtrByRef(nullptr), nullptr);
    EXPECT_EQ(proxy.VnxUtilDataNodeGetRawItemType(nullptr), 0);
}

struct NeighbourCase
{
    char const* name;
    std::function<void(VnxMock&)> call;
};

#define NEIGHBOUR(function, ...)                                                                   \
    {                                                                                              \
#function, [](VnxMock & api) { api.function(__VA_ARGS__); }                                \
    }
NeighbourCase const neighbourCases[] = {
    NEIGHBOUR(VnxUtilArgListClear),
    NEIGHBOUR(VnxUtilArgListAppendArbParamPtr),
    NEIGHBOUR(VnxUtilArgListAppendDoublePtr),
    NEIGHBOUR(VnxUtilArgListAppendSet),
    NEIGHBOUR(VnxUtilArgListAppendStringPtr),
    NEIGHBOUR(VnxUtilArgListGetIntByIndex),
    NEIGHBOUR(VnxUtilSetClear),
    NEIGHBOUR(VnxUtilSetGetMember),
    NEIGHBOUR(VnxUtilSetGetMemberCount),
    NEIGHBOUR(VnxUtilSetGetPosition),
    NEIGHBOUR(VnxUtilSetGetPrevMember),
    NEIGHBOUR(VnxUtilSetIsEmpty),
    NEIGHBOUR(VnxUtilSetIsEqual),
    NEIGHBOUR(VnxUtilSetIsMember),
    NEIGHBOUR(VnxUtilStringListAppend),
    NEIGHBOUR(VnxUtilStringListClear),
    NEIGHBOUR(VnxUtilStringListCopy),
    NEIGHBOUR(VnxUtilStringListFromNLString),
    NEIGHBOUR(VnxUtilStringListGetString),
    NEIGHBOUR(VnxUtilStringListInsertString),
    NEIGHBOUR(VnxUtilStringListRemoveString),
    NEIGHBOUR(VnxUtilStringListRemoveStrings),
    NEIGHBOUR(VnxUtilStringListSetString),
    NEIGHBOUR(VnxUtilStringListSort),
    NEIGHBOUR(VnxUtilStringListToNLString),
    NEIGHBOUR(VnxUtilThreadRecursiveMutexAlloc),
};
#undef NEIGHBOUR

class UnimplementedNeighbour : public ProxyTest, public testing::WithParamInterface<NeighbourCase>
{
};

TEST_P(UnimplementedNeighbour, FailsLoudly)
{
    std::string const message = messageOf<std::runtime_error>([this] { GetParam().call(proxy); });
    EXPECT_EQ(message.rfind("Unimplemented method: " + std::string(GetParam().name) + ";", 0), 0U)
        << message;
}

INSTANTIATE_TEST_SUITE_P(LocalObjects, UnimplementedNeighbour, testing::ValuesIn(neighbourCases),
                         caseName<NeighbourCase>);

struct HostApiFunction
{
    std::string_view name;
    bool isOverridden;
};

constexpr HostApiFunction HOST_API_FUNCTIONS[] = {
#define HOST_API(result, name, parameters, arguments)                                              \
    {#name, !std::is_same_v<decltype(&VnxUtilProxy::name), decltype(&VnxMock::name)>},
#include "varnox/hostapi/HostApi.def"
};

TEST(OverriddenFunctions, AreThoseThatALoaderNeedsAndNoMore)
{
    EXPECT_EQ(std::count_if(std::begin(HOST_API_FUNCTIONS), std::end(HOST_API_FUNCTIONS),
                            [](HostApiFunction const& f) { return f.isOverridden; }),
              128);
}

TEST(OverriddenFunctions, OfAFamilyAreItsAllocationsAndWhatFillsThem)
{
    std::vector<std::string_view> overridden;
    for (HostApiFunction const& f : HOST_API_FUNCTIONS)
        for (char const* const family :
             {"VnxUtilArgList", "VnxUtilSet", "VnxUtilString", "VnxUtilThread", "VnxUtilLock"})
            if (f.isOverridden && f.name.starts_with(family))
                overridden.push_back(f.name);
    EXPECT_EQ(overridden, (std::vector<std::string_view>{"VnxUtilArgListAlloc",
                                                         "VnxUtilArgListAppendArbParam",
                                                         "VnxUtilArgListAppendArray",
                                                         "VnxUtilArgListAppendDouble",
                                                         "VnxUtilArgListAppendFunction",
                                                         "VnxUtilArgListAppendInt",
                                                         "VnxUtilArgListAppendInt64Array",
                                                         "VnxUtilArgListAppendString",
                                                         "VnxUtilArgListAppendStringList",
                                                         "VnxUtilArgListDealloc",
                                                         "VnxUtilLockFinish",
                                                         "VnxUtilLockOff",
                                                         "VnxUtilLockOn",
                                                         "VnxUtilLockStart",
                                                         "VnxUtilSetAddMember",
                                                         "VnxUtilSetAlloc",
                                                         "VnxUtilSetCopy",
                                                         "VnxUtilSetDealloc",
                                                         "VnxUtilSetGetNextMember",
                                                         "VnxUtilSetRemoveMember",
                                                         "VnxUtilStringAlloc",
                                                         "VnxUtilStringDealloc",
                                                         "VnxUtilStringListAlloc",
                                                         "VnxUtilStringListAppendString",
                                                         "VnxUtilStringListDealloc",
                                                         "VnxUtilStringListGetCount",
                                                         "VnxUtilStringListGetRawStringPtr",
                                                         "VnxUtilThreadMutexAlloc",
                                                         "VnxUtilThreadMutexDealloc",
                                                         "VnxUtilThreadMutexLock",
                                                         "VnxUtilThreadMutexUnlock"}));
}

class AuxDataReferences : public ProxyTest
{
protected:
    static long number(AuxData_s* handle) { return reinterpret_cast<long>(handle); }
};

TEST_F(AuxDataReferences, CountFromOneInTheOrderOfFirstRequest)
{
    EXPECT_EQ(number(proxy.VnxUtilAuxDataZoneGetRef(2)), 1);
    EXPECT_EQ(number(proxy.VnxUtilAuxDataZoneGetRef(2)), 1);
    EXPECT_EQ(number(proxy.VnxUtilAuxDataDataSetGetRef()), 2);
    EXPECT_EQ(number(proxy.VnxUtilAuxDataVarGetRef(2)), 3);
    EXPECT_EQ(number(proxy.VnxUtilAuxDataZoneGetRef(-1)), 4);
    EXPECT_EQ(number(proxy.VnxUtilAuxDataZoneGetRef(2)), 1);
    EXPECT_EQ(number(proxy.VnxUtilAuxDataDataSetGetRef()), 2);
    EXPECT_EQ(socket.numOperations(), 0U);
}

TEST_F(AuxDataReferences, ZoneAndVariableOfOneNumberAreTwoOwners)
{
    EXPECT_NE(proxy.VnxUtilAuxDataZoneGetRef(2), proxy.VnxUtilAuxDataVarGetRef(2));
}

TEST_F(AuxDataReferences, VariableIsKindThree)
{
    EXPECT_EQ(AuxDataOwner::ZONE, 0);
    EXPECT_EQ(AuxDataOwner::DATA_SET, 1);
    EXPECT_EQ(AuxDataOwner::VARIABLE, 3);
}

TEST_F(AuxDataReferences, OwnersAreOrderedByKindAndThenByNumber)
{
    EXPECT_LT((AuxDataOwner{0, 9}), (AuxDataOwner{1, 0}));
    EXPECT_LT((AuxDataOwner{3, -1}), (AuxDataOwner{3, 2}));
}

}
}

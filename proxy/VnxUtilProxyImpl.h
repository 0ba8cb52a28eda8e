#pragma once

#include "command/CommandCache.h"
#include "proxy/VnxUtilProxy.h"
#include "proxy/ZoneRecord.h"
#include "varnox/hdqremote/AddonProxy.h"
#include "varnox/socketutil/SocketInterface.h"
#include "varnox/socketutil/WriteCache.h"

#include <boost/bimap.hpp>

#include <compare>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <unordered_map>
#include <vector>

namespace varnox {

/// What an auxiliary data block belongs to.
struct AuxDataOwner
{
    // Deliberate: 2 is not used. Test: AuxDataReferences.VariableIsKindThree
    static constexpr std::int32_t ZONE = 0;
    static constexpr std::int32_t DATA_SET = 1;
    static constexpr std::int32_t VARIABLE = 3;

    std::int32_t kind;
    std::int32_t number;

    friend auto operator<=>(AuxDataOwner const&, AuxDataOwner const&) = default;
};

/// The caller's array as a vector.
template <typename T>
std::vector<T> elements(T const* values, long count)
{
    if (count < 0 || (count > 0 && values == nullptr))
        throw std::invalid_argument("An array of " + std::to_string(count) +
                                    " elements can't be sent.");
    return count > 0 ? std::vector<T>(values, values + count) : std::vector<T>();
}

class VnxUtilProxy::Impl
{
public:
    /// A zone number further than this beyond the zones there are is taken for a mistake.
    static constexpr long MAX_ZONE_GAP = 1'000'000;

    Impl(socketutil::SocketInterface& connection,
         hdq::DataSetRegistrationInterface& hdqRegistration, hdqremote::AddonProxy& owner,
         hdqremote::CommandCache& cache)
        : socket(connection), registration(hdqRegistration), addonProxy(owner), commandCache(cache)
    {
    }

    /// Runs the command loop until the client has finished what it was asked: it may call back.
    void service() const;

    AuxData_s* auxDataRef(AuxDataOwner const& owner);

    /// Sends a command and its items at once.
    template <typename... Items>
    void sendNow(std::string const& name, Items const&... items) const;
    /// The same for a text or geometry, whose id goes first.
    template <typename... Items>
    void sendSetter(std::string const& name, long id, Items const&... items) const;
    /// Sends a command behind the batch. Returns the id that the client gives; 0 for a failed
    /// flush.
    template <typename... Items>
    long create(std::string const& name, Items const&... items);

    /// The record of a zone number, or null if there is none.
    ZoneRecord* zoneRecord(long zone);
    FieldDataCallbacks* fieldDataCallbacks(long zone, long var);
    /// Their place in the table, which they get if they are new.
    std::uint32_t placeOf(FieldDataFunctions const& functions);
    /// Where a handle leads that is itself a zone number, or null.
    template <typename Handle>
    ZoneRecord* recordOfHandle(Handle* handle)
    {
        return zoneRecord(static_cast<long>(reinterpret_cast<std::intptr_t>(handle)));
    }

    /// "command finished", and behind it the result of a load or unload.
    void finishCommand() const;
    void finishCommand(bool result) const;

    /// A zone that shares its connectivity with one whose face neighbours are to be loaded can't
    /// wait in a batch.
    bool mayCacheZone(_ArgList_s const& args);
    void recordZone(_ArgList_s const& args);

    socketutil::SocketInterface& socket;
    hdq::DataSetRegistrationInterface& registration;
    hdqremote::AddonProxy& addonProxy;
    VnxLoaderCallback loaderCallback = nullptr;
    hdqremote::CommandCache& commandCache;
    unsigned long loaderClientData = 0;
    std::int32_t numVars = 0;
    std::string loaderName;
    std::string fileExtensions;
    std::unordered_map<std::int32_t, std::int64_t> zoneUniqueIds;
    boost::bimap<AuxData_s*, AuxDataOwner> auxDataRefs;
    std::vector<ZoneRecord> zones;                          ///< By zone number minus 1.
    std::vector<FieldDataFunctions> fieldDataFunctions{{}}; ///< Those of all variables, each once.
};

}

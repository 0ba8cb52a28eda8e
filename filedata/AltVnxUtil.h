#pragma once

#include "filedata/Numbers.h"
#include "varnox/hostapi/VnxTypes.h"

#include <cstdint>
#include <string>
#include <vector>

namespace varnox::hdqio {

/// A section of a mixed zone.
struct ZoneSection
{
    std::int64_t numElems;
    std::uint8_t cellShape;
    std::uint8_t gridOrder;
    std::uint8_t basisFunc;
};

/// What a survey for writing asks of the data set behind the host API. Zone and variable numbers
/// count from one; 0 is none.
class AltVnxUtil
{
public:
    virtual bool dataSetIsAvailable() const = 0;
    virtual int numZones() const = 0;
    virtual bool zoneIsEnabled(int zone) const = 0;
    virtual ZoneType_e zoneType(int zone) const = 0;
    /// The member after this one in ascending order, 0 at the end; 0 asks for the first.
    virtual long nextMember(Set_s* set, long member) const = 0;

    virtual std::string zoneName(int zone) const = 0;
    virtual std::uint8_t faceNeighborMode(int zone) const = 0;
    /// I, J and K; nodes, cells and faces of a finite-element zone.
    virtual IJK zoneSize(int zone) const = 0;
    virtual double solutionTime(int zone) const = 0;
    virtual std::uint32_t strandID(int zone) const = 0;
    virtual int parentZone(int zone) const = 0;
    virtual int connectivitySharingZone(int zone) const = 0;
    /// Of a mixed zone, at most 255.
    virtual std::vector<ZoneSection> sections(int zone) const = 0;

    virtual std::string varName(int var) const = 0;
    virtual MinMax minMax(int zone, int var) const = 0;
    virtual ValueLocation_e valueLocation(int zone, int var) const = 0;
    virtual FieldDataType_e fieldDataType(int zone, int var) const = 0;
    virtual bool varIsPassive(int zone, int var) const = 0;
    virtual int varSharingZone(int zone, int var) const = 0;
    virtual ~AltVnxUtil() = default;
};

/// Walks a set of zone or variable numbers.
class ItemSetIterator
{
public:
    virtual bool hasNext() const = 0;
    virtual long next() = 0;
    virtual ~ItemSetIterator() = default;
};

}

#pragma once

#include "varnox/ItemAddress.h"
#include "varnox/RawArray.h"
#include "varnox/hdq/CellConnectivityQueryInterface.h"
#include "varnox/hdq/NodeConnectivityQueryInterface.h"
#include "varnox/hdq/OrderedSubzoneQueryInterface.h"
#include "varnox/hdq/VarSubzoneQueryInterface.h"
#include "varnox/hdq/VarValueQueryInterface.h"
#include "varnox/hdq/ZoneVarIDQueryInterface.h"

#include <cstdint>
#include <functional>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

/// An add-on's query objects for tests: they note every call and answer what they were told to.
namespace varnox::tests {

using Item = ItemAddress<long>;
using Subzone = Item::SubzoneAddress;

/// Calls in the order in which they came, as "name argument argument", addresses in hexadecimal.
class CallLog
{
public:
    std::vector<std::string> calls;
    std::string failing; ///< The name of an operation that throws.
    std::function<void()> meanwhile = [] {}; ///< Happens within each call.

protected:
    template <typename... Arguments>
    void note(std::string const& name, Arguments const&... arguments)
    {
        std::ostringstream text;
        text << std::boolalpha << name;
        (append(text, arguments), ...);
        calls.push_back(text.str());
        meanwhile();
        if (name == failing)
            throw std::runtime_error("the add-on has failed");
    }

private:
    static void append(std::ostringstream& text, bool value) { text << ' ' << value; }
    static void append(std::ostringstream& text, int value) { text << ' ' << value; }
    static void append(std::ostringstream& text, unsigned int value) { text << ' ' << value; }
    static void append(std::ostringstream& text, long value) { text << ' ' << value; }
    static void append(std::ostringstream& text, double value) { text << ' ' << value; }
    static void append(std::ostringstream& text, Item value) { appendWord(text, value.word()); }
    static void append(std::ostringstream& text, Subzone value) { appendWord(text, value.word()); }
    template <typename T>
    static void append(std::ostringstream& text, RawArray<T> const& values)
    {
        text << " [";
        for (std::uint64_t i = 0; i < values.size; ++i)
            append(text, values.data[i]);
        text << " ]";
    }
    static void appendWord(std::ostringstream& text, std::uint64_t word)
    {
        text << ' ' << std::hex << word << std::dec;
    }
};

template <typename T, typename Values>
void appendAll(RawArray<T>& result, Values const& values)
{
    for (auto const& value : values)
        varnox::append(result, T(value));
}

class FakeCells : public hdq::CellConnectivityQueryInterface, public CallLog
{
public:
    void setup() override { note("setup"); }
    void teardown() override { note("teardown"); }
    void destroy() override { note("destroy"); }
    void checkout(bool flag, RawArray<Subzone>& checkedOut) override
    {
        note("checkout", flag, checkedOut);
    }
    void checkin(RawArray<Subzone>& checkedIn) override { note("checkin", checkedIn); }
    void checkoutAll(bool flag) override { note("checkoutAll", flag); }
    void checkinAll() override { note("checkinAll"); }
    void copyToUniform() override { note("copyToUniform"); }
    Item toUniformAddress(Item const& item) override
    {
        note("toUniformAddress", item);
        return address;
    }
    Item toHdqAddress(Item const& item) override
    {
        note("toHdqAddress", item);
        return address;
    }
    void referencedNodeSubzones(Subzone const& subzone, RawArray<Subzone>& result) override
    {
        note("referencedNodeSubzones", subzone);
        appendAll(result, subzones);
    }
    long numSubzones() override
    {
        note("numSubzones");
        return count;
    }
    unsigned short size(Subzone const& subzone) override
    {
        note("size", subzone);
        return subzoneSize;
    }
    long cornerNodeCount(Item const& cell) override
    {
        note("cornerNodeCount", cell);
        return corners;
    }
    long nodeCount(Item const& cell) override
    {
        note("nodeCount", cell);
        return nodes;
    }
    long faceCount(Item const& cell) override
    {
        note("faceCount", cell);
        return faces;
    }
    void cornerNodeAddresses(Item const& cell, RawArray<Item>& result) override
    {
        note("cornerNodeAddresses", cell);
        capacity = result.capacity;
        appendAll(result, nodesOf(cell));
    }
    Item cornerNodeAddress(Item const& cell, int index) override
    {
        note("cornerNodeAddress", cell, index);
        return address;
    }
    void nodeAddresses(Item const& cell, RawArray<Item>& result) override
    {
        note("nodeAddresses", cell);
        capacity = result.capacity;
        appendAll(result, nodesOf(cell));
    }
    Item nodeAddress(Item const& cell, int index) override
    {
        note("nodeAddress", cell, index);
        return address;
    }
    void updateInternalFaceNeighbors() override { note("updateInternalFaceNeighbors"); }
    void faceNeighbors() override { note("faceNeighbors"); }
    void setFaceNeighbors() override { note("setFaceNeighbors"); }

    Item address{0};
    std::vector<Subzone> subzones;
    long count = 0;
    unsigned short subzoneSize = 0;
    long corners = 0;
    long nodes = 0;
    long faces = 0;
    std::function<std::vector<Item>(Item)> nodesOf = [](Item) { return std::vector<Item>(); };
    std::uint64_t capacity = 0; ///< Of the array that was to be filled last.
};

class FakeNodes : public hdq::NodeConnectivityQueryInterface, public CallLog
{
public:
    void setup() override { note("setup"); }
    void teardown() override { note("teardown"); }
    void destroy() override { note("destroy"); }
    void checkout(RawArray<Subzone>& checkedOut) override { note("checkout", checkedOut); }
    void checkin(RawArray<Subzone>& checkedIn) override { note("checkin", checkedIn); }
    void checkoutAll() override { note("checkoutAll"); }
    void checkinAll() override { note("checkinAll"); }
    Item toUniformAddress(Item const& item) override
    {
        note("toUniformAddress", item);
        return address;
    }
    Item toHdqAddress(Item const& item) override
    {
        note("toHdqAddress", item);
        return address;
    }
    void referencedCellSubzones(Subzone const& subzone, RawArray<Subzone>& result) override
    {
        note("referencedCellSubzones", subzone);
        appendAll(result, subzones);
    }
    long numSubzones() override
    {
        note("numSubzones");
        return count;
    }
    unsigned short size(Subzone const& subzone) override
    {
        note("size", subzone);
        return sizeOf(subzone);
    }

    Item address{0};
    std::vector<Subzone> subzones;
    long count = 0;
    std::function<unsigned short(Subzone)> sizeOf = [](Subzone) {
        return static_cast<unsigned short>(0);
    };
};

class FakeOrdered : public hdq::OrderedSubzoneQueryInterface, public CallLog
{
public:
    void setup() override { note("setup"); }
    void teardown() override { note("teardown"); }
    void destroy() override { note("destroy"); }
    void findIJKPlaneCellSubzones(int plane, long index, RawArray<Subzone>& result) override
    {
        find(result, "findIJKPlaneCellSubzones", plane, index);
    }
    void findIJKLineCellSubzones(int line, long first, long second,
                                 RawArray<Subzone>& result) override
    {
        find(result, "findIJKLineCellSubzones", line, first, second);
    }
    void findIJKPlaneNodeSubzones(int plane, long index, RawArray<Subzone>& result) override
    {
        find(result, "findIJKPlaneNodeSubzones", plane, index);
    }
    void findIJKLineNodeSubzones(int line, long first, long second,
                                 RawArray<Subzone>& result) override
    {
        find(result, "findIJKLineNodeSubzones", line, first, second);
    }

    std::vector<Subzone> subzones;
    bool hadABlock = false;      ///< The result came with memory,
    std::uint64_t capacity = 99; ///< and with this capacity.

private:
    template <typename... Arguments>
    void find(RawArray<Subzone>& result, char const* name, Arguments... arguments)
    {
        note(name, arguments...);
        hadABlock = result.data != nullptr && *result.ownerSlot == result.data;
        capacity = result.capacity;
        appendAll(result, subzones);
    }
};

class FakeVarSubzones : public hdq::VarSubzoneQueryInterface, public CallLog
{
public:
    void setup() override { note("setup"); }
    void teardown() override { note("teardown"); }
    void destroy() override { note("destroy"); }
    void findNodeSubzones() override { note("findNodeSubzones"); }
    void findCellSubzones() override { note("findCellSubzones"); }
    void partitionMinMaxes(RawArray<double>& result) override
    {
        note("partitionMinMaxes");
        appendAll(result, values);
    }
    void cellSubzoneMinMaxes(unsigned int partition, RawArray<double>& result) override
    {
        note("cellSubzoneMinMaxes", partition);
        appendAll(result, values);
    }
    void nodeSubzoneMinMaxes(unsigned int partition, RawArray<double>& result) override
    {
        note("nodeSubzoneMinMaxes", partition);
        appendAll(result, values);
    }

    std::vector<double> values;
};

class FakeVarValues : public hdq::VarValueQueryInterface, public CallLog
{
public:
    FakeVarValues() = default;
    FakeVarValues(double lowest, double highest) : min(lowest), max(highest) {}

    void setup() override { note("setup"); }
    void teardown() override { note("teardown"); }
    void destroy() override { note("destroy"); }
    void reservedFirst() override { note("reservedFirst"); }
    void reservedSecond() override { note("reservedSecond"); }
    void minMax(double& low, double& high) override
    {
        note("minMax");
        low = min;
        high = max;
    }
    void checkout(RawArray<Subzone>& subzones) override { note("checkout", subzones); }
    void checkin(RawArray<Subzone>& subzones) override { note("checkin", subzones); }
    void checkoutAll() override { note("checkoutAll"); }
    void checkinAll() override { note("checkinAll"); }
    void copyToUniform() override { note("copyToUniform"); }
    void fieldValue() override { note("fieldValue"); }
    void fieldValues(RawArray<Item> const& items, RawArray<double>& values) override
    {
        note("fieldValues", items);
        capacity = values.capacity;
        resize(values, items.size);
        for (std::uint64_t i = 0; i < items.size; ++i)
            values.data[i] = valueOf(items.data[i]);
    }

    double min = 0;
    double max = 0;
    std::function<double(Item)> valueOf = [](Item item) {
        return static_cast<double>(item.itemOffset());
    };
    std::uint64_t capacity = 0; ///< Of the array that was to be filled last.
};

class FakeZoneVarID : public hdq::ZoneVarIDQueryInterface, public CallLog
{
public:
    void destroy() override { note("destroy"); }
    hdq::ZoneVarIDQueryInterface* duplicate() override
    {
        note("duplicate");
        return copy;
    }
    void createCalcVar(long varID, int calcVarArg, int fieldDataType,
                       std::shared_ptr<eqn::ExprInterface> const& received,
                       hdq::VarValueQueryInterface*& cellCentered,
                       hdq::VarValueQueryInterface*& nodal,
                       hdq::VarSubzoneQueryInterface*& ranges) override
    {
        note("createCalcVar", varID, calcVarArg, fieldDataType);
        expression = received;
        cellCentered = calculatedCellCentered;
        nodal = calculatedNodal;
        ranges = calculatedRanges;
    }
    bool varExists(long varID) override
    {
        note("varExists", varID);
        return exists;
    }
    void findCellSubzones(RawArray<double> const& values, RawArray<long> const& vars,
                          RawArray<Subzone>& result) override
    {
        note("findCellSubzones", values, vars);
        appendAll(result, subzones);
    }
    void findNodeSubzones(RawArray<double> const& values, RawArray<long> const& vars,
                          RawArray<Subzone>& result) override
    {
        note("findNodeSubzones", values, vars);
        appendAll(result, subzones);
    }

    hdq::ZoneVarIDQueryInterface* copy = nullptr;
    std::shared_ptr<eqn::ExprInterface> expression; ///< The last that was received.
    hdq::VarValueQueryInterface* calculatedCellCentered = nullptr;
    hdq::VarValueQueryInterface* calculatedNodal = nullptr;
    hdq::VarSubzoneQueryInterface* calculatedRanges = nullptr;
    bool exists = false;
    std::vector<Subzone> subzones;
};

}

// A loader add-on of a maker who has the tables of the binary interface and none of the headers: all
// it uses is declared here. Its data set is one zone of 5 nodes in one subzone, with one variable
// whose values are 10, 11, 12, 13 and 14.

#include <cstdint>

struct ArgList;
struct StringList;

namespace {

struct Array
{
    void* ownerSlot;
    void* data;
    std::uint64_t capacity;
    std::uint64_t size;
};

constexpr unsigned short NUM_NODES = 5;
unsigned short numCheckedOut = 0;

// The classes have the operations of the host's interfaces in their order, under names of their own.

class Nodes
{
public:
    virtual void setup() {}
    virtual void teardown() {}
    virtual void destroy() {}
    virtual void checkout(Array&) {}
    virtual void checkin(Array&) {}
    virtual void checkoutAll() {}
    virtual void checkinAll() {}
    virtual std::uint64_t toUniform(std::uint64_t const& item) { return item; }
    virtual std::uint64_t toHdq(std::uint64_t const& item) { return item; }
    virtual void cellSubzones(std::uint64_t const&, Array&) {}
    virtual long numSubzones() { return 1; }
    virtual unsigned short size(std::uint64_t const&) { return NUM_NODES; }
    virtual ~Nodes() = default;
};

class Cells
{
public:
    virtual void setup() {}
    virtual void teardown() {}
    virtual void destroy() {}
    virtual void checkout(bool, Array&) {}
    virtual void checkin(Array&) {}
    virtual void checkoutAll(bool) {}
    virtual void checkinAll() {}
    virtual void copy() {}
    virtual std::uint64_t toUniform(std::uint64_t const& item) { return item; }
    virtual std::uint64_t toHdq(std::uint64_t const& item) { return item; }
    virtual void nodeSubzones(std::uint64_t const&, Array&) {}
    virtual long numSubzones() { return 1; }
    virtual unsigned short size(std::uint64_t const&) { return 1; }
    virtual long cornerCount(std::uint64_t const&) { return 4; }
    virtual long nodeCount(std::uint64_t const&) { return 4; }
    virtual long faceCount(std::uint64_t const&) { return 4; }
    virtual void corners(std::uint64_t const&, Array&) {}
    virtual std::uint64_t corner(std::uint64_t const&, int) { return 0; }
    virtual void nodes(std::uint64_t const&, Array&) {}
    virtual std::uint64_t node(std::uint64_t const&, int) { return 0; }
    virtual void first() {}
    virtual void second() {}
    virtual void third() {}
    virtual ~Cells() = default;
};

class Values
{
public:
    virtual void setup() {}
    virtual void teardown() {}
    virtual void destroy() {}
    virtual void first() {}
    virtual void second() {}
    virtual void range(double& min, double& max)
    {
        min = 10;
        max = 14;
    }
    virtual void checkout(Array& subzones)
    {
        numCheckedOut = static_cast<unsigned short>(subzones.size);
    }
    virtual void checkin(Array&) {}
    virtual void checkoutAll() {}
    virtual void checkinAll() {}
    virtual void copy() {}
    virtual void value() {}
    virtual void values(Array const& items, Array& result)
    {
        auto const* const words = static_cast<std::uint64_t const*>(items.data);
        auto* const out = static_cast<double*>(result.data);
        for (std::uint64_t i = 0; i < items.size; ++i)
            out[i] = 9.0 + numCheckedOut + static_cast<double>(words[i] >> 56);
        result.size = items.size;
    }
    virtual ~Values() = default;
};

class Ranges
{
public:
    virtual void setup() {}
    virtual void teardown() {}
    virtual void destroy() {}
    virtual void first() {}
    virtual void second() {}
    virtual void partitions(Array&) {}
    virtual void cells(unsigned int, Array&) {}
    virtual void nodes(unsigned int, Array&) {}
    virtual ~Ranges() = default;
};

}

/// What the host offers. Its class is the host's, so it has a name that others may have.
class Registration
{
public:
    virtual void finiteElements(Cells*, Nodes*, int zone) = 0;
    virtual void ordered(Cells*, Nodes*, void*, int zone) = 0;
    virtual void searches(void*, int zone) = 0;
    virtual void variable(Values* cellCentred, Values* nodal, Ranges*, int zone, int var) = 0;

protected:
    ~Registration() = default;
};

extern "C" {
ArgList* VnxUtilArgListAlloc();
void VnxUtilArgListDealloc(ArgList** list);
char VnxUtilArgListAppendFunction(ArgList* list, char const* name, void const* function);
char VnxUtilArgListAppendInt(ArgList* list, char const* name, long value);
StringList* VnxUtilStringListAlloc();
char VnxUtilStringListAppendString(StringList* list, char const* text);
void VnxUtilStringListDealloc(StringList** list);
char VnxUtilImportAddLoaderX(ArgList* args);
void VnxUtilDataLoadStart();
char VnxUtilDataSetCreate(char const* title, StringList* names, char flag);
char VnxUtilDataSetAddZoneX(ArgList* args);
char VnxUtilDataLoadFinishX(ArgList* args, long* ids);
Registration* VnxUtilDataSetGetHDQRegistration();
}

namespace {

Cells cells;
Nodes nodes;
Values values;
Ranges ranges;

char load(StringList*, unsigned long)
{
    VnxUtilDataLoadStart();
    StringList* names = VnxUtilStringListAlloc();
    VnxUtilStringListAppendString(names, "p");
    VnxUtilDataSetCreate("bare", names, 1);
    VnxUtilStringListDealloc(&names);
    ArgList* zone = VnxUtilArgListAlloc();
    VnxUtilArgListAppendInt(zone, "Zone", 1);
    VnxUtilDataSetAddZoneX(zone);
    VnxUtilArgListDealloc(&zone);
    Registration* const registration = VnxUtilDataSetGetHDQRegistration();
    registration->finiteElements(&cells, &nodes, 0);
    registration->variable(&values, &values, &ranges, 0, 0);
    ArgList* none = VnxUtilArgListAlloc();
    char const finished = VnxUtilDataLoadFinishX(none, nullptr);
    VnxUtilArgListDealloc(&none);
    return finished;
}

}

extern "C" __attribute__((visibility("default"))) void InitVnxAddOn113()
{
    ArgList* args = VnxUtilArgListAlloc();
    VnxUtilArgListAppendFunction(args, "LoaderCallback", reinterpret_cast<void const*>(load));
    VnxUtilImportAddLoaderX(args);
    VnxUtilArgListDealloc(&args);
}

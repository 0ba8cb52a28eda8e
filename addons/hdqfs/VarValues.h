#pragma once

#include "addons/hdqfs/ZoneVariable.h"

#include "varnox/hdq/VarValueQueryInterface.h"

namespace varnox::hdqfsloader {

/// Serves the values of a variable in one form, at nodes or at cells. A variable has its values in
/// one of the forms; the object of the other one answers the range and refuses the rest. It has
/// nothing of its own: it belongs to something that knows the variable.
class VarValues : public hdq::VarValueQueryInterface
{
public:
    void setup() override {}
    void teardown() override {}
    void destroy() override {}
    void reservedFirst() override {}
    void reservedSecond() override {}
    void minMax(double& min, double& max) override;
    void checkout(RawArray<SubzoneAddress>& subzones) override;
    void checkin(RawArray<SubzoneAddress>& subzones) override;
    void checkoutAll() override;
    void checkinAll() override {}
    void copyToUniform() override {}
    void fieldValue() override {}
    void fieldValues(RawArray<ItemAddress<long>> const& items, RawArray<double>& values) override;

private:
    virtual ZoneVariable& variable() = 0;
    virtual Items form() const = 0;

    void requireForm();
};

template <Items FORM>
class ValuesAt : public VarValues
{
private:
    Items form() const final { return FORM; }
};

}

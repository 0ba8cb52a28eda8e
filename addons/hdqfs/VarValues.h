#pragma once

#include "addons/hdqfs/ZoneVariable.h"

#include "varnox/hdq/VarValueQueryInterface.h"

namespace varnox::hdqfsloader {

/// Serves the values of a variable in one form, at nodes or at cells. A variable has its values in
/// one of the forms; the object of the other one answers the range and refuses the rest.
class VarValues final : public hdq::VarValueQueryInterface
{
public:
    /// The variable must outlive the object.
    VarValues(ZoneVariable& variable, Items form) : m_variable(variable), m_form(form) {}

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
    void requireForm() const;

    ZoneVariable& m_variable;
    Items m_form;
};

}

#pragma once

#include <string>

namespace varnox::eqn {
class WarningLogInterface;
}

/// The functions of expressions for numbers. Where a result doesn't exist, the functions that look
/// for it throw std::domain_error, and the others give not-a-number. Only max_warn and min_warn
/// log.
namespace varnox::hdqlib::dbl {

double abs(double x, eqn::WarningLogInterface& log);
/// -1 below zero, otherwise 1.
double sign(double x, eqn::WarningLogInterface& log);
/// 0 at zero, otherwise 1.
double sign2(double x, eqn::WarningLogInterface& log);
double acos(double x, eqn::WarningLogInterface& log);
double asin(double x, eqn::WarningLogInterface& log);
double log10(double x, eqn::WarningLogInterface& log);
double log(double x, eqn::WarningLogInterface& log);
double exp(double x, eqn::WarningLogInterface& log);
double sqrt(double x, eqn::WarningLogInterface& log);
double trunc(double x, eqn::WarningLogInterface& log);
double round(double x, eqn::WarningLogInterface& log);
double atan(double x, eqn::WarningLogInterface& log);
double tan(double x, eqn::WarningLogInterface& log);
double sin(double x, eqn::WarningLogInterface& log);
double cos(double x, eqn::WarningLogInterface& log);
/// The argument times the next random number.
double rand(double x, eqn::WarningLogInterface& log);

double atan2(double y, double x, eqn::WarningLogInterface& log);
double power(double base, double exponent, eqn::WarningLogInterface& log);
double max(double a, double b, eqn::WarningLogInterface& log);
double min(double a, double b, eqn::WarningLogInterface& log);
/// The first argument is a limit, and the second one a value that is told of when it is clamped.
double max_warn(double limit, double value, eqn::WarningLogInterface& log);
double min_warn(double limit, double value, eqn::WarningLogInterface& log);

/// What max_warn and min_warn log.
std::string valueClampingWarningString(double limit, double value);

}

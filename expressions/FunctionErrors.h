#pragma once

/// The texts of functions that have no result.
namespace varnox::hdqlib {

constexpr char const* SQRT_ERROR = "Invalid values for sqrt function.";
constexpr char const* LOG_ERROR = "Invalid values for natural logarithmic function.";
constexpr char const* LOG10_ERROR = "Invalid values for base-10 logarithmic function.";
constexpr char const* EXP_ERROR = "Invalid values for exponential function.";
constexpr char const* POWER_ERROR = "Invalid values for power function.";

}

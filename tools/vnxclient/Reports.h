#pragma once

#include "client/Engine.h"
#include "tools/support/Output.h"

#include <nlohmann/json.hpp>

namespace varnox::tools {

/// Text in JSON is UTF-8; what isn't becomes a replacement character.
std::string dumped(nlohmann::json const& value);

/// An end of a variable's range. A float's range travels as doubles and shows as what it was.
std::string shownBound(client::ZoneVariable const& variable, double bound);

nlohmann::json jsonOfAddress(client::SubzoneAddress const& address);

void reportTypes(client::FileTypes const& types, bool asJson, Output& output);
void reportListing(client::Listing const& listing, bool asJson, Output& output);
/// Asks for the shapes of the zones.
void reportInfo(client::Engine& engine, bool asJson, Output& output);

}

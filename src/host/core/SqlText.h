#pragma once

#include <string>

#include "platform/Text.h"
#include "platform/Value.h"

// Writing values into the host's own statements.
namespace ormex::host {

using platform::quoted;
// A number as it stands, null as NULL, anything else quoted.
std::string literal(const platform::Value& value);

} // namespace ormex::host

#pragma once

#include <string>

#include "platform/Value.h"

// Writing values into the host's own statements.
namespace ormex::host {

// 'text' with quotes doubled.
std::string quoted(const std::string& text);
// A number as it stands, null as NULL, anything else quoted.
std::string literal(const platform::Value& value);

} // namespace ormex::host

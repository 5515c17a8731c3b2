#pragma once

#include <iosfwd>
#include <string>
#include <vector>

// The commands of ormex-db. Each returns the process exit code and writes its messages to the
// given streams; a failing command changes nothing.
namespace ormex::tools {

int runAdminCommand(const std::vector<std::string>& args, std::ostream& out, std::ostream& err);

} // namespace ormex::tools

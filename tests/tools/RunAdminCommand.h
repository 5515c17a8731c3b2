#pragma once

#include <sstream>
#include <string>
#include <vector>

#include "AdminCommands.h"

namespace ormex::test {

// What an ormex-db command printed and returned.
struct CommandResult
{
    int code;
    std::string out, err;
};

inline CommandResult runCommand(const std::vector<std::string>& args)
{
    std::ostringstream out, err;
    const int code = tools::runAdminCommand(args, out, err);
    return {code, out.str(), err.str()};
}

} // namespace ormex::test

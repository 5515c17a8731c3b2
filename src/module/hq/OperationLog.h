#pragma once

#include <string>
#include <vector>

#include "HqOperation.h"
#include "platform/BusinessObjects.h"

// The operation log: the local entry through the host's log server, and the t_Log row that goes
// with an operation's statements to headquarters in a linked branch (see ReplayOutbox.h).
namespace ormex::module::hq {

// The t_Log row of an operation ("" for a value outside the enumeration), for the current user,
// branch and machine, dated now cut to the minute.
std::string LogRowStatement(HQOperation operation);
// WriteLog(PropsString, "MCM0001", 1, prefix + operation, machine name, address).
void WriteLocalLog(const std::string& areaPrefix, const std::string& operation);

} // namespace ormex::module::hq

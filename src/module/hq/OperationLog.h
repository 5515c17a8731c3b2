#pragma once

#include <string>
#include <vector>

#include "HqOperation.h"
#include "platform/BusinessObjects.h"

// The operation log: the local entry through the host's log server, and, in a branch linked to
// headquarters, the operation's statements replayed there with a t_Log row.
namespace ormex::module::hq {

// The t_Log row of an operation ("" for a value outside the enumeration), for the current user,
// branch and machine, dated now cut to the minute.
std::string LogRowStatement(HQOperation operation);
// Sends statements + CR LF + the log row to headquarters; nothing outside a linked branch, and
// nothing is reported whatever happens there.
void LogOnHQ(const std::string& statements, HQOperation operation);
// The same, applied at headquarters only while the values the statements were computed from still
// stand there.
void LogOnHQ(const std::string& statements, HQOperation operation,
             const std::vector<platform::ReadCheck>& checks);
// WriteLog(PropsString, "MCM0001", 1, prefix + operation, machine name, address).
void WriteLocalLog(const std::string& areaPrefix, const std::string& operation);

} // namespace ormex::module::hq

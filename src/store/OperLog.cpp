#include "OperLog.h"

#include "platform/Clock.h"
#include "platform/Text.h"

namespace ormex::db {

std::string operLogStatement(const OperLogRow& row)
{
    using platform::quoted;
    return "insert into t_OperLog (FDate, FUserID, FFunctionID, FType, FDescription, FMachineName, "
           "FIPAddress, FSession, FCardId, FBranchNo) values (" +
           quoted(platform::now().toString()) + "," + std::to_string(row.userId) + "," +
           quoted(row.functionId) + "," + std::to_string(row.type) + "," + quoted(row.description) + "," +
           quoted(row.machineName) + "," + quoted(row.address) + "," + quoted(row.session) + "," +
           (row.cardId.empty() ? std::string("NULL") : quoted(row.cardId)) + "," + quoted(row.branchNo) + ")";
}

} // namespace ormex::db

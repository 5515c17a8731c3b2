#include "LocalLogServer.h"

#include "SqlText.h"
#include "db/Database.h"
#include "db/SharedDatabases.h"
#include "platform/Clock.h"

namespace ormex::host {

std::string operLogStatement(const OperLogRow& row)
{
    return "insert into t_OperLog (FDate, FUserID, FFunctionID, FType, FDescription, FMachineName, "
           "FIPAddress, FSession, FCardId, FBranchNo) values (" +
           quoted(platform::now().toString()) + "," + std::to_string(row.userId) + "," +
           quoted(row.functionId) + "," + std::to_string(row.type) + "," + quoted(row.description) + "," +
           quoted(row.machineName) + "," + quoted(row.address) + "," + quoted(row.session) + "," +
           (row.cardId.empty() ? std::string("NULL") : quoted(row.cardId)) + "," + quoted(row.branchNo) + ")";
}

void LocalLogServer::writeLog(const std::string& propsString, const std::string& functionId, int type,
                              const std::string& description, const std::string& machineName,
                              const std::string& address)
{
    db::sharedDatabase(m_path).execute(operLogStatement(
        {m_userId, propsString, functionId, type, description, machineName, address, {}, m_branchNo}));
}

} // namespace ormex::host

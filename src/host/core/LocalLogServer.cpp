#include "LocalLogServer.h"

#include "SqlText.h"
#include "db/Database.h"
#include "db/SharedDatabases.h"
#include "platform/Clock.h"

namespace ormex::host {

std::string operLogStatement(int userId, const std::string& propsString, const std::string& functionId,
                             int type, const std::string& description, const std::string& machineName,
                             const std::string& address)
{
    return "insert into t_OperLog (FDate, FUserID, FFunctionID, FType, FDescription, FMachineName, "
           "FIPAddress, "
           "FSession) values (" +
           quoted(platform::now().toString()) + "," + std::to_string(userId) + "," + quoted(functionId) +
           "," + std::to_string(type) + "," + quoted(description) + "," + quoted(machineName) + "," +
           quoted(address) + "," + quoted(propsString) + ")";
}

void LocalLogServer::writeLog(const std::string& propsString, const std::string& functionId, int type,
                              const std::string& description, const std::string& machineName,
                              const std::string& address)
{
    db::sharedDatabase(m_path).execute(
        operLogStatement(m_userId, propsString, functionId, type, description, machineName, address));
}

} // namespace ormex::host

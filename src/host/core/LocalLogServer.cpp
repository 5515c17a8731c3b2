#include "LocalLogServer.h"

#include "SqlText.h"
#include "db/Database.h"
#include "db/SharedDatabases.h"
#include "platform/Clock.h"

namespace ormex::host {

void LocalLogServer::writeLog(const std::string& propsString, const std::string& functionId, int type,
                              const std::string& description, const std::string& machineName,
                              const std::string& address)
{
    auto* db = &db::sharedDatabase(m_path);
    db->execute(
        "insert into t_OperLog (FDate, FUserID, FFunctionID, FType, FDescription, FMachineName, FIPAddress, "
        "FSession) values (" +
        quoted(platform::now().toString()) + "," + std::to_string(m_userId) + "," + quoted(functionId) + "," +
        std::to_string(type) + "," + quoted(description) + "," + quoted(machineName) + "," + quoted(address) +
        "," + quoted(propsString) + ")");
}

} // namespace ormex::host

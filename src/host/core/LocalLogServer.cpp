#include "LocalLogServer.h"

#include "sql/Database.h"
#include "store/SharedDatabases.h"

namespace ormex::host {

void LocalLogServer::writeLog(const std::string& propsString, const std::string& functionId, int type,
                              const std::string& description, const std::string& machineName,
                              const std::string& address)
{
    db::sharedDatabase(m_path).execute(db::operLogStatement(
        {m_userId, propsString, functionId, type, description, machineName, address, {}, m_branchNo}));
}

} // namespace ormex::host

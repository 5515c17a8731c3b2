#pragma once

#include <string>

#include "platform/BusinessObjects.h"
#include "store/OperLog.h"

// The host's operation log: one row of t_OperLog per logged operation.
namespace ormex::host {

class LocalLogServer : public platform::LogServer
{
public:
    LocalLogServer(std::string databasePath, int userId, std::string branchNo)
        : m_path(std::move(databasePath)), m_userId(userId), m_branchNo(std::move(branchNo))
    {
    }
    void writeLog(const std::string& propsString, const std::string& functionId, int type,
                  const std::string& description, const std::string& machineName,
                  const std::string& address) override;

private:
    std::string m_path;
    int m_userId;
    std::string m_branchNo;
};

} // namespace ormex::host

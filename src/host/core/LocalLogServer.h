#pragma once

#include <string>

#include "platform/BusinessObjects.h"

// The host's operation log: one row of t_OperLog per logged operation.
namespace ormex::host {

// The statement that writes one t_OperLog row, dated now.
std::string operLogStatement(int userId, const std::string& propsString, const std::string& functionId,
                             int type, const std::string& description, const std::string& machineName,
                             const std::string& address);

class LocalLogServer : public platform::LogServer
{
public:
    explicit LocalLogServer(std::string databasePath, int userId)
        : m_path(std::move(databasePath)), m_userId(userId)
    {
    }
    void writeLog(const std::string& propsString, const std::string& functionId, int type,
                  const std::string& description, const std::string& machineName,
                  const std::string& address) override;

private:
    std::string m_path;
    int m_userId;
};

} // namespace ormex::host

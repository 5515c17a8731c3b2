#pragma once

#include <string>

#include "platform/BusinessObjects.h"

// The host's operation log: one row of t_OperLog per logged operation.
namespace ormex::host {

struct OperLogRow
{
    int userId = 0;
    std::string session; // the session descriptor
    std::string functionId;
    int type = 0;
    std::string description;
    std::string machineName;
    std::string address;
    std::string cardId; // the card a card operation concerns; "" for other operations
    std::string branchNo;
};

// The statement that writes one t_OperLog row, dated now.
std::string operLogStatement(const OperLogRow& row);

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

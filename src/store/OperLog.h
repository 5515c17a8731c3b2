#pragma once

#include <string>

// A row of the local operation log t_OperLog, as the host's log server, its card object, the
// logins and the administration of seals write it.
namespace ormex::db {

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

// The statement that writes one t_OperLog row, dated now: T-SQL that either engine also runs as
// it stands.
std::string operLogStatement(const OperLogRow& row);

} // namespace ormex::db

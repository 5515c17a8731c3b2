#pragma once

#include <memory>
#include <string>

#include "db/Database.h"
#include "platform/BusinessObjects.h"

// The host's member-card lists: 50 every card, 51 the cards a card may be changed to (unused).
// Neither lists a deleted card (FDeleted not 0): whatever the condition, no screen, lookup window
// or name list finds one, at a branch or when headquarters runs the list's SQL. Each row holds the
// card's columns with type_name, FCardTypeName, status_name and cur_num, so that conditions may
// name those too.
namespace ormex::host {

// The SQL of a list with a condition ("" for every row).
std::string memberListSql(int listNo, const std::string& condition);

class MemberLists : public platform::VIPMaintain
{
public:
    explicit MemberLists(std::string databasePath) : m_path(std::move(databasePath)) {}

    void setBaseNumber(int listNo) override { m_list = listNo; }
    platform::RecordList getList(const std::string& condition, const std::string& second) override;
    platform::Recordset getListRecordset(const std::string& condition, const std::string& second) override;
    std::string getListSql(const std::string& condition, const std::string& second) override;

private:
    std::string m_path;
    int m_list = 50;
};

} // namespace ormex::host

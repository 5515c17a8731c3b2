#pragma once

#include <memory>
#include <string>
#include <vector>

#include "platform/BusinessObjects.h"
#include "sql/Database.h"

// The host's member-card lists: 50 every card, 51 the cards a card may be changed to (unused).
// Neither lists a deleted card (FDeleted not 0): whatever the condition, no screen, lookup window
// or name list finds one, at a branch or when headquarters runs the list's SQL. Each row holds the
// card's columns with type_name, FCardTypeName, status_name and cur_num, so that conditions may
// name those too; a caller that asks for some columns (setColumns) gets only those, while its
// condition may still name any.
namespace ormex::host {

// The SQL of a list with a condition ("" for every row), giving the named columns in that order,
// or every column when none are named. Throws std::invalid_argument for an unknown list or a
// column name that is not a plain identifier.
std::string memberListSql(int listNo, const std::string& condition,
                          const std::vector<std::string>& columns = {});

class MemberLists : public platform::VIPMaintain
{
public:
    explicit MemberLists(std::string databasePath) : m_path(std::move(databasePath)) {}

    void setBaseNumber(int listNo) override { m_list = listNo; }
    void setColumns(std::vector<std::string> columns) override { m_columns = std::move(columns); }
    platform::RecordList getList(const std::string& condition, const std::string& second) override;
    platform::Recordset getListRecordset(const std::string& condition, const std::string& second) override;
    std::string getListSql(const std::string& condition, const std::string& second) override;

private:
    std::string m_path;
    int m_list = 50;
    std::vector<std::string> m_columns;
};

} // namespace ormex::host

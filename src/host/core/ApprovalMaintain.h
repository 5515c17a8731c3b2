#pragma once

#include <memory>
#include <string>
#include <vector>

#include "platform/BusinessObjects.h"
#include "sql/Database.h"

// Member records waiting for approval: the pending copies in T_Pos_VipRecordCheck. Approving a
// record makes its pending values the card's record and takes it off the waiting list. The records
// of a deleted card are neither listed nor approved.
namespace ormex::host {

// The batch that approves the records of a package on `db`: for each card, its newest pending
// values written over its record, then its pending copies deleted. Throws when a record of the
// package has nothing waiting or its card has been deleted.
std::string approvalBatch(db::TsqlDatabase& db, const platform::RecordList& package);

class ApprovalMaintain : public platform::CheckMaintain
{
public:
    explicit ApprovalMaintain(std::string databasePath) : m_path(std::move(databasePath)) {}

    platform::RecordList getList(std::string& condition) override;
    platform::RecordList getRalCurMCInfo() override;
    // Throws when a record of the package has nothing waiting or its card has been deleted; then
    // nothing is approved.
    void updateMCApproveInfo(platform::RecordList& package) override;

private:
    db::Database& db();
    std::string m_path;
    std::vector<std::string> m_lastCards;
};

} // namespace ormex::host

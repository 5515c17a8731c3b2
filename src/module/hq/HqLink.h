#pragma once

#include <memory>
#include <string>
#include <vector>

#include "HqOperation.h"
#include "platform/BusinessObjects.h"
#include "platform/Connection.h"
#include "platform/RecordList.h"
#include "platform/Recordset.h"

// The headquarters database of a branch whose stored-value cards are shared with it: where it is
// configured (setting PosSavingServerDb, "server/database/user/password"), whether it can be
// reached, the refusal of each operation while it cannot, and the direct operations on it.
// Failures on headquarters are never reported here: they give empty results.
namespace ormex::module::hq {

// Reads the setting and keeps the connection text; empty when the setting has fewer than four
// fields. Errors reach the caller.
std::string BuildHQConnectionText();
// The kept connection text (built on first use and after a failed build).
const std::string& HQConnectionText();
// Forgets the kept text (the component is unloaded).
void ResetHQConnectionText();

// An open connection to headquarters, or nullptr.
std::shared_ptr<platform::Connection> OpenHQ();
// True when headquarters can be opened; never throws.
bool ConnHQ();

// What the operator reads when headquarters cannot be reached in the middle of an operation.
inline constexpr const char* kHQUnreachableMessage = "总部数据库无法连接";

// True when the operation may go on: always outside a linked branch; inside one only when
// headquarters can be reached. Otherwise the operation's refusal is shown (nothing for a value
// outside the enumeration).
bool CheckHQOnline(HQOperation operation);
// The refusal text of an operation, "" for a value outside the enumeration.
std::string HQOfflineMessage(HQOperation operation);

void ExecOnHQ(const std::string& batch);
// Runs the batch on headquarters only while the values read there still stand (errors are not
// reported, as with ExecOnHQ).
void ExecOnHQ(const std::string& batch, const std::vector<platform::ReadCheck>& checks);
// True when every value read at headquarters is still what it was; false when one changed or
// headquarters cannot be read. True outside a linked branch and without checks.
bool HQChecksHold(const std::vector<platform::ReadCheck>& checks);
platform::Value HQGetFieldValue(const std::string& sql, const std::string& field);
bool HQHasRows(const std::string& sql);
// True outside a linked branch without asking headquarters.
bool HQHasRowsIfLinked(const std::string& sql);
// Rows with every value trimmed.
platform::RecordList HQQueryToList(const std::string& sql);
// The rows and the connection that produced them; nothing when headquarters cannot be reached.
platform::Recordset HQOpenRecordset(const std::string& sql,
                                    std::shared_ptr<platform::Connection>& connection);

} // namespace ormex::module::hq

#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "FieldMap.h"
#include "RecordList.h"
#include "Recordset.h"
#include "Value.h"

// The host's business objects as the module calls them. The host creates them by programmatic
// identifier through the object factory (HostServices.h). Every member may throw std::exception
// on a database or host failure; the module's handlers decide what the operator sees.
namespace ormex::platform {

class BusinessObject
{
public:
    virtual ~BusinessObject() = default;
};

// Numbers of the tables GetTableInfo reads (the same numbers select the lookup windows).
namespace table {
inline constexpr int GiftCatalogue = 1; // T_Pos_VipGift with goods, card type and warehouse names
inline constexpr int Goods = 4;
inline constexpr int Warehouses = 5;
inline constexpr int AuxProps = 23; // auxiliary attributes of goods, by goods FNumber
inline constexpr int PaymentMethods = 34;
inline constexpr int CardTypes = 51;
} // namespace table

// A value a save read and computed from: the query that read it, its field and what it gave.
// Handed to the batch that writes, it must still give that value when the batch runs.
struct ReadCheck
{
    std::string sql;
    std::string field;
    Value expected;
};

// The session's user lacks the rights code an operation was registered with: what() is the
// refusal the operator reads, naming the function. Nothing was registered or written.
class RightRefusedError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

// A batch refused because a value it was computed from changed after it was read (another
// operator or a till wrote meanwhile). Nothing of the batch was written.
class ChangedSinceReadError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

// A database that did not take a call this time, for a reason that passes: it could not be
// reached, did not answer in time, or was busy with other writers. Nothing of the call stands,
// and the same call may be made again.
class UnavailableError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

// True when two values read from a database are the same value (text, or the same number).
bool sameReadValue(const Value& a, const Value& b);

// What a card change needs from a branch linked to headquarters.
struct CardChangeLink
{
    // Reads the cards' balances and points where they are kept (headquarters, in a linked branch);
    // empty: the database the change is made on. Throws when they cannot be read.
    std::function<Recordset(const std::string& sql)> readValues;
    // The statements that queue the change's own statements for headquarters, with the values they
    // were computed from and the cards they touch; run in the change's transaction. Empty, or ""
    // returned: nothing is queued.
    std::function<std::string(const std::string& statements, const std::vector<ReadCheck>& checks,
                              const std::vector<std::string>& cards)>
        queue;
};

// "OrmexMCardManage.MCMaintain"
class MCMaintain : public BusinessObject
{
public:
    virtual Recordset execQuery(const std::string& sql) = 0;
    // Runs a statement batch on the local database in one transaction.
    virtual void executeSql(const std::string& propsString, const std::string& sql) = 0;
    // Runs a batch as executeSql does, after checking in the same transaction, with the write lock
    // held, that every check still reads its expected value. Throws ChangedSinceReadError naming
    // the first that does not; nothing is written then.
    virtual void executeSqlChecked(const std::string& propsString, const std::string& sql,
                                   const std::vector<ReadCheck>& checks) = 0;
    virtual Recordset getTableInfo(int tableNo, const std::string& condition, bool flag) = 0;
    // The password has its quotes doubled by the caller.
    virtual bool checkPassword(const Value& item, const std::string& password) = 0;
    // True when the card exists (and, with a condition, also meets it).
    virtual bool checkCardExist(const std::string& cardNo, const std::string& condition = {}) = 0;
    virtual bool checkCardTypeEqual(const std::string& cardNo, Value& typeId) = 0;
    virtual std::string getCardTypeName(const std::string& cardNo) = 0;
    // The new card takes over holder, points and balance; the old card is voided. Result > 0 on
    // success.
    virtual long changeMemberCard(Value& oldKey, Value& oldKey2, std::string& newCardNo, Value& newType) = 0;
    // The same, reading the values moved and queueing the change as `link` says. Throws
    // ChangedSinceReadError when a value read changed before the change was written.
    virtual long changeMemberCard(Value& oldKey, Value& oldKey2, std::string& newCardNo, Value& newType,
                                  const CardChangeLink& link) = 0;
    // Writes the changed columns of the record (FCardId names the card). True on success.
    virtual bool updateMCInfo(FieldMap& record, int mode, int& operationCode) = 0;
    // The same, with `followingBatch` run in the update's transaction: both are written or
    // neither. Throws when the batch fails.
    virtual bool updateMCInfo(FieldMap& record, int mode, int& operationCode,
                              const std::string& followingBatch) = 0;
    // The cards among those named whose balance or points no longer match the seal the system
    // wrote with them (changed outside the system); a host that keeps no seals finds none.
    virtual std::vector<std::string> cardsChangedOutside(const std::vector<std::string>& cards)
    {
        (void)cards;
        return {};
    }
};

// "OrmexMCardManage.CheckMaintain": member records waiting for approval.
class CheckMaintain : public BusinessObject
{
public:
    // Pending records matching the condition ("" or text starting with " and ").
    virtual RecordList getList(std::string& condition) = 0;
    // The current records of the cards of the last getList, in the same order.
    virtual RecordList getRalCurMCInfo() = 0;
    // Approves the records of the package (one field map per ticked row).
    virtual void updateMCApproveInfo(RecordList& package) = 0;
};

// "OrmexMCardManage.ConfigMaintain"
class ConfigMaintain : public BusinessObject
{
public:
    virtual FieldMap getConfigInfo(const std::string& category) = 0;
    virtual bool saveConfigInfo(std::string& batch) = 0;
};

// "OrmexMMCBaseData.VIPMaintain": the host's lists (50 member cards, 51 cards a card may be
// changed to / card types).
class VIPMaintain : public BusinessObject
{
public:
    virtual void setBaseNumber(int listNo) = 0;
    // Asks the calls that follow for only these columns of the list (names as the list gives
    // them: card columns, type_name, FCardTypeName, status_name, cur_num), in this order; the
    // condition may still name any column. Empty, the default: every column. A list that gives
    // every column whatever is asked keeps the promise too: its rows hold at least what was asked.
    virtual void setColumns(std::vector<std::string> columns) { (void)columns; }
    virtual RecordList getList(const std::string& condition, const std::string& second) = 0;
    virtual Recordset getListRecordset(const std::string& condition, const std::string& second) = 0;
    virtual std::string getListSql(const std::string& condition, const std::string& second) = 0;
};

// "OrmexEBSBase.LogServer"
class LogServer : public BusinessObject
{
public:
    virtual void writeLog(const std::string& propsString, const std::string& functionId, int type,
                          const std::string& description, const std::string& machineName,
                          const std::string& address) = 0;
};

// Who holds a task: the operator's name ("" when the session's user is unknown) and the machine
// the task was registered from.
struct TaskHolder
{
    std::string operatorName;
    std::string machine;
};

// The login object ("OrmexLogin" of the property manager): the network task lock and the
// session's rights.
class LoginObject : public BusinessObject
{
public:
    // Registers a running task; a result below 1 means another live session holds a conflicting
    // task. `item` is empty when the caller passed none. Throws RightRefusedError when the user
    // lacks the rights code.
    virtual long taskexec(long taskNo, const std::string& code, const std::string& machine, int mode,
                          int& out1, int& out2, const Value& item) = 0;
    // Releases a task; true when it was released.
    virtual bool commitTask(long handle) = 0;
    // The other session that holds a task conflicting with this one (the one taskexec refused);
    // nothing when no other session holds one.
    virtual std::optional<TaskHolder> taskHolder(long taskNo, const std::string& code, const Value& item) = 0;
    // Checks that the session's user holds the rights code, for an operation that registers no
    // task. Throws RightRefusedError when the user lacks it, after logging the refusal (with the
    // machine and the item, "" when there is none), as taskexec does.
    virtual void checkRight(const std::string& code, const std::string& machine, const Value& item) = 0;
};

// "OrmexPropsMgr.ShareProps": the property manager.
class ShareProps : public BusinessObject
{
public:
    virtual Value getProperty(const std::string& name, long processId) = 0;
    virtual std::shared_ptr<BusinessObject> getObjectProperty(const std::string& name, long processId) = 0;
};

} // namespace ormex::platform

#pragma once

#include <functional>
#include <future>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/BatchProgress.h"
#include "platform/BusinessObjects.h"
#include "platform/Connection.h"
#include "platform/Lookups.h"
#include "platform/MessageService.h"
#include "platform/Recordset.h"

// The component's way to its host: the message service, the business objects, queries and
// batches on the local database, the member lists, the password check and the network task
// lock. Screens reach the host only through here and the session readers (Session.h); this is
// the one place that asks the host's service registry for objects.
namespace ormex::module::frame {

platform::MessageService& Messages();

// Business objects, created anew for each operation. Each throws when the host cannot make one.
std::shared_ptr<platform::MCMaintain> CardObject();        // OrmexMCardManage.MCMaintain
std::shared_ptr<platform::CheckMaintain> ApprovalObject(); // OrmexMCardManage.CheckMaintain
std::shared_ptr<platform::ConfigMaintain> ConfigObject();  // OrmexMCardManage.ConfigMaintain
std::shared_ptr<platform::LogServer> LogServerObject();    // OrmexEBSBase.LogServer
std::shared_ptr<platform::GLNameList> NewNameList();       // OrmexGLNameListLib2.GLNameList
std::shared_ptr<platform::Connection> NewConnection();     // ADODB.Connection

// Runs a query on the local database. Errors reach the caller.
platform::Recordset ExecQuery(const std::string& sql);
// Rows of a numbered table of the host (platform::table) filtered by the condition ("" for all).
// Errors reach the caller.
platform::Recordset GetTableInfo(int tableNo, const std::string& condition);
// Runs a statement batch on the local database under the session descriptor, in one
// transaction. Errors reach the caller.
void ExecuteSQL(const std::string& batch);
// Runs the batch only while every value it was computed from still stands (checked in its
// transaction). Throws platform::ChangedSinceReadError when one changed; nothing is written then.
void ExecuteSQL(const std::string& batch, const std::vector<platform::ReadCheck>& checks);
// ExecuteSQL with its checks, run on a worker thread while this thread's event loop keeps turning
// (RunOffThread): the window repaints and `tick` runs meanwhile, reading how far the batch has got
// from `progress`. Still one transaction; throws what ExecuteSQL throws.
void ExecuteSQLOffThread(const std::string& batch, const std::vector<platform::ReadCheck>& checks,
                         platform::BatchProgress& progress, const std::function<void()>& tick);
// The check that a card a batch writes is still there and not deleted when the batch runs: a card
// listed before it was deleted is not written, and the save ends as for a card changed since it
// was read.
platform::ReadCheck LiveCardCheck(const std::string& card);
// The same check for many cards, a few hundred to a check (a check is a query in the batch's
// transaction): each holds while every card it names is still there and not deleted.
std::vector<platform::ReadCheck> LiveCardsChecks(const std::vector<std::string>& cards);
// A card's accumulated and used points (FAccNum, FDecNum) as a save read them; blank when the card
// was not found.
struct CardPointsRead
{
    std::string card;
    platform::Value accumulated;
    platform::Value used;
};
// The checks that the cards' points still are what was read, a few hundred cards to a check: each
// holds while every card it names is there, not deleted, with both values (a blank one: none), so
// a card checked here needs no LiveCardsChecks of its own. A card listed
// twice with the same values counts once; listed with other values as well, its check cannot hold.
std::vector<platform::ReadCheck> CardPointsChecks(const std::vector<CardPointsRead>& cards);
// The named field of the first row; "" when the query returns no row. Errors reach the caller.
platform::Value GetFieldValue(const std::string& sql, const std::string& field);

// True when every named card still matches the seal the system wrote with its balance and points.
// Otherwise the operator is told which cards were changed outside the system and that the
// operation cannot go on, and the answer is false. Errors reach the caller.
bool CardsMatchTheirSeals(const std::vector<std::string>& cards, const std::string& operation);
// CardsMatchTheirSeals read on a worker thread while the caller goes on building its batch (which
// reads nothing more of this database meanwhile): the seals are read from the construction on, and
// matchOrTell() waits for them and answers as CardsMatchTheirSeals does. Destroyed unasked, it
// waits for the reading to end.
class CardSealsReading
{
public:
    explicit CardSealsReading(std::vector<std::string> cards);
    ~CardSealsReading();
    CardSealsReading(const CardSealsReading&) = delete;
    CardSealsReading& operator=(const CardSealsReading&) = delete;
    // Errors of the reading reach the caller here.
    bool matchOrTell(const std::string& operation);

private:
    std::vector<std::string> m_cards;
    std::future<std::vector<std::string>> m_changed;
};
// The message that refuses an operation on cards changed outside the system.
std::string SealRefusal(const std::vector<std::string>& cards, const std::string& operation);

// False for item 0 without asking the host; otherwise the host checks the password (quotes
// doubled). A failing check answers false and shows nothing.
bool CheckPassword(const platform::Value& item, const std::string& password);

// The member lists (50 cards, 51 cards a card may change to). Any error gives no result.
std::optional<platform::RecordList> GetVipRecordList(int listNo, const std::string& condition,
                                                     const std::string& second = {});
platform::Recordset GetVipRecordset(int listNo, const std::string& condition, const std::string& second = {});
std::string GetVipListSql(int listNo, const std::string& condition, const std::string& second = {});
// The same with only the named columns of the list (platform::VIPMaintain::setColumns): a screen
// that fills a grid with every card reads what it shows, not each card's whole row.
platform::Recordset GetVipRecordset(int listNo, const std::string& condition,
                                    const std::vector<std::string>& columns);
std::string GetVipListSql(int listNo, const std::string& condition, const std::vector<std::string>& columns);

// Registers a task with the network task lock: -1 for a task number below 1 (nothing
// registered), 0 when another session holds a conflicting task or anything failed, kRightRefused
// when the user lacks the rights code (the operator has been told either way), else the handle.
inline constexpr long kRightRefused = -2;
long ExecFunc(long taskNo, const platform::Value& item, const std::string& code);
long ExecFunc(long taskNo, const std::string& code);
// Releases a held task; the handle becomes 0 when the host released it. False on any error.
bool CommitTask(long& handle);

// True when the session's user holds the rights code, for an operation that registers no task.
// Otherwise false: the host has logged the refusal (with the item, if any) and the operator has
// been told which function was refused, or why the host could not answer.
bool CheckRight(const std::string& code, const platform::Value& item = {});

// What the operator reads when a save was refused because a card changed, or was deleted, after
// it was read.
inline constexpr const char* kChangedSinceReadMessage =
    "卡上的积分或余额已被其他操作修改，或该卡已被删除，请重新查询后再试！";

inline constexpr const char* kTaskConflictMessage =
    "当前使用的功能与当前或其他用户有冲突,可能无法使用! 请在软件的【系统工具】--【网络控制工具】中进行处理。";
// The conflict as the operator reads it: kTaskConflictMessage, then who holds the task when the
// host could tell.
std::string TaskConflictMessage(const std::optional<platform::TaskHolder>& holder);

} // namespace ormex::module::frame

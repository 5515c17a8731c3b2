#include "Gateway.h"

#include <charconv>
#include <mutex>
#include <set>
#include <stdexcept>

#include "LogCategories.h"
#include "OffThreadRun.h"
#include "Session.h"
#include "platform/HostServices.h"
#include "platform/NumberText.h"
#include "platform/Text.h"

namespace ormex::module::frame {

namespace {

// The local database connection serves one thread at a time: a commit running on a worker
// (RunOffThread) holds it, and a query of the window's thread waits for the commit meanwhile.
std::mutex g_connection;

using ConnectionUse = std::lock_guard<std::mutex>;

// A check of a batch names a few hundred cards rather than one: one query for them all. The
// executor binds up to 500 literals of a query as parameters and compiles each shape once; a query
// with more is compiled anew each time, which for these long conditions costs more than running
// them. So a check stays within 500 literals.
constexpr std::size_t kLiteralsPerCheck = 500;

// The condition that a column still holds the value read from it. Blank is no value. A number is
// written as the system writes numbers; a sum of decimals made in the database can hold binary
// digits beyond the 15 that writes, and then it is written with as many digits as it takes to read
// back the same number, so that an unchanged value still compares equal.
std::string stillHolds(const char* column, const platform::Value& read)
{
    if (read.isBlank()) return std::string(column) + " is null";
    if (!read.isNumeric()) return std::string(column) + "=" + platform::quoted(read.toString());
    const double value = read.toDouble();
    std::string number = platform::formatNumber(value);
    if (platform::parseNumber(number) != value) {
        char digits[400];
        const auto written = std::to_chars(digits, digits + sizeof digits, value, std::chars_format::fixed);
        number.assign(digits, written.ptr);
    }
    return std::string(column) + "=" + number;
}

platform::HostServices& host()
{
    return platform::HostServices::instance();
}

std::shared_ptr<platform::VIPMaintain> memberLists(int listNo, const std::vector<std::string>& columns = {})
{
    auto lists = host().factory().createAs<platform::VIPMaintain>("OrmexMMCBaseData.VIPMaintain");
    lists->setBaseNumber(listNo);
    if (!columns.empty()) lists->setColumns(columns);
    return lists;
}

long register_(long taskNo, const platform::Value* item, const std::string& code)
{
    if (taskNo < 1) return -1;
    try {
        auto login = GetLoginObject();
        int out1 = 0, out2 = 0;
        const long result = login->taskexec(taskNo, code, GetTaskMachineName(), 3, out1, out2,
                                            item ? *item : platform::Value());
        if (result < 1) {
            std::optional<platform::TaskHolder> holder;
            try {
                holder = login->taskHolder(taskNo, code, item ? *item : platform::Value());
            } catch (const std::exception& error) {
                // The conflict stands; it is told without its holder.
                qCWarning(lcFrame, "reading the holder of task %ld (%s) failed: %s", taskNo, code.c_str(),
                          error.what());
            }
            throw std::runtime_error(TaskConflictMessage(holder));
        }
        return result;
    } catch (const platform::RightRefusedError& refusal) {
        Messages().message(refusal.what(), "提示", platform::MessageIcon::Information);
        return kRightRefused;
    } catch (const std::exception& error) {
        qCWarning(lcFrame, "registering task %ld (%s) failed: %s", taskNo, code.c_str(), error.what());
        Messages().error(error.what());
        return 0;
    }
}

} // namespace

platform::MessageService& Messages()
{
    return host().messages();
}

std::shared_ptr<platform::MCMaintain> CardObject()
{
    return host().factory().createAs<platform::MCMaintain>("OrmexMCardManage.MCMaintain");
}

std::shared_ptr<platform::CheckMaintain> ApprovalObject()
{
    return host().factory().createAs<platform::CheckMaintain>("OrmexMCardManage.CheckMaintain");
}

std::shared_ptr<platform::ConfigMaintain> ConfigObject()
{
    return host().factory().createAs<platform::ConfigMaintain>("OrmexMCardManage.ConfigMaintain");
}

std::shared_ptr<platform::LogServer> LogServerObject()
{
    return host().factory().createAs<platform::LogServer>("OrmexEBSBase.LogServer");
}

std::shared_ptr<platform::GLNameList> NewNameList()
{
    return host().factory().createAs<platform::GLNameList>("OrmexGLNameListLib2.GLNameList");
}

std::shared_ptr<platform::Connection> NewConnection()
{
    return host().factory().createAs<platform::Connection>("ADODB.Connection");
}

platform::Recordset ExecQuery(const std::string& sql)
{
    const ConnectionUse use(g_connection);
    return CardObject()->execQuery(sql);
}

platform::Recordset GetTableInfo(int tableNo, const std::string& condition)
{
    const ConnectionUse use(g_connection);
    return CardObject()->getTableInfo(tableNo, condition, false);
}

void ExecuteSQL(const std::string& batch)
{
    const ConnectionUse use(g_connection);
    CardObject()->executeSql(GetPropsString(), batch);
}

void ExecuteSQL(const std::string& batch, const std::vector<platform::ReadCheck>& checks)
{
    if (checks.empty()) {
        ExecuteSQL(batch);
        return;
    }
    const ConnectionUse use(g_connection);
    CardObject()->executeSqlChecked(GetPropsString(), batch, checks);
}

void ExecuteSQLOffThread(const std::string& batch, const std::vector<platform::ReadCheck>& checks,
                         platform::BatchProgress& progress, const std::function<void()>& tick)
{
    // The object and the session descriptor are taken here: the worker asks the host for nothing.
    const auto card = CardObject();
    const std::string props = GetPropsString();
    RunOffThread(
        [&] {
            const ConnectionUse use(g_connection);
            const platform::BatchProgressScope reporting(&progress);
            if (checks.empty())
                card->executeSql(props, batch);
            else
                card->executeSqlChecked(props, batch, checks);
        },
        tick);
}

platform::ReadCheck LiveCardCheck(const std::string& card)
{
    return {"select count(*) as n from T_Pos_VipRecord where FCardId='" + platform::quoteDoubled(card) +
                "' and FDeleted=0",
            "n", platform::Value(1)};
}

std::vector<platform::ReadCheck> LiveCardsChecks(const std::vector<std::string>& cards)
{
    // Card numbers compare without regard to case: a card listed twice counts once.
    std::set<std::string> distinct;
    for (const std::string& card : cards)
        distinct.insert(platform::toUpperAscii(card));
    std::vector<platform::ReadCheck> checks;
    std::string list;
    long listed = 0;
    for (auto it = distinct.begin(); it != distinct.end();) {
        list += (listed == 0 ? "" : ",") + platform::quoted(*it);
        ++listed;
        // Each card is a literal, and FDeleted=0 one more.
        if (++it == distinct.end() || listed == static_cast<long>(kLiteralsPerCheck - 1)) {
            checks.push_back(
                {"select count(*) as n from T_Pos_VipRecord where FCardId in (" + list + ") and FDeleted=0",
                 "n", platform::Value(listed)});
            list.clear();
            listed = 0;
        }
    }
    return checks;
}

std::vector<platform::ReadCheck> CardPointsChecks(const std::vector<CardPointsRead>& cards)
{
    // One condition per card and values read. Card numbers compare without regard to case: a card
    // listed twice with the same values is one condition. Listed with other values as well, it is
    // two conditions that one row cannot both meet, so the count falls short.
    std::set<std::pair<std::string, std::string>> distinct;
    for (const CardPointsRead& read : cards)
        distinct.emplace(platform::toUpperAscii(read.card), stillHolds("FAccNum", read.accumulated) +
                                                                " and " + stillHolds("FDecNum", read.used));
    std::vector<platform::ReadCheck> checks;
    std::string conditions;
    long listed = 0;
    for (auto it = distinct.begin(); it != distinct.end();) {
        conditions += (listed == 0 ? "(" : " or (") + std::string("FCardId=") + platform::quoted(it->first) +
                      " and " + it->second + ")";
        ++listed;
        // Three literals a card (its number and its two values) and FDeleted=0 one more.
        if (++it == distinct.end() || listed == static_cast<long>((kLiteralsPerCheck - 1) / 3)) {
            checks.push_back(
                {"select count(*) as n from T_Pos_VipRecord where FDeleted=0 and (" + conditions + ")", "n",
                 platform::Value(listed)});
            conditions.clear();
            listed = 0;
        }
    }
    return checks;
}

platform::Value GetFieldValue(const std::string& sql, const std::string& field)
{
    const platform::Recordset rs = ExecQuery(sql);
    if (rs.atEnd()) return platform::Value("");
    return rs.field(field);
}

std::string SealRefusal(const std::vector<std::string>& cards, const std::string& operation)
{
    return "会员卡【" + platform::join(cards, "、") +
           "】的余额或积分与系统记录的校验码不符，可能被非法修改，不能进行【" + operation +
           "】，请联系管理员核查！";
}

namespace {

// True when no card was changed outside the system; otherwise the operator is told which were.
bool noneChangedOrTell(const std::vector<std::string>& changed, const std::string& operation)
{
    if (changed.empty()) return true;
    Messages().message(SealRefusal(changed, operation), "提示", platform::MessageIcon::Information);
    return false;
}

} // namespace

bool CardsMatchTheirSeals(const std::vector<std::string>& cards, const std::string& operation)
{
    std::vector<std::string> changed;
    {
        const ConnectionUse use(g_connection);
        changed = CardObject()->cardsChangedOutside(cards);
    }
    return noneChangedOrTell(changed, operation);
}

CardSealsReading::CardSealsReading(std::vector<std::string> cards) : m_cards(std::move(cards))
{
    // The object is taken here: the worker asks the host for nothing.
    const auto card = CardObject();
    m_changed = std::async(std::launch::async, [this, card] {
        const ConnectionUse use(g_connection);
        return card->cardsChangedOutside(m_cards);
    });
}

CardSealsReading::~CardSealsReading()
{
    if (m_changed.valid()) m_changed.wait();
}

bool CardSealsReading::matchOrTell(const std::string& operation)
{
    return noneChangedOrTell(m_changed.get(), operation);
}

bool CheckPassword(const platform::Value& item, const std::string& password)
{
    if (item.isBlank() || (item.isNumeric() && item.toDouble() == 0)) return false;
    try {
        return CardObject()->checkPassword(item, platform::quoteDoubled(password));
    } catch (const std::exception& error) {
        // The caller tells the operator that the password was not accepted; a second box for the
        // same failure would only confuse.
        qCWarning(lcFrame, "checking the password of card %s failed: %s", item.toString().c_str(),
                  error.what());
        return false;
    }
}

std::optional<platform::RecordList> GetVipRecordList(int listNo, const std::string& condition,
                                                     const std::string& second)
{
    try {
        const ConnectionUse use(g_connection);
        return memberLists(listNo)->getList(condition, second);
    } catch (const std::exception& error) {
        qCWarning(lcFrame, "member list %d where %s failed: %s", listNo, condition.c_str(), error.what());
        return std::nullopt;
    }
}

namespace {

// The rows of a member list (every column when none are named), or none, logged, when it cannot be
// read.
platform::Recordset listRecordset(int listNo, const std::string& condition, const std::string& second,
                                  const std::vector<std::string>& columns)
{
    try {
        const ConnectionUse use(g_connection);
        return memberLists(listNo, columns)->getListRecordset(condition, second);
    } catch (const std::exception& error) {
        qCWarning(lcFrame, "member list %d where %s failed: %s", listNo, condition.c_str(), error.what());
        return {};
    }
}

// The text of a member list's query, or "", logged, when the list cannot give it.
std::string listSql(int listNo, const std::string& condition, const std::string& second,
                    const std::vector<std::string>& columns)
{
    try {
        return memberLists(listNo, columns)->getListSql(condition, second);
    } catch (const std::exception& error) {
        qCWarning(lcFrame, "the text of member list %d failed: %s", listNo, error.what());
        return {};
    }
}

} // namespace

platform::Recordset GetVipRecordset(int listNo, const std::string& condition, const std::string& second)
{
    return listRecordset(listNo, condition, second, {});
}

platform::Recordset GetVipRecordset(int listNo, const std::string& condition,
                                    const std::vector<std::string>& columns)
{
    return listRecordset(listNo, condition, {}, columns);
}

std::string GetVipListSql(int listNo, const std::string& condition, const std::vector<std::string>& columns)
{
    return listSql(listNo, condition, {}, columns);
}

std::string GetVipListSql(int listNo, const std::string& condition, const std::string& second)
{
    return listSql(listNo, condition, second, {});
}

long ExecFunc(long taskNo, const platform::Value& item, const std::string& code)
{
    return register_(taskNo, &item, code);
}

long ExecFunc(long taskNo, const std::string& code)
{
    return register_(taskNo, nullptr, code);
}

std::string TaskConflictMessage(const std::optional<platform::TaskHolder>& holder)
{
    std::string text = kTaskConflictMessage;
    if (!holder) return text;
    if (holder->operatorName.empty()) return text + "\n该功能正在机器【" + holder->machine + "】上使用。";
    return text + "\n该功能正由操作员【" + holder->operatorName + "】在机器【" + holder->machine +
           "】上使用。";
}

bool CheckRight(const std::string& code, const platform::Value& item)
{
    try {
        GetLoginObject()->checkRight(code, GetTaskMachineName(), item);
        return true;
    } catch (const platform::RightRefusedError& refusal) {
        Messages().message(refusal.what(), "提示", platform::MessageIcon::Information);
    } catch (const std::exception& error) {
        qCWarning(lcFrame, "checking right %s failed: %s", code.c_str(), error.what());
        Messages().error(error.what());
    }
    return false;
}

bool CommitTask(long& handle)
{
    if (handle == 0) return true;
    try {
        if (GetLoginObject()->commitTask(handle)) handle = 0;
        return handle == 0;
    } catch (const std::exception& error) {
        qCWarning(lcFrame, "committing task handle %ld failed: %s", handle, error.what());
        return false;
    }
}

} // namespace ormex::module::frame

// The batches of the points and stored-value screens over N cards, run by the T-SQL executor
// (Database::execute: parse, compile each statement shape once, bind the literals, one
// transaction) next to a floor: the same row changes made by libsqlite3 directly, each statement
// compiled once and bound, in one transaction, on a connection with the same settings. The ratio
// of the two is the price of running the screens' T-SQL instead of hand-written native code.
//
// The gift catalogue save is one batch too: the whole catalogue emptied and N gift rows written.
// The single-card commits (a recharge of the stored-value screen, a card status operation of the
// card screen) and the member settings save are small batches the screens send one at a time:
// they run N times, each its own execute() and so its own transaction, against a floor that
// commits N transactions as well (its statements compiled once for all of them).
//
// Every iteration starts both from a copy of the same database of N generated cards. The floor's
// result is checked against the executor's after every run (totals of every table the shapes
// touch) and row by row after the first run of each benchmark, so the floor cannot get cheaper by
// doing less.
//
// The reported time is the executor's; the counters give both sides:
//   exec_ms, floor_ms      mean time of one run over all N cards (gift rows, settings saves)
//   ratio                  executor time / floor time, over all runs
//   per_card_us            executor time per card; floor_per_card_us the same for the floor
//   batch_mb               size of the batch text (of all N batches of a single-card shape)
//   peak_extra_mb          the highest resident memory during execute() above what the process
//                          held just before it (the largest over the runs)
#include <benchmark/benchmark.h>
#include <sqlite3.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include "db/Database.h"
#include "db/LargeData.h"
#include "db/Schema.h"
#include "module/frame/SavePackage.h"
#include "module/points/GiftCatalogueStatements.h"
#include "module/points/PointsStatements.h"
#include "module/settings/MemberSettingsKeys.h"
#include "module/storedvalue/StoredValueStatements.h"
#include "platform/BalanceCodec.h"
#include "platform/Clock.h"
#include "platform/FieldMap.h"
#include "platform/NumberText.h"

namespace {

namespace fs = std::filesystem;
namespace frame = ormex::module::frame;
namespace points = ormex::module::points;
namespace settings = ormex::module::settings;
namespace storedvalue = ormex::module::storedvalue;
using ormex::db::Database;
using SteadyClock = std::chrono::steady_clock;

constexpr const char* kPragmas =
    "PRAGMA journal_mode=WAL; PRAGMA synchronous=NORMAL; PRAGMA foreign_keys=ON;";
constexpr const char* kOperDate = "2026-11-23 10:00:00";
constexpr const char* kUserId = "16394";
constexpr long long kUser = 16394;
constexpr long long kBranchId = 1;
constexpr const char* kBranchNo = "01";
constexpr double kMiB = 1024.0 * 1024.0;

// ---------------------------------------------------------------------------------------------
// Native SQLite, for the floor and for reading and comparing the databases.

[[noreturn]] void fail(sqlite3* db, const std::string& what)
{
    throw std::runtime_error(what + ": " + sqlite3_errmsg(db));
}

void exec(sqlite3* db, const std::string& sql)
{
    char* error = nullptr;
    if (sqlite3_exec(db, sql.c_str(), nullptr, nullptr, &error) != SQLITE_OK) {
        const std::string reason = error ? error : sqlite3_errmsg(db);
        sqlite3_free(error);
        throw std::runtime_error(sql + ": " + reason);
    }
}

class Connection
{
public:
    explicit Connection(const fs::path& path, int flags = SQLITE_OPEN_READWRITE)
    {
        if (sqlite3_open_v2(path.c_str(), &m_db, flags, nullptr) != SQLITE_OK) {
            const std::string reason = m_db ? sqlite3_errmsg(m_db) : "out of memory";
            sqlite3_close(m_db);
            throw std::runtime_error("cannot open " + path.string() + ": " + reason);
        }
        // The executor's connection settings (Database::open).
        sqlite3_busy_timeout(m_db, 10000);
        exec(m_db, kPragmas);
    }
    ~Connection() { sqlite3_close(m_db); }
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;
    sqlite3* handle() const { return m_db; }

private:
    sqlite3* m_db = nullptr;
};

// A statement compiled once; binding by position, text bound without a copy (the caller keeps it
// alive until the statement is reset).
class Statement
{
public:
    Statement(sqlite3* db, const char* sql) : m_db(db)
    {
        if (sqlite3_prepare_v3(db, sql, -1, SQLITE_PREPARE_PERSISTENT, &m_stmt, nullptr) != SQLITE_OK)
            fail(db, std::string("cannot compile ") + sql);
    }
    ~Statement() { sqlite3_finalize(m_stmt); }
    Statement(const Statement&) = delete;
    Statement& operator=(const Statement&) = delete;

    Statement& text(int i, std::string_view value)
    {
        sqlite3_bind_text(m_stmt, i, value.data(), static_cast<int>(value.size()), SQLITE_STATIC);
        return *this;
    }
    Statement& integer(int i, long long value)
    {
        sqlite3_bind_int64(m_stmt, i, value);
        return *this;
    }
    Statement& real(int i, double value)
    {
        sqlite3_bind_double(m_stmt, i, value);
        return *this;
    }
    // Steps once: true on a row.
    bool step()
    {
        const int rc = sqlite3_step(m_stmt);
        if (rc == SQLITE_ROW) return true;
        if (rc == SQLITE_DONE) return false;
        sqlite3_reset(m_stmt);
        fail(m_db, std::string("cannot run ") + sqlite3_sql(m_stmt));
    }
    // Runs a statement that changes rows.
    void run()
    {
        step();
        sqlite3_reset(m_stmt);
    }
    // Runs a query: true when it returns a row.
    bool exists()
    {
        const bool row = step();
        sqlite3_reset(m_stmt);
        return row;
    }
    sqlite3_stmt* handle() const { return m_stmt; }

private:
    sqlite3* m_db;
    sqlite3_stmt* m_stmt = nullptr;
};

// ---------------------------------------------------------------------------------------------
// The databases: a template of N cards per size, copied for every run.

struct Card
{
    std::string id;
    double accumulated = 0; // FAccNum
    double used = 0;        // FDecNum
    double balance = 0;     // FResidualAmt decoded
};

struct Template
{
    fs::path path;
    std::vector<Card> cards;
};

fs::path tempFile(const std::string& name)
{
    return fs::temp_directory_path() / ("ormex-shapes-" + name + "-" + std::to_string(::getpid()) + ".db");
}

void removeDatabase(const fs::path& path)
{
    std::error_code ignored;
    fs::remove(path, ignored);
    fs::remove(path.string() + "-wal", ignored);
    fs::remove(path.string() + "-shm", ignored);
}

// Files of this process, removed when it ends.
struct Files
{
    std::vector<fs::path> paths;
    ~Files()
    {
        for (const auto& path : paths)
            removeDatabase(path);
    }
};

Files& files()
{
    static Files instance;
    return instance;
}

// What a template holds besides its cards and the branch number: for the catalogue save, the
// gift catalogue the screen loaded whole (with its goods and the gift warehouse); for the settings
// save, the member settings.
enum class Fixture { Cards, GiftCatalogue, MemberSettings };

// The gift warehouse of the branch (t_stock), which every gift row names.
constexpr long long kGiftWarehouseId = 2;
constexpr const char* kGiftWarehouseNo = "0101";

// The member settings as stored, in the screen's order (the values of the demo database).
constexpr std::pair<const char*, const char*> kStoredSettings[] = {
    {"MCType", "0"},
    {"SVCType", "1"},
    {"CardNumProfix", ";"},
    {"CardNumSuffix", "?"},
    {"GoodsPointWork", "1"},
    {"CoverCardNum", "0"},
    {"PrintCardNum", "1"},
    {"UptMemMsgDirect", "1"},
    {"PrintMemName", "1"},
    {"BranchShareMem", "1"},
    {"ManPointRuleIndep", "0"},
    {"SetVipGiftAtZb", "1"},
    {"SVCardShareType", "1"},
    {"LeaveAmount", "0"},
    {"DailyAmtLimit", "2000"},
    {"MaxFillAmount", "5000"},
    {"MothlyAmtLimit", "20000"},
    {"AllowFillPlusAmt", "0"},
    {"PrintCardShowNum", "1"},
    {"InputPSWOverLim", "1"},
    {"LimitAmount", "500"},
};
static_assert(std::size(kStoredSettings) == settings::kMemberSettings.size());

std::string fixtureSql(Fixture fixture, long cards)
{
    switch (fixture) {
    case Fixture::Cards:
        break;
    case Fixture::GiftCatalogue:
        // Goods 1..N, each a gift for one card type: every fourth for gold cards ('03'), the others
        // for all cards, 1 to 3 pieces for 100 to 149 points.
        return "BEGIN;"
               "INSERT INTO t_stock (FItemID, FNumber, FName) VALUES (1, '01', '一分店'), (" +
               std::to_string(kGiftWarehouseId) + ", '" + kGiftWarehouseNo +
               "', '一分店礼品仓');"
               "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < " +
               std::to_string(cards) +
               ") INSERT INTO t_Item (FItemID, FNumber, FBarCode, FName, FUnit)"
               " SELECT i, printf('G%06d', i), printf('69%011d', i), '礼品' || i, '个' FROM n;"
               "INSERT INTO T_Pos_VipGift (FItemId, FCardType, FBranchID, FBranchNo, FItemNum, FVipNum,"
               " FBeginDate, FEndDate) SELECT FItemID, CASE WHEN FItemID % 4 = 0 THEN '03' ELSE 'All' END, " +
               std::to_string(kGiftWarehouseId) + ", '" + kGiftWarehouseNo +
               "', 1 + FItemID % 3, 100 + FItemID % 50, '2026-11-01', '2026-12-31' FROM t_Item;"
               "COMMIT;";
    case Fixture::MemberSettings: {
        std::string sql = "BEGIN;";
        for (const auto& [key, value] : kStoredSettings)
            sql += std::string("INSERT INTO t_SystemProfile (FCategory, FKey, FValue) VALUES ('VIP', '") +
                   key + "', '" + value + "');";
        return sql + "COMMIT;";
    }
    }
    return {};
}

const char* fixtureName(Fixture fixture)
{
    switch (fixture) {
    case Fixture::Cards:
        break;
    case Fixture::GiftCatalogue:
        return "-gifts";
    case Fixture::MemberSettings:
        return "-settings";
    }
    return "";
}

const Template& templateFor(long cards, Fixture fixture)
{
    static std::map<std::pair<long, Fixture>, Template> made;
    auto found = made.find({cards, fixture});
    if (found != made.end()) return found->second;

    Template t;
    t.path = tempFile(std::to_string(cards) + fixtureName(fixture));
    files().paths.push_back(t.path);
    removeDatabase(t.path);
    if (fixture != Fixture::Cards) {
        // The cards' template with the fixture added.
        const Template& cardsOnly = templateFor(cards, Fixture::Cards);
        fs::copy_file(cardsOnly.path, t.path);
        {
            auto db = Database::open(t.path.string());
            db->executeNative(fixtureSql(fixture, cards));
        }
        t.cards = cardsOnly.cards;
        return made.emplace(std::pair{cards, fixture}, std::move(t)).first->second;
    }
    {
        auto db = Database::open(t.path.string(), Database::OpenMode::Create);
        ormex::db::applySchema(*db);
        ormex::db::generateCards(*db, static_cast<std::size_t>(cards));
        db->executeNative(
            "INSERT INTO t_SystemProfile (FCategory, FKey, FValue) VALUES ('IC', 'g_branch_no', '01')");
    } // the last connection closing folds the WAL into the file: one file to copy

    Connection db(t.path);
    Statement read(db.handle(), "SELECT FCardId, FAccNum, FDecNum, FResidualAmt FROM T_Pos_VipRecord "
                                "WHERE FCardId >= '9000000000' ORDER BY FCardId");
    t.cards.reserve(static_cast<std::size_t>(cards));
    while (read.step()) {
        sqlite3_stmt* s = read.handle();
        const auto* residual = reinterpret_cast<const char*>(sqlite3_column_text(s, 3));
        t.cards.push_back({reinterpret_cast<const char*>(sqlite3_column_text(s, 0)),
                           sqlite3_column_double(s, 1), sqlite3_column_double(s, 2),
                           ormex::platform::decodeBalanceValue(residual ? residual : "")});
    }
    sqlite3_reset(read.handle());
    if (t.cards.size() != static_cast<std::size_t>(cards))
        throw std::runtime_error("the template holds " + std::to_string(t.cards.size()) + " cards, not " +
                                 std::to_string(cards));
    return made.emplace(std::pair{cards, fixture}, std::move(t)).first->second;
}

// ---------------------------------------------------------------------------------------------
// The shapes: the executor's batch from the screens' builders, and the floor's native equivalent.

enum class Shape {
    Reward,
    Deduction,
    Clearing,
    Exchange,
    Recharge,
    Conversion,
    GiftCatalogue,
    SingleRecharge,
    CardOperation,
    Settings
};

// The shapes the screens send one card (or one save) at a time: N batches, N transactions.
bool oneBatchPerCard(Shape shape)
{
    return shape == Shape::SingleRecharge || shape == Shape::CardOperation || shape == Shape::Settings;
}

Fixture fixtureOf(Shape shape)
{
    return shape == Shape::GiftCatalogue ? Fixture::GiftCatalogue
           : shape == Shape::Settings    ? Fixture::MemberSettings
                                         : Fixture::Cards;
}

constexpr double kRewardPoints = 10;
constexpr double kDeductionPoints = 5;
constexpr double kGiftPoints = 5;
constexpr double kRechargeAmount = 100;
constexpr double kConversionPoints = 100;
constexpr double kConversionAmount = 10;
constexpr const char* kRechargeMemo = "充值";
constexpr const char* kClearAddress = "127.0.0.1";
constexpr const char* kClearMachine = "bench-host";
constexpr const char* kGiftBegin = "2026-11-23";
constexpr const char* kGiftEnd = "2026-12-23";
// The status a report of loss gives a card.
constexpr const char* kLostStatus = "2";

// Gift row `i` (1..N) of the catalogue as saved: the row the template's catalogue holds for the
// same goods, its points raised by 10 and its dates renewed.
struct GiftRow
{
    long long item = 0;
    std::string cardType; // as the grid holds it: "" for all card types
    long long pieces = 0;
    double points = 0;
};

GiftRow giftRow(long i)
{
    return {i, i % 4 == 0 ? "03" : "", 1 + i % 3, static_cast<double>(110 + i % 50)};
}

// The grid row of a gift as the screen's save package holds it: the columns marked "S" in the
// order of the catalogue grid, number cells as numbers and every other cell as its text.
ormex::platform::FieldMap giftPackageRow(const GiftRow& g)
{
    return {{"FItemNum", std::to_string(g.pieces)},
            {"FVipNum", g.points},
            {"FBeginDate", kGiftBegin},
            {"FEndDate", kGiftEnd},
            {"FBranchID", std::to_string(kGiftWarehouseId)},
            {"FBranchNo", kGiftWarehouseNo},
            {"FItemID", std::to_string(g.item)},
            {"FCardType", g.cardType}};
}

// The values of settings save `n`: what is stored, with the daily limit, the limit amount and
// the cover-card flag changed from one save to the next.
ormex::platform::FieldMap settingsSave(long n)
{
    ormex::platform::FieldMap values;
    for (const auto& [key, stored] : kStoredSettings)
        values.set(key, stored);
    values.set("DailyAmtLimit", std::to_string(2000 + 100 * (n % 10)));
    values.set("LimitAmount", std::to_string(500 + n % 10));
    values.set("CoverCardNum", std::to_string(n % 2));
    return values;
}

// The update of one card that the host's card object runs for a status operation of the card
// screen (CardMaintain::updateMCInfo on the change {FCardId, FCardStatus}): the card status
// written as text, nothing else in the batch. The host's object is not part of this program, so
// the text is made here the way it makes it. Report loss is the operation measured; restore and
// void differ only in the status, extend and set password in the column.
std::string cardStatusBatch(const std::string& card, const char* status)
{
    return "update T_Pos_VipRecord set FCardStatus='" + std::string(status) + "' where FCardId='" + card +
           "'";
}

storedvalue::Recharge recharge(const Card& c)
{
    storedvalue::Recharge r;
    r.card = c.id;
    r.amount = kRechargeAmount;
    r.paid = kRechargeAmount;
    r.oldBalance = c.balance;
    r.newBalance = c.balance + kRechargeAmount;
    r.listedBalance = r.newBalance;
    r.memo = kRechargeMemo;
    r.operDate = kOperDate;
    return r;
}

// The batches of a shape: one for the shapes the screens send for all cards at once, N for the
// single-card shapes.
std::vector<std::string> buildBatches(Shape shape, const std::vector<Card>& cards)
{
    const points::PointsSession ps{"1", kBranchNo, kUserId};
    const storedvalue::StoredValueSession ss{kUserId, "1", kBranchNo};
    const points::ExchangedGift gift{"1", kBranchNo, "1", "1", "5", "0"};
    std::vector<std::string> batches;
    if (shape == Shape::GiftCatalogue) {
        // The save after the whole catalogue was loaded: the emptying, then every row of the
        // package (the package of the catalogue grid names the table and its key).
        frame::SavePackage package;
        package.setTable("T_Pos_VipGift", {"FItemId", "FCardType", "FBranchID"});
        for (long i = 1; i <= static_cast<long>(cards.size()); ++i)
            package.addRow(giftPackageRow(giftRow(i)));
        std::string batch;
        for (const auto& row : package.rows())
            batch += points::GiftRowStatements(package, row);
        batches.push_back(points::GiftCatalogueEmptying({points::CatalogueScope::Kind::Whole, {}}) + batch);
        return batches;
    }
    if (oneBatchPerCard(shape)) {
        batches.reserve(cards.size());
        long n = 0;
        for (const Card& c : cards) {
            ++n;
            switch (shape) {
            case Shape::SingleRecharge:
                batches.push_back(storedvalue::RechargeStatements(ss, recharge(c)));
                break;
            case Shape::CardOperation:
                batches.push_back(cardStatusBatch(c.id, kLostStatus));
                break;
            case Shape::Settings:
                batches.push_back(settings::buildSettingsSaveBatch(settingsSave(n)));
                break;
            default:
                break;
            }
        }
        return batches;
    }
    std::string batch;
    int n = 0;
    for (const Card& c : cards) {
        ++n;
        switch (shape) {
        case Shape::Reward:
            batch += points::RewardGroup(ps, c.id, kRewardPoints);
            break;
        case Shape::Deduction:
            batch += points::DeductionGroup(ps, n, c.id, kDeductionPoints, c.accumulated, c.used);
            break;
        case Shape::Clearing: {
            const double remaining = c.accumulated - c.used;
            batch += points::ClearingGroup(ps, c.id, remaining, remaining);
            break;
        }
        case Shape::Exchange:
            batch += points::ExchangeGroup(ps, n, c.id, gift, kGiftPoints);
            break;
        case Shape::Recharge:
            batch += storedvalue::RechargeStatements(ss, recharge(c));
            break;
        case Shape::Conversion: {
            storedvalue::Conversion v;
            v.card = c.id;
            v.points = kConversionPoints;
            v.amount = kConversionAmount;
            v.oldBalance = c.balance;
            v.gridBalance = c.balance;
            v.newBalance = c.balance + kConversionAmount;
            v.operDate = kOperDate;
            batch += storedvalue::ConversionStatements(ss, n, v);
            break;
        }
        default:
            break;
        }
    }
    if (shape == Shape::Clearing) batch += points::PointClearRecord(kClearAddress, kClearMachine, kUserId);
    batches.push_back(std::move(batch));
    return batches;
}

// What the floor needs besides the card list, prepared before the clock starts as the batch text
// is: the encoded new balances of the stored-value shapes and the number texts of the money list,
// the gift rows of the catalogue, the values of every settings save.
struct FloorInput
{
    std::vector<std::string> encoded;       // the card's new FResidualAmt
    std::vector<std::string> listed;        // T_Pos_AddMoneyList.FResidualAmt
    std::vector<GiftRow> gifts;             // T_Pos_VipGift rows, FCardType as written ("All" for "")
    std::vector<std::string> settingValues; // save n, key k (the screen's order) at n * keys + k
};

FloorInput floorInput(Shape shape, const std::vector<Card>& cards)
{
    FloorInput in;
    if (shape == Shape::GiftCatalogue) {
        in.gifts.reserve(cards.size());
        for (long i = 1; i <= static_cast<long>(cards.size()); ++i) {
            GiftRow g = giftRow(i);
            if (g.cardType.empty()) g.cardType = "All";
            in.gifts.push_back(std::move(g));
        }
        return in;
    }
    if (shape == Shape::Settings) {
        in.settingValues.reserve(cards.size() * settings::kMemberSettings.size());
        for (long n = 1; n <= static_cast<long>(cards.size()); ++n) {
            const ormex::platform::FieldMap values = settingsSave(n);
            for (const settings::MemberSetting& setting : settings::kMemberSettings)
                in.settingValues.push_back(values.text(setting.key));
        }
        return in;
    }
    const double plus = shape == Shape::Recharge || shape == Shape::SingleRecharge ? kRechargeAmount
                        : shape == Shape::Conversion                               ? kConversionAmount
                                                                                   : 0;
    if (plus == 0) return in;
    in.encoded.reserve(cards.size());
    in.listed.reserve(cards.size());
    for (const Card& c : cards) {
        in.encoded.push_back(ormex::platform::encodeBalance(c.balance + plus));
        in.listed.push_back(ormex::platform::formatNumber(c.balance + plus));
    }
    return in;
}

// Movement rows of T_Pos_VipGiftList, as the points groups write them.
constexpr const char* kMovementSql = "INSERT INTO T_Pos_VipGiftList (Fbranchid, FBranchno, FCardId, flag, "
                                     "FItemNum, FVipNum, fuserid, FOperDate,"
                                     " memo, FComFlag) VALUES (?1, ?2, ?3, ?4, 0, ?5, ?6, ?7, ?8, ?9)";
constexpr const char* kConsumeExistsSql =
    "SELECT 1 FROM T_Pos_VipConsume WHERE FCardId = ?1 AND Fbranchid = ?2";
constexpr const char* kMinusInsertSql = "INSERT INTO T_Pos_VipConsume (FCardId, Fbranchid, FBranchno,"
                                        " FVipMinusTotalNum, FComFlag) VALUES (?1, ?2, ?3, ?4, ?5)";

// True when the batch's g_branch_no test holds: the database is the session's branch. It is the
// same for every card, so the floor asks once.
bool isOwnBranch(sqlite3* db)
{
    Statement q(
        db,
        "SELECT FValue FROM t_SystemProfile WHERE lower(FCategory) = 'ic' AND lower(FKey) = 'g_branch_no'");
    bool own = false;
    if (q.step()) {
        const auto* value = reinterpret_cast<const char*>(sqlite3_column_text(q.handle(), 0));
        own = value && sqlite3_stricmp(value, kBranchNo) == 0;
    }
    sqlite3_reset(q.handle());
    return own;
}

void floorReward(sqlite3* db, const std::vector<Card>& cards, const std::string& now)
{
    Statement movement(db, kMovementSql);
    Statement exists(db, kConsumeExistsSql);
    Statement insert(db,
                     "INSERT INTO T_Pos_VipConsume (FCardId, Fbranchid, FBranchno, FVipCurAccNum, FVipAccNum,"
                     " FComFlag) VALUES (?1, ?2, ?3, ?4, ?4, '0')");
    Statement update(
        db, "UPDATE T_Pos_VipConsume SET FComFlag = 0, FVipCurAccNum = ifnull(FVipCurAccNum, 0) + ?3,"
            " FVipAccNum = ifnull(FVipAccNum, 0) + ?3 WHERE FCardId = ?1 AND Fbranchid = ?2");
    Statement card(db, "UPDATE T_Pos_VipRecord SET FAccNum = ifnull(FAccNum, 0) + ?2 WHERE FCardId = ?1");
    for (const Card& c : cards) {
        movement.integer(1, kBranchId).text(2, kBranchNo).text(3, c.id).text(4, "3").real(5, kRewardPoints);
        movement.integer(6, kUser).text(7, now).text(8, "积分奖励").integer(9, 0).run();
        if (!exists.text(1, c.id).integer(2, kBranchId).exists())
            insert.text(1, c.id).integer(2, kBranchId).text(3, kBranchNo).real(4, kRewardPoints).run();
        else
            update.text(1, c.id).integer(2, kBranchId).real(3, kRewardPoints).run();
        card.text(1, c.id).real(2, kRewardPoints).run();
    }
}

void floorDeduction(sqlite3* db, const std::vector<Card>& cards, const std::string& now)
{
    const bool own = isOwnBranch(db);
    Statement movement(db, kMovementSql);
    Statement exists(db, kConsumeExistsSql);
    Statement insert(db, kMinusInsertSql);
    Statement update(db, "UPDATE T_Pos_VipConsume SET FVipMinusTotalNum = ifnull(FVipMinusTotalNum, 0) + ?3"
                         " WHERE FCardId = ?1 AND Fbranchid = ?2");
    Statement card(db, "UPDATE T_Pos_VipRecord SET FDecNum = ?2, FAccNum = ?3 WHERE FCardId = ?1");
    for (const Card& c : cards) {
        movement.integer(1, kBranchId)
            .text(2, kBranchNo)
            .text(3, c.id)
            .text(4, "1")
            .real(5, kDeductionPoints);
        movement.integer(6, kUser).text(7, now).text(8, "积分冲减").integer(9, 1).run();
        bool existed = true;
        if (!exists.text(1, c.id).integer(2, kBranchId).exists()) {
            insert.text(1, c.id)
                .integer(2, kBranchId)
                .text(3, kBranchNo)
                .real(4, kDeductionPoints)
                .text(5, "1")
                .run();
            existed = false;
        } else {
            update.text(1, c.id).integer(2, kBranchId).real(3, kDeductionPoints).run();
        }
        if (own || existed) {
            // Used points grow by the deduction but never past the accumulated points.
            const double used = std::min(c.used + kDeductionPoints, c.accumulated);
            card.text(1, c.id).real(2, used).real(3, c.accumulated).run();
        }
    }
}

void floorClearing(sqlite3* db, const std::vector<Card>& cards, const std::string& now)
{
    Statement movement(db, kMovementSql);
    Statement exists(db, kConsumeExistsSql);
    Statement insert(db, kMinusInsertSql);
    Statement update(
        db, "UPDATE T_Pos_VipConsume SET FComFlag = 0, FVipMinusTotalNum = ifnull(FVipMinusTotalNum, 0)"
            " + ?3 WHERE FCardId = ?1 AND Fbranchid = ?2");
    Statement card(db, "UPDATE T_Pos_VipRecord SET FDecNum = FAccNum WHERE FCardId = ?1");
    for (const Card& c : cards) {
        const double remaining = c.accumulated - c.used;
        movement.integer(1, kBranchId).text(2, kBranchNo).text(3, c.id).text(4, "5").real(5, remaining);
        movement.integer(6, kUser).text(7, now).text(8, "积分清零").integer(9, 1).run();
        if (!exists.text(1, c.id).integer(2, kBranchId).exists())
            insert.text(1, c.id)
                .integer(2, kBranchId)
                .text(3, kBranchNo)
                .real(4, remaining)
                .text(5, "0")
                .run();
        else
            update.text(1, c.id).integer(2, kBranchId).real(3, remaining).run();
        card.text(1, c.id).run();
    }
    Statement clear(
        db, "INSERT INTO T_Pos_VipPointClear (FAccDate, hostip, hostname, FOperDate, fuserid, FClearDesc,"
            " memo) VALUES (?1, ?2, ?3, ?1, ?4, '', '积分清除操作')");
    clear.text(1, now).text(2, kClearAddress).text(3, kClearMachine).text(4, kUserId).run();
}

void floorExchange(sqlite3* db, const std::vector<Card>& cards, const std::string& now)
{
    const bool own = isOwnBranch(db);
    Statement movement(
        db, "INSERT INTO T_Pos_VipGiftList (Fbranchid, FBranchno, FCardId, flag, Fitemid, FItemNum,"
            " FVipNum, fuserid, FOperDate, FAuxPropID, memo, FComFlag)"
            " VALUES (?1, ?2, ?3, '2', ?4, ?5, ?6, ?7, ?8, ?9, '礼品兑换', 1)");
    Statement exists(db, kConsumeExistsSql);
    Statement insert(db, kMinusInsertSql);
    Statement update(
        db, "UPDATE T_Pos_VipConsume SET FComFlag = '0', FVipMinusTotalNum = ifnull(FVipMinusTotalNum, 0)"
            " + ?3 WHERE FCardId = ?1 AND Fbranchid = ?2");
    Statement card(db, "UPDATE T_Pos_VipRecord SET FDecNum = FDecNum + ?2 WHERE FCardId = ?1");
    for (const Card& c : cards) {
        movement.integer(1, 1).text(2, kBranchNo).text(3, c.id).integer(4, 1).integer(5, 1).integer(6, 5);
        movement.integer(7, kUser).text(8, now).integer(9, 0).run();
        bool existed = true;
        if (!exists.text(1, c.id).integer(2, kBranchId).exists()) {
            insert.text(1, c.id)
                .integer(2, kBranchId)
                .text(3, kBranchNo)
                .real(4, kGiftPoints)
                .text(5, "0")
                .run();
            existed = false;
        } else {
            update.text(1, c.id).integer(2, kBranchId).real(3, kGiftPoints).run();
        }
        if (own || existed) card.text(1, c.id).real(2, kGiftPoints).run();
    }
}

// The balance statement has the same update on both sides of its is_branch test, so the floor
// does not ask.
constexpr const char* kBalanceSql = "UPDATE T_Pos_VipRecord SET FResidualAmt = ?2 WHERE FCardId = ?1";

// Runs `work` in a transaction of its own.
template <typename Work> void inTransaction(sqlite3* db, Work&& work)
{
    exec(db, "BEGIN IMMEDIATE");
    try {
        work();
        exec(db, "COMMIT");
    } catch (...) {
        sqlite3_exec(db, "ROLLBACK", nullptr, nullptr, nullptr);
        throw;
    }
}

// The recharge of every card, in the caller's transaction or, card by card, each in its own.
void floorRecharge(sqlite3* db, const std::vector<Card>& cards, const FloorInput& in, bool eachCommitted)
{
    Statement balance(db, kBalanceSql);
    Statement money(
        db, "INSERT INTO T_Pos_AddMoneyList (FCardId, FPlusAmt, fuserid, FOperDate, FOldAmt, Fbranchid,"
            " FBranchno, other1, FPlusRealAmt, FResidualAmt, FBalanceStyle, FComFlag)"
            " VALUES (?1, ?2, ?3, ?4, ?5, ?6, ?7, ?8, ?9, ?10, 0, '1')");
    for (std::size_t i = 0; i < cards.size(); ++i) {
        const Card& c = cards[i];
        const auto one = [&] {
            balance.text(1, c.id).text(2, in.encoded[i]).run();
            money.text(1, c.id)
                .integer(2, static_cast<long long>(kRechargeAmount))
                .integer(3, kUser)
                .text(4, kOperDate);
            money.real(5, c.balance).integer(6, kBranchId).text(7, kBranchNo).text(8, kRechargeMemo);
            money.real(9, kRechargeAmount).text(10, in.listed[i]).run();
        };
        if (eachCommitted)
            inTransaction(db, one);
        else
            one();
    }
}

void floorConversion(sqlite3* db, const std::vector<Card>& cards, const FloorInput& in)
{
    const bool own = isOwnBranch(db);
    Statement movement(
        db, "INSERT INTO T_Pos_VipGiftList (Fbranchid, FBranchno, FCardId, flag, FVipPlusAmt, FVipNum,"
            " fuserid, FOperDate, FComFlag, memo) VALUES (?1, ?2, ?3, '4', ?4, ?5, ?6, ?7, 1, '积分转储值')");
    Statement exists(
        db, "SELECT 1 FROM T_Pos_VipConsume WHERE FCardId = ?1 AND Fbranchid = ?2 AND FBranchNo = ?3");
    Statement insert(db, kMinusInsertSql);
    Statement update(db, "UPDATE T_Pos_VipConsume SET FVipMinusTotalNum = FVipMinusTotalNum + ?4"
                         " WHERE FCardId = ?1 AND Fbranchid = ?2 AND FBranchNo = ?3");
    Statement card(db, "UPDATE T_Pos_VipRecord SET FDecNum = FDecNum + ?2 WHERE FCardId = ?1");
    Statement balance(db, kBalanceSql);
    Statement money(
        db, "INSERT INTO T_Pos_AddMoneyList (FCardId, fuserid, FOperDate, FOldAmt, Fbranchid, FBranchno,"
            " FPlusAmt, FResidualAmt, other1, FComFlag) VALUES (?1, ?2, ?3, ?4, ?5, ?6, ?7, ?8,"
            " '积分转储值', '1')");
    for (std::size_t i = 0; i < cards.size(); ++i) {
        const Card& c = cards[i];
        movement.integer(1, kBranchId).text(2, kBranchNo).text(3, c.id).real(4, kConversionAmount);
        movement.real(5, kConversionPoints).integer(6, kUser).text(7, kOperDate).run();
        bool existed = true;
        if (!exists.text(1, c.id).integer(2, kBranchId).text(3, kBranchNo).exists()) {
            insert.text(1, c.id)
                .integer(2, kBranchId)
                .text(3, kBranchNo)
                .real(4, kConversionPoints)
                .text(5, "1")
                .run();
            existed = false;
        } else {
            update.text(1, c.id).integer(2, kBranchId).text(3, kBranchNo).real(4, kConversionPoints).run();
        }
        if (own || existed) card.text(1, c.id).real(2, kConversionPoints).run();
        balance.text(1, c.id).text(2, in.encoded[i]).run();
        money.text(1, c.id).integer(2, kUser).text(3, kOperDate).real(4, c.balance).integer(5, kBranchId);
        money.text(6, kBranchNo)
            .integer(7, static_cast<long long>(kConversionAmount))
            .text(8, in.listed[i])
            .run();
    }
}

// The emptying and the rows. The batch deletes each row's key before inserting it; after the
// emptying those deletes find nothing, so the floor has no need of them.
void floorGiftCatalogue(sqlite3* db, const FloorInput& in)
{
    exec(db, "DELETE FROM T_Pos_VipGift");
    Statement insert(db, "INSERT INTO T_Pos_VipGift (FItemNum, FVipNum, FBeginDate, FEndDate, FBranchID,"
                         " FBranchNo, FItemId, FCardType) VALUES (?1, ?2, ?3, ?4, ?5, ?6, ?7, ?8)");
    for (const GiftRow& g : in.gifts) {
        insert.integer(1, g.pieces).real(2, g.points).text(3, kGiftBegin).text(4, kGiftEnd);
        insert.integer(5, kGiftWarehouseId).text(6, kGiftWarehouseNo).integer(7, g.item).text(8, g.cardType);
        insert.run();
    }
}

// The status update of every card, each in its own transaction.
void floorCardOperations(sqlite3* db, const std::vector<Card>& cards)
{
    Statement update(db, "UPDATE T_Pos_VipRecord SET FCardStatus = ?2 WHERE FCardId = ?1");
    for (const Card& c : cards)
        inTransaction(db, [&] { update.text(1, c.id).text(2, kLostStatus).run(); });
}

// Every settings save, each in its own transaction.
void floorSettings(sqlite3* db, const FloorInput& in)
{
    Statement update(db, "UPDATE t_SystemProfile SET FValue = ?1 WHERE FCategory = 'VIP' AND FKey = ?2");
    const std::size_t keys = settings::kMemberSettings.size();
    for (std::size_t at = 0; at < in.settingValues.size(); at += keys) {
        inTransaction(db, [&] {
            for (std::size_t k = 0; k < keys; ++k)
                update.text(1, in.settingValues[at + k]).text(2, settings::kMemberSettings[k].key).run();
        });
    }
}

void runFloor(Shape shape, sqlite3* db, const std::vector<Card>& cards, const FloorInput& in)
{
    switch (shape) {
    case Shape::SingleRecharge:
        floorRecharge(db, cards, in, true);
        return;
    case Shape::CardOperation:
        floorCardOperations(db, cards);
        return;
    case Shape::Settings:
        floorSettings(db, in);
        return;
    default:
        break;
    }
    inTransaction(db, [&] {
        // getdate() of the batch: one date-time for the whole run.
        const std::string now = ormex::platform::now().toString();
        switch (shape) {
        case Shape::Reward:
            floorReward(db, cards, now);
            break;
        case Shape::Deduction:
            floorDeduction(db, cards, now);
            break;
        case Shape::Clearing:
            floorClearing(db, cards, now);
            break;
        case Shape::Exchange:
            floorExchange(db, cards, now);
            break;
        case Shape::Recharge:
            floorRecharge(db, cards, in, false);
            break;
        case Shape::Conversion:
            floorConversion(db, cards, in);
            break;
        case Shape::GiftCatalogue:
            floorGiftCatalogue(db, in);
            break;
        default:
            break;
        }
    });
}

// ---------------------------------------------------------------------------------------------
// Comparing the two databases.

// Totals of every table the shapes change, one line per table.
constexpr const char* kTotals[] = {
    "SELECT 'T_Pos_VipRecord', count(*), total(FAccNum), total(FDecNum), total(length(FResidualAmt)), "
    "total(FCardStatus) FROM {}.T_Pos_VipRecord",
    "SELECT 'T_Pos_VipGiftList', count(*), total(FVipNum), total(FVipPlusAmt), total(FItemNum) "
    "FROM {}.T_Pos_VipGiftList",
    "SELECT 'T_Pos_VipConsume', count(*), total(FVipCurAccNum), total(FVipAccNum), total(FVipMinusTotalNum) "
    "FROM {}.T_Pos_VipConsume",
    "SELECT 'T_Pos_AddMoneyList', count(*), total(FOldAmt), total(FPlusAmt), total(FPlusRealAmt) "
    "FROM {}.T_Pos_AddMoneyList",
    "SELECT 'T_Pos_VipPointClear', count(*) FROM {}.T_Pos_VipPointClear",
    "SELECT 'T_Pos_VipGift', count(*), total(FItemId), total(FItemNum), total(FVipNum), "
    "total(length(FCardType)), total(length(FBeginDate) + length(FEndDate)) FROM {}.T_Pos_VipGift",
    "SELECT 't_SystemProfile', count(*), total(FValue), total(length(FValue)) FROM {}.t_SystemProfile",
};

// The columns compared row by row: every column, the storage class where the column has no type,
// and no date-time written by getdate() (the executor asks the clock for each statement).
constexpr const char* kRows[][2] = {
    {"T_Pos_VipRecord", "*"},
    {"T_Pos_VipGiftList",
     "FID, Fbranchid, typeof(Fbranchid), FBranchno, FCardId, flag, Fitemid, typeof(Fitemid), "
     "FItemNum, FVipNum, FVipPlusAmt, fuserid, FAuxPropID, memo, FComFlag, typeof(FComFlag)"},
    {"T_Pos_VipConsume", "*, typeof(FComFlag)"},
    {"T_Pos_AddMoneyList", "*, typeof(FPlusAmt), typeof(FResidualAmt)"},
    {"T_Pos_VipPointClear", "FID, hostip, hostname, fuserid, FClearDesc, memo"},
    {"T_Pos_VipGift", "*, typeof(FItemId), typeof(FBranchID), typeof(FItemNum), typeof(FVipNum)"},
    {"t_SystemProfile", "*"},
};

std::string withSchema(std::string sql, const std::string& schema)
{
    const auto at = sql.find("{}");
    return sql.replace(at, 2, schema);
}

std::string rowText(sqlite3_stmt* s)
{
    std::string line;
    for (int c = 0; c < sqlite3_column_count(s); ++c) {
        if (c) line += '|';
        const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(s, c));
        line += text ? text : "NULL";
    }
    return line;
}

std::string totals(sqlite3* db, const std::string& schema)
{
    std::string out;
    for (const char* sql : kTotals) {
        const std::string text = withSchema(sql, schema);
        Statement q(db, text.c_str());
        if (q.step()) out += rowText(q.handle()) + "\n";
        sqlite3_reset(q.handle());
    }
    return out;
}

// A description of the first difference between the executor's database and the floor's, or
// nothing when they hold the same rows.
std::string compare(const fs::path& executed, const fs::path& floor, bool rowByRow)
{
    Connection db(executed);
    exec(db.handle(), "ATTACH DATABASE '" + floor.string() + "' AS floor");
    const std::string mine = totals(db.handle(), "main");
    const std::string theirs = totals(db.handle(), "floor");
    if (mine != theirs) return "totals differ\nexecutor:\n" + mine + "floor:\n" + theirs;
    if (!rowByRow) return {};
    for (const auto& [table, columns] : kRows) {
        for (const auto& [from, other, label] :
             {std::tuple{"main", "floor", "executor"}, std::tuple{"floor", "main", "floor"}}) {
            const std::string sql = std::string("SELECT ") + columns + " FROM " + from + "." + table +
                                    " EXCEPT SELECT " + columns + " FROM " + other + "." + table + " LIMIT 1";
            Statement q(db.handle(), sql.c_str());
            if (q.step()) {
                const std::string row = rowText(q.handle());
                sqlite3_reset(q.handle());
                return std::string(table) + ": a row only the " + label + " wrote: " + row;
            }
            sqlite3_reset(q.handle());
        }
    }
    return {};
}

// ---------------------------------------------------------------------------------------------
// Resident memory of the process (Linux).

// Resets the peak resident size to the current one.
void resetPeakMemory()
{
    std::ofstream("/proc/self/clear_refs") << "5";
}

// A line of /proc/self/status in bytes ("VmRSS", "VmHWM"); 0 when it cannot be read.
double statusBytes(const char* key)
{
    std::ifstream status("/proc/self/status");
    std::string line;
    const std::string prefix = std::string(key) + ":";
    while (std::getline(status, line)) {
        if (line.rfind(prefix, 0) == 0) {
            std::istringstream fields(line.substr(prefix.size()));
            double kb = 0;
            fields >> kb;
            return kb * 1024.0;
        }
    }
    return 0;
}

// ---------------------------------------------------------------------------------------------

double seconds(SteadyClock::duration d)
{
    return std::chrono::duration<double>(d).count();
}

// The batches of the last shape and size asked for: benchmark calls a function several times
// while it settles the number of iterations, and a batch over 100,000 cards takes a while to build.
const std::vector<std::string>& batchesFor(Shape shape, long cards, const Template& t)
{
    static Shape lastShape{};
    static long lastCards = 0;
    static std::vector<std::string> batches;
    if (lastCards != cards || lastShape != shape) {
        batches.clear();
        batches.shrink_to_fit();
        batches = buildBatches(shape, t.cards);
        lastShape = shape;
        lastCards = cards;
    }
    return batches;
}

void runShape(benchmark::State& state, Shape shape)
{
    const long cards = static_cast<long>(state.range(0));
    const Template* t = nullptr;
    try {
        t = &templateFor(cards, fixtureOf(shape));
    } catch (const std::exception& error) {
        state.SkipWithError(error.what());
        return;
    }
    const std::vector<std::string>& batches = batchesFor(shape, cards, *t);
    std::size_t batchBytes = 0;
    for (const std::string& batch : batches)
        batchBytes += batch.size();
    const FloorInput in = floorInput(shape, t->cards);
    const fs::path executed = tempFile(std::to_string(cards) + "-exec");
    const fs::path floor = tempFile(std::to_string(cards) + "-floor");
    files().paths.push_back(executed);
    files().paths.push_back(floor);

    double execTotal = 0;
    double floorTotal = 0;
    double peak = 0;
    long runs = 0;
    for (auto _ : state) {
        state.PauseTiming();
        try {
            for (const auto& path : {executed, floor}) {
                removeDatabase(path);
                fs::copy_file(t->path, path, fs::copy_options::overwrite_existing);
            }
            auto db = Database::open(executed.string());
            double floorSeconds = 0;
            {
                Connection native(floor);
                const auto start = SteadyClock::now();
                runFloor(shape, native.handle(), t->cards, in);
                floorSeconds = seconds(SteadyClock::now() - start);
            }

            resetPeakMemory();
            const double before = statusBytes("VmRSS");
            state.ResumeTiming();
            const auto start = SteadyClock::now();
            for (const std::string& batch : batches)
                db->execute(batch);
            const double execSeconds = seconds(SteadyClock::now() - start);
            state.PauseTiming();
            peak = std::max(peak, statusBytes("VmHWM") - before);
            db.reset();

            const std::string difference = compare(executed, floor, runs == 0);
            if (!difference.empty()) {
                state.SkipWithError(("the floor's rows differ from the executor's: " + difference).c_str());
                break;
            }
            execTotal += execSeconds;
            floorTotal += floorSeconds;
            ++runs;
        } catch (const std::exception& error) {
            state.SkipWithError(error.what());
            break;
        }
        state.ResumeTiming();
    }
    for (const auto& path : {executed, floor})
        removeDatabase(path);
    if (runs == 0) return;

    const double n = static_cast<double>(cards);
    state.counters["cards"] = n;
    state.counters["exec_ms"] = execTotal * 1e3 / static_cast<double>(runs);
    state.counters["floor_ms"] = floorTotal * 1e3 / static_cast<double>(runs);
    state.counters["ratio"] = floorTotal > 0 ? execTotal / floorTotal : 0;
    state.counters["per_card_us"] = execTotal * 1e6 / static_cast<double>(runs) / n;
    state.counters["floor_per_card_us"] = floorTotal * 1e6 / static_cast<double>(runs) / n;
    state.counters["batch_mb"] = static_cast<double>(batchBytes) / kMiB;
    state.counters["peak_extra_mb"] = peak / kMiB;
}

} // namespace

static void PointsReward(benchmark::State& state)
{
    runShape(state, Shape::Reward);
}
static void PointsDeduction(benchmark::State& state)
{
    runShape(state, Shape::Deduction);
}
static void PointsClearing(benchmark::State& state)
{
    runShape(state, Shape::Clearing);
}
static void GiftExchange(benchmark::State& state)
{
    runShape(state, Shape::Exchange);
}
static void BatchRecharge(benchmark::State& state)
{
    runShape(state, Shape::Recharge);
}
static void PointsToStoredValue(benchmark::State& state)
{
    runShape(state, Shape::Conversion);
}
// The gift settings saved after the whole catalogue of N gifts was loaded.
static void GiftCatalogue(benchmark::State& state)
{
    runShape(state, Shape::GiftCatalogue);
}
// The recharge of the stored-value screen's single-card tab, N times.
static void SingleRecharge(benchmark::State& state)
{
    runShape(state, Shape::SingleRecharge);
}
// A report of loss on the card screen, for N cards one after the other.
static void CardOperations(benchmark::State& state)
{
    runShape(state, Shape::CardOperation);
}
// The member settings saved N times.
static void SettingsBatch(benchmark::State& state)
{
    runShape(state, Shape::Settings);
}

// The reported time is the executor's alone (the copies, the floor and the comparison run with
// the clock paused). No MinTime or Iterations here: either would add a suffix to the names, and
// the sizes are selected by names ending in "/<cards>".
#define ORMEX_SHAPE_BENCHMARK(name)                                                                          \
    BENCHMARK(name)->Arg(1000)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond)
ORMEX_SHAPE_BENCHMARK(PointsReward);
ORMEX_SHAPE_BENCHMARK(PointsDeduction);
ORMEX_SHAPE_BENCHMARK(PointsClearing);
ORMEX_SHAPE_BENCHMARK(GiftExchange);
ORMEX_SHAPE_BENCHMARK(BatchRecharge);
ORMEX_SHAPE_BENCHMARK(PointsToStoredValue);
ORMEX_SHAPE_BENCHMARK(GiftCatalogue);
// One batch and one commit per card: 100,000 commits would take too long for what they add.
#define ORMEX_SINGLE_CARD_BENCHMARK(name)                                                                    \
    BENCHMARK(name)->Arg(1000)->Arg(10000)->Unit(benchmark::kMillisecond)
ORMEX_SINGLE_CARD_BENCHMARK(SingleRecharge);
ORMEX_SINGLE_CARD_BENCHMARK(CardOperations);
ORMEX_SINGLE_CARD_BENCHMARK(SettingsBatch);

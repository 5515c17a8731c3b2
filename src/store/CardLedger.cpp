#include "CardLedger.h"

#include <sqlite3.h>

#include <algorithm>
#include <array>
#include <functional>
#include <map>
#include <optional>

#include "KeyedHash.h"
#include "platform/BalanceCodec.h"
#include "platform/Clock.h"
#include "platform/MoneyListAmount.h"
#include "platform/NumberText.h"
#include "platform/PointsMovement.h"
#include "platform/Text.h"
#include "sql/Database.h"
#include "sql/DbError.h"
#include "sql/PgDatabase.h"
#include "sql/SqliteStatement.h"

namespace ormex::db {

namespace {

// The movement tables and the columns a link covers: what the row says happened. FComFlag is left
// out, the data exchange marks it after the row was written; FSeq and FChain are the link itself.
struct MovementTable
{
    const char* tag;
    const char* table;
    const char* columns;
};
constexpr std::array<MovementTable, 2> kMovementTables = {{
    {"P", "T_Pos_VipGiftList",
     "FID,FCardId,Fbranchid,FBranchno,flag,Fitemid,FItemNum,FVipNum,FVipPlusAmt,fuserid,FOperDate,FAuxPropID,"
     "memo"},
    {"M", "T_Pos_AddMoneyList",
     "FID,FCardId,FPlusAmt,fuserid,FOperDate,FOldAmt,Fbranchid,FBranchno,other1,FPlusRealAmt,FResidualAmt,"
     "FBalanceStyle"},
}};

std::string tableOfTag(std::string_view tag)
{
    for (const MovementTable& table : kMovementTables)
        if (tag == table.tag) return table.table;
    return std::string(tag);
}

// The columns with a prefix before each: "NEW.FID,NEW.FCardId,…".
std::string prefixed(const char* columns, const std::string& prefix)
{
    std::string out;
    for (const std::string& column : platform::split(columns, ','))
        out += (out.empty() ? "" : ",") + prefix + column;
    return out;
}

// A value as a link covers it, the same whatever number type SQLite chose to store.
void appendCanonical(std::string& out, sqlite3_value* value)
{
    switch (sqlite3_value_type(value)) {
    case SQLITE_NULL:
        out += "\\N";
        break;
    case SQLITE_INTEGER:
        out += std::to_string(sqlite3_value_int64(value));
        break;
    case SQLITE_FLOAT:
        out += platform::formatNumber(sqlite3_value_double(value));
        break;
    default:
        out.append(reinterpret_cast<const char*>(sqlite3_value_text(value)),
                   static_cast<std::size_t>(sqlite3_value_bytes(value)));
    }
}

std::string_view textOf(sqlite3_value* value)
{
    const unsigned char* text = sqlite3_value_text(value);
    return text ? std::string_view(reinterpret_cast<const char*>(text),
                                   static_cast<std::size_t>(sqlite3_value_bytes(value)))
                : std::string_view();
}

const KeyedHash& hashOf(sqlite3_context* context)
{
    return *static_cast<const KeyedHash*>(sqlite3_user_data(context));
}

// The link of a movement: over the previous link, its sequence number, its table and its content.
std::string link(const KeyedHash& hash, std::string_view previous, long long seq, std::string_view tag,
                 std::string_view body)
{
    return hash.hash({previous, std::to_string(seq), tag, body});
}

// The link of a chain's start: over the card's values then and the link of the last movement
// before it.
std::string startLink(const KeyedHash& hash, std::string_view card, long long seq, std::string_view balance,
                      double accumulated, double used, std::string_view previous)
{
    return hash.hash({"start", card, std::to_string(seq), balance, platform::formatNumber(accumulated),
                      platform::formatNumber(used), previous});
}

// ormex_canonical(v1, v2, …): the values as a link covers them, separated by 0x1f.
void canonicalFunction(sqlite3_context* context, int argc, sqlite3_value** argv)
{
    std::string body;
    for (int i = 0; i < argc; ++i) {
        if (i > 0) body += '\x1f';
        appendCanonical(body, argv[i]);
    }
    sqlite3_result_text(context, body.data(), static_cast<int>(body.size()), SQLITE_TRANSIENT);
}

// ormex_ledger_start(card, sequence number, stored balance, accumulated, used, previous link): the
// link of a chain's start.
void startFunction(sqlite3_context* context, int, sqlite3_value** argv)
{
    const std::string result =
        startLink(hashOf(context), textOf(argv[0]), sqlite3_value_int64(argv[1]), textOf(argv[2]),
                  sqlite3_value_double(argv[3]), sqlite3_value_double(argv[4]), textOf(argv[5]));
    sqlite3_result_text(context, result.data(), static_cast<int>(result.size()), SQLITE_TRANSIENT);
}

// ormex_chain(previous link, sequence number, table tag, canonical content): the movement's link.
void chainFunction(sqlite3_context* context, int, sqlite3_value** argv)
{
    const std::string result = link(hashOf(context), textOf(argv[0]), sqlite3_value_int64(argv[1]),
                                    textOf(argv[2]), textOf(argv[3]));
    sqlite3_result_text(context, result.data(), static_cast<int>(result.size()), SQLITE_TRANSIENT);
}

// After each movement row of the table: the card's head moves on by one link (and the card is
// sealed with it, checking its seal as every system write does), then the row takes its sequence
// number and link from the head. A row of a card this database does not hold stays unlinked.
std::string chainTrigger(const MovementTable& t)
{
    const std::string next = std::string("ormex_chain(FLedgerHash,FLedgerSeq+1,'") + t.tag +
                             "',ormex_canonical(" + prefixed(t.columns, "NEW.") + "))";
    return std::string("CREATE TEMP TRIGGER IF NOT EXISTS ormex_ledger_") + t.tag + " AFTER INSERT ON main." +
           t.table + " BEGIN UPDATE T_Pos_VipRecord SET FLedgerSeq=FLedgerSeq+1,FLedgerHash=" + next +
           ",FSeal=ormex_seal_next(FSeal,FCardId,FResidualAmt,FAccNum,FDecNum,FLedgerSeq,FLedgerHash,"
           "FCardId,FResidualAmt,FAccNum,FDecNum,FLedgerSeq+1," +
           next + ") WHERE FCardId=NEW.FCardId; UPDATE " + t.table +
           " SET (FSeq,FChain)=(SELECT FLedgerSeq,FLedgerHash FROM T_Pos_VipRecord WHERE FCardId=NEW.FCardId)"
           " WHERE FID=NEW.FID; END;";
}

// The rows of a native query on either engine.
struct NativeRows
{
    std::function<platform::Recordset(const std::string&)> query;
    bool postgres = false;
};

NativeRows nativeRowsOf(TsqlDatabase& db)
{
    if (auto* pg = dynamic_cast<PgDatabase*>(&db))
        return {[pg](const std::string& sql) { return pg->queryNative(sql); }, true};
    auto& sqlite = dynamic_cast<Database&>(db);
    return {[&sqlite](const std::string& sql) {
                SqliteStatement stmt(sqlite.handle(), sql);
                std::vector<std::string> columns;
                for (int c = 0; c < stmt.columnCount(); ++c)
                    columns.push_back(stmt.columnName(c));
                std::vector<std::vector<platform::Value>> rows;
                while (stmt.step()) {
                    std::vector<platform::Value> row;
                    for (int c = 0; c < stmt.columnCount(); ++c)
                        row.push_back(stmt.column(c));
                    rows.push_back(std::move(row));
                }
                return platform::Recordset(std::move(columns), std::move(rows));
            },
            false};
}

// Every movement row, in each card's order: its table, row, card, link, canonical content, and
// what it changes (points: flag and FVipNum; money: FPlusAmt and other1). Cards are compared
// without regard to case, as the card numbers are; dates in the order of their characters.
std::string movementsSql(const std::string& cardCondition, bool postgres)
{
    std::string sql;
    for (const MovementTable& t : kMovementTables) {
        const bool points = std::string_view(t.tag) == "P";
        const std::string body = postgres ? std::string("ormex_movement_body(r)")
                                          : std::string("ormex_canonical(") + t.columns + ")";
        sql += std::string(sql.empty() ? "" : " UNION ALL ") + "SELECT '" + t.tag +
               "' AS tag, FID, FCardId, FSeq, FChain, FOperDate, " + body + " AS body, " +
               (points ? "flag, FVipNum, NULL, NULL" : "NULL, NULL, FPlusAmt, other1") + " FROM " + t.table +
               " r" + cardCondition;
    }
    return "SELECT * FROM (" + sql + ") m ORDER BY " +
           (postgres ? "lower(FCardId), FSeq IS NULL, FSeq, FOperDate COLLATE \"C\""
                     : "FCardId COLLATE NOCASE, FSeq IS NULL, FSeq, FOperDate") +
           ", tag, FID";
}

std::string inCondition(const std::vector<std::string>& cards)
{
    if (cards.empty()) return {};
    std::string list;
    for (const std::string& card : cards)
        list += (list.empty() ? "" : ",") + platform::quoted(card);
    return " WHERE FCardId IN (" + list + ")";
}

struct Movement
{
    std::string tag;
    long long id = 0;
    std::optional<long long> seq;
    std::string chain, body;
    std::string flag;
    platform::Value points, amount;
    std::string memo;
};

std::map<std::string, std::vector<Movement>> readMovements(const NativeRows& native,
                                                           const std::vector<std::string>& cards)
{
    std::map<std::string, std::vector<Movement>> byCard;
    const platform::Recordset rows = native.query(movementsSql(inCondition(cards), native.postgres));
    for (std::size_t r = 0; r < rows.recordCount(); ++r) {
        Movement m;
        m.tag = rows.cell(r, 0).toString();
        m.id = rows.cell(r, 1).toInt();
        if (!rows.cell(r, 3).isNull()) m.seq = rows.cell(r, 3).toInt();
        m.chain = rows.cell(r, 4).toString();
        m.body = rows.cell(r, 6).toString();
        m.flag = platform::trim(rows.cell(r, 7).toString());
        m.points = rows.cell(r, 8);
        m.amount = rows.cell(r, 9);
        m.memo = rows.cell(r, 10).toString();
        byCard[platform::toUpperAscii(rows.cell(r, 2).toString())].push_back(std::move(m));
    }
    return byCard;
}

const SealKey& processKey()
{
    const auto& key = sealKey();
    if (!key) throw DbError("the movement ledger needs the seal key");
    return *key;
}

bool isLinkedBranch(const NativeRows& native)
{
    const platform::Recordset setting =
        native.query("SELECT (SELECT FValue FROM t_SystemProfile WHERE lower(FCategory)='ic' AND"
                     " lower(FKey)='is_branch'), (SELECT FValue FROM t_SystemProfile WHERE"
                     " lower(FCategory)='vip' AND lower(FKey)='possavingserverdb')");
    return !setting.empty() && platform::trim(setting.cell(0, 0).toString()) == "1" &&
           !platform::trim(setting.cell(0, 1).toString()).empty();
}

struct Start
{
    long long seq = 0;
    std::string balance;
    double accumulated = 0, used = 0;
    std::string hash;
};

// What one card's chain and values say.
class CardCheck
{
public:
    CardCheck(const KeyedHash& hash, std::string card, std::vector<LedgerFinding>& findings)
        : m_hash(hash), m_card(std::move(card)), m_findings(findings)
    {
    }

    // Walks the movements in their order, the start (if any) in its place. Returns the link the
    // chain ends at and the number of its last movement.
    std::pair<std::string, long long> walk(const std::vector<Movement>& moves,
                                           const std::optional<Start>& start, bool explain)
    {
        std::string previous;
        long long expected = 1;
        bool started = !start;
        const auto passStart = [&](long long before) {
            if (started || start->seq >= before) return;
            if (start->seq == expected - 1 &&
                !sameHash(start->hash, startLink(m_hash, m_card, start->seq, start->balance,
                                                 start->accumulated, start->used, previous)))
                add("账本起点记录与卡当时的值或之前的流水不符");
            previous = start->hash;
            started = true;
        };
        for (const Movement& m : moves) {
            if (!m.seq) {
                add(tableOfTag(m.tag) + " FID " + std::to_string(m.id) +
                    " 的流水不在账本中（不是本系统写入的）");
                continue;
            }
            const long long seq = *m.seq;
            if (seq < expected) {
                add("第" + std::to_string(seq) + "笔流水重复（" + tableOfTag(m.tag) + " FID " +
                    std::to_string(m.id) + "）");
                continue;
            }
            passStart(seq);
            if (seq > expected) add(missing(expected, seq - 1));
            if (!sameHash(m.chain, link(m_hash, previous, seq, m.tag, m.body)))
                add("第" + std::to_string(seq) + "笔流水被改动（" + tableOfTag(m.tag) + " FID " +
                    std::to_string(m.id) + "）");
            previous = m.chain;
            expected = seq + 1;
            if (explain && started) count(m);
        }
        passStart(expected + 1);
        return {previous, expected - 1};
    }

    void checkHead(long long headSeq, const std::string& headHash, const std::string& end, long long last)
    {
        if (headSeq > last)
            add(missing(last + 1, headSeq) + "：最新的流水被删除");
        else if (headSeq < last)
            add("卡记录停在第" + std::to_string(headSeq) + "笔流水，而流水已到第" + std::to_string(last) +
                "笔：卡的余额或积分被改回了以前的值");
        else if (!sameHash(headHash, end))
            add("卡记录的账本结尾与它的流水不符");
    }

    void checkValues(const std::optional<Start>& start, const std::string& balance, double accumulated,
                     double used)
    {
        const double openingPoints = start ? start->accumulated - start->used : 0;
        const double expectedPoints = platform::roundTo(openingPoints + m_points, 4);
        const double points = platform::roundTo(accumulated - used, 4);
        // A balance that does not decode is the liability report's to show, not a break of the chain.
        const auto now = platform::tryDecodeMoney(balance);
        const auto opening = start ? platform::tryDecodeMoney(start->balance) : platform::Money();
        if (now && opening && *opening + m_amount != *now)
            add("余额" + now->toString() + "与流水合计" + (*opening + m_amount).toString() + "不符");
        if (expectedPoints != points)
            add("积分" + platform::formatNumber(points) + "与流水合计" +
                platform::formatNumber(expectedPoints) + "不符");
    }

private:
    void add(std::string text) { m_findings.push_back({m_card, std::move(text)}); }

    static std::string missing(long long from, long long to)
    {
        return from == to ? "缺少第" + std::to_string(from) + "笔流水"
                          : "缺少第" + std::to_string(from) + "至" + std::to_string(to) + "笔流水";
    }

    void count(const Movement& m)
    {
        if (m.tag == "P") {
            m_points += platform::pointsMovementSign(m.flag) * m.points.toDouble();
        } else if (const auto amount = platform::moneyListAmount(m.amount, m.memo)) {
            m_amount += *amount;
        } else {
            add("流水金额无法解码（T_Pos_AddMoneyList FID " + std::to_string(m.id) + "）");
        }
    }

    const KeyedHash& m_hash;
    std::string m_card;
    std::vector<LedgerFinding>& m_findings;
    double m_points = 0;
    platform::Money m_amount;
};

} // namespace

void installLedger(Database& db)
{
    const auto& key = sealKey();
    if (!key) return;
    // A connection brought to the ledger by a schema step has its functions already.
    SqliteStatement registered(db.handle(),
                               "SELECT count(*) FROM pragma_function_list WHERE name='ormex_chain'");
    if (!registered.step() || registered.column(0).toInt() == 0) {
        auto* hash = new KeyedHash(*key);
        auto* startHash = new KeyedHash(*key);
        const auto drop = [](void* p) { delete static_cast<KeyedHash*>(p); };
        if (sqlite3_create_function_v2(db.handle(), "ormex_chain", 4, SQLITE_UTF8 | SQLITE_DETERMINISTIC,
                                       hash, &chainFunction, nullptr, nullptr, drop) != SQLITE_OK ||
            sqlite3_create_function_v2(db.handle(), "ormex_ledger_start", 6,
                                       SQLITE_UTF8 | SQLITE_DETERMINISTIC, startHash, &startFunction, nullptr,
                                       nullptr, drop) != SQLITE_OK ||
            sqlite3_create_function_v2(db.handle(), "ormex_canonical", -1, SQLITE_UTF8 | SQLITE_DETERMINISTIC,
                                       nullptr, &canonicalFunction, nullptr, nullptr, nullptr) != SQLITE_OK)
            throw DbError(std::string("cannot register the ledger functions: ") +
                          sqlite3_errmsg(db.handle()));
    }
    std::string triggers;
    for (const MovementTable& table : kMovementTables)
        triggers += chainTrigger(table);
    db.executeNative(triggers);
}

long startLedgers(Database& db, const std::vector<std::string>& cards, const std::string& reason)
{
    if (!sealsCards(db)) throw DbError("the movement ledger is started only by a connection that seals");
    const KeyedHash hash(processKey());
    Database::Transaction transaction(db);
    auto movements = readMovements(nativeRowsOf(db), cards);
    std::string condition = inCondition(cards);
    condition += std::string(condition.empty() ? " WHERE " : " AND ") +
                 "ormex_seal_holds(FSeal,FCardId,FResidualAmt,FAccNum,FDecNum,FLedgerSeq,FLedgerHash)";
    SqliteStatement held(db.handle(),
                         "SELECT FCardId, FResidualAmt, FAccNum, FDecNum FROM T_Pos_VipRecord" + condition);
    std::map<std::string, SqliteStatement> relink;
    for (const MovementTable& t : kMovementTables)
        relink.try_emplace(t.tag, db.handle(),
                           std::string("UPDATE ") + t.table + " SET FSeq=?, FChain=? WHERE FID=?");
    SqliteStatement record(db.handle(),
                           "INSERT OR REPLACE INTO t_CardLedgerStart (FCardId, FSeq, FResidualAmt,"
                           " FAccNum, FDecNum, FDate, FReason, FHash) VALUES (?,?,?,?,?,?,?,?)");
    SqliteStatement head(db.handle(),
                         "UPDATE T_Pos_VipRecord SET FLedgerSeq=?1, FLedgerHash=?2,"
                         " FSeal=ormex_seal(FCardId,FResidualAmt,FAccNum,FDecNum,?1,?2) WHERE FCardId=?3");
    const std::string now = platform::now().toString();
    long started = 0;
    while (held.step()) {
        const std::string card = held.column(0).toString();
        const std::string balance = held.column(1).toString();
        const double accumulated = held.column(2).toDouble();
        const double used = held.column(3).toDouble();
        std::string previous;
        long long seq = 0;
        for (const Movement& m : movements[platform::toUpperAscii(card)]) {
            previous = link(hash, previous, ++seq, m.tag, m.body);
            SqliteStatement& update = relink.at(m.tag);
            update.bind(1, platform::Value(seq));
            update.bind(2, platform::Value(previous));
            update.bind(3, platform::Value(m.id));
            update.step();
            update.reset();
        }
        const std::string startHash = startLink(hash, card, seq, balance, accumulated, used, previous);
        int i = 0;
        for (const platform::Value& value :
             {platform::Value(card), platform::Value(seq), platform::Value(balance),
              platform::Value(accumulated), platform::Value(used), platform::Value(now),
              platform::Value(reason), platform::Value(startHash)})
            record.bind(++i, value);
        record.step();
        record.reset();
        head.bind(1, platform::Value(seq));
        head.bind(2, platform::Value(startHash));
        head.bind(3, platform::Value(card));
        head.step();
        head.reset();
        ++started;
    }
    transaction.commit();
    return started;
}

long acceptCards(Database& db, const SealKey& key, const std::vector<std::string>& cards,
                 const std::string& who)
{
    Database::Transaction transaction(db);
    std::vector<std::string> accepted = cards;
    if (accepted.empty()) {
        std::map<std::string, std::string> found; // by the number in capitals, as cards compare
        for (const SealMismatch& card : sealMismatches(db, key))
            found.emplace(platform::toUpperAscii(card.card), card.card);
        for (const LedgerFinding& finding : ledgerFindings(db))
            found.emplace(platform::toUpperAscii(finding.card), finding.card);
        for (const auto& [upper, card] : found)
            accepted.push_back(card);
    }
    if (accepted.empty()) return 0;
    resealCards(db, key, accepted, who);
    startLedgers(db, accepted, "管理员" + who + "核对后确认");
    transaction.commit();
    return static_cast<long>(accepted.size());
}

std::vector<LedgerFinding> ledgerFindings(TsqlDatabase& db, LedgerCheck scope)
{
    const KeyedHash hash(processKey());
    const NativeRows native = nativeRowsOf(db);
    const bool explain = scope == LedgerCheck::ChainsAndValues && !isLinkedBranch(native);
    auto movements = readMovements(native, {});
    std::map<std::string, Start> starts;
    const platform::Recordset startRows =
        native.query("SELECT FCardId, FSeq, FResidualAmt, FAccNum, FDecNum, FHash FROM t_CardLedgerStart");
    for (std::size_t r = 0; r < startRows.recordCount(); ++r)
        starts[platform::toUpperAscii(startRows.cell(r, 0).toString())] = {
            startRows.cell(r, 1).toInt(), startRows.cell(r, 2).toString(), startRows.cell(r, 3).toDouble(),
            startRows.cell(r, 4).toDouble(), startRows.cell(r, 5).toString()};
    std::vector<LedgerFinding> findings;
    const platform::Recordset cards =
        native.query("SELECT FCardId, FResidualAmt, FAccNum, FDecNum, FLedgerSeq, FLedgerHash FROM "
                     "T_Pos_VipRecord ORDER BY FCardId");
    for (std::size_t r = 0; r < cards.recordCount(); ++r) {
        const std::string card = cards.cell(r, 0).toString();
        const std::string key = platform::toUpperAscii(card);
        std::optional<Start> start;
        if (const auto found = starts.find(key); found != starts.end()) start = found->second;
        CardCheck check(hash, card, findings);
        const auto found = movements.find(key);
        const auto [end, last] =
            check.walk(found == movements.end() ? std::vector<Movement>() : found->second, start, explain);
        check.checkHead(cards.cell(r, 4).toInt(), cards.cell(r, 5).toString(), end, last);
        if (explain)
            check.checkValues(start, cards.cell(r, 1).toString(), cards.cell(r, 2).toDouble(),
                              cards.cell(r, 3).toDouble());
        if (found != movements.end()) movements.erase(found);
    }
    // Movements of a card that is no longer here: the system marks a card deleted, it never
    // removes its row.
    for (const auto& [card, moves] : movements)
        if (std::any_of(moves.begin(), moves.end(), [](const Movement& m) { return m.seq.has_value(); }))
            findings.push_back(
                {card, "会员卡记录已不存在，但它有" + std::to_string(moves.size()) + "笔流水"});
    return findings;
}

} // namespace ormex::db

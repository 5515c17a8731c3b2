#include "CardSeal.h"

#include <openssl/crypto.h>
#include <openssl/rand.h>
#include <sqlite3.h>

#include <memory>
#include <tuple>

#include "CardLedger.h"
#include "KeyedHash.h"
#include "OperLog.h"
#include "Schema.h"
#include "platform/BalanceCodec.h"
#include "platform/NumberText.h"
#include "platform/Text.h"
#include "sql/Database.h"
#include "sql/DbError.h"
#include "sql/PgDatabase.h"
#include "sql/SqliteStatement.h"

namespace ormex::db {

namespace {

std::optional<SealKey>& processKey()
{
    static std::optional<SealKey> key;
    return key;
}

// The sealed values in the order the seal covers them. A card whose movements were never chained
// (sequence 0, no hash) is sealed as before the ledger existed, so its seal stays valid.
void sealOf(const KeyedHash& hash, const SealedValues& v, KeyedHash::Text& out)
{
    const std::string accumulated = platform::formatNumber(v.accumulated);
    const std::string used = platform::formatNumber(v.used);
    if (v.ledgerSeq == 0 && v.ledgerHash.empty()) {
        hash.hash({v.card, v.storedBalance, accumulated, used}, out);
        return;
    }
    hash.hash({v.card, v.storedBalance, accumulated, used, std::to_string(v.ledgerSeq), v.ledgerHash}, out);
}

std::string sealOf(const KeyedHash& hash, const SealedValues& values)
{
    KeyedHash::Text text;
    sealOf(hash, values, text);
    return std::string(text.data(), text.size() - 1);
}

// The text of an argument; each argument keeps its own text, so several can be held at once.
std::string_view textArg(sqlite3_value* value)
{
    const unsigned char* text = sqlite3_value_text(value);
    return text ? std::string_view(reinterpret_cast<const char*>(text),
                                   static_cast<std::size_t>(sqlite3_value_bytes(value)))
                : std::string_view();
}

// The six sealed values from six arguments: card, stored balance, accumulated and used points,
// ledger sequence and ledger hash.
constexpr int kSealedArgs = 6;

void sealOfArgs(const KeyedHash& hash, sqlite3_value** argv, KeyedHash::Text& out)
{
    sealOf(hash,
           {textArg(argv[0]), textArg(argv[1]), sqlite3_value_double(argv[2]), sqlite3_value_double(argv[3]),
            sqlite3_value_int64(argv[4]), textArg(argv[5])},
           out);
}

const KeyedHash& sealerOf(sqlite3_context* context)
{
    return *static_cast<const KeyedHash*>(sqlite3_user_data(context));
}

// ormex_seal(card, stored balance, accumulated, used, ledger sequence, ledger hash): the seal of
// the values.
void sealFunction(sqlite3_context* context, int, sqlite3_value** argv)
{
    KeyedHash::Text seal;
    sealOfArgs(sealerOf(context), argv, seal);
    sqlite3_result_text(context, seal.data(), static_cast<int>(seal.size() - 1), SQLITE_TRANSIENT);
}

bool holds(const KeyedHash& sealer, sqlite3_value** argv)
{
    KeyedHash::Text expected;
    sealOfArgs(sealer, argv + 1, expected);
    return sameHash(textArg(argv[0]), std::string_view(expected.data(), expected.size() - 1));
}

// ormex_seal_holds(seal, the six sealed values): 1 when the seal is the values'.
void holdsFunction(sqlite3_context* context, int, sqlite3_value** argv)
{
    sqlite3_result_int(context, holds(sealerOf(context), argv));
}

// ormex_seal_next(seal, the six old values, the six new values): the seal of the new values,
// or an error (the statement fails) when the old values do not match the old seal.
void nextFunction(sqlite3_context* context, int, sqlite3_value** argv)
{
    const KeyedHash& sealer = sealerOf(context);
    if (!holds(sealer, argv)) {
        sqlite3_result_error(context, kSealBrokenMessage, -1);
        return;
    }
    KeyedHash::Text seal;
    sealOfArgs(sealer, argv + 1 + kSealedArgs, seal);
    sqlite3_result_text(context, seal.data(), static_cast<int>(seal.size() - 1), SQLITE_TRANSIENT);
}

// The ledger head of the row as the seal covers it: a database not yet brought to the ledger has
// no such columns, and its cards are sealed as unchained ones.
std::string headOf(bool ledger, const char* row)
{
    return ledger ? std::string(row) + "FLedgerSeq," + row + "FLedgerHash" : std::string("0,''");
}

// Cards inserted by any statement of a sealing connection are sealed as they are written.
std::string insertTrigger(bool ledger)
{
    return "CREATE TEMP TRIGGER IF NOT EXISTS ormex_seal_insert AFTER INSERT ON main.T_Pos_VipRecord BEGIN"
           " UPDATE T_Pos_VipRecord SET "
           "FSeal=ormex_seal(NEW.FCardId,NEW.FResidualAmt,NEW.FAccNum,NEW.FDecNum," +
           headOf(ledger, "NEW.") + ") WHERE rowid=NEW.rowid; END;";
}

// Updates written as native SQL that do not seal themselves. The system's own UPDATE statements
// write the seal in the statement (see parseBatch), which costs a fraction of what a trigger on
// every update of a card does.
std::string updateTrigger(bool ledger)
{
    return std::string("CREATE TEMP TRIGGER IF NOT EXISTS ormex_seal_update"
                       " AFTER UPDATE OF FCardId,FResidualAmt,FAccNum,FDecNum ON main.T_Pos_VipRecord"
                       " WHEN NEW.FSeal IS OLD.FSeal BEGIN SELECT RAISE(ABORT,'") +
           kSealBrokenMessage +
           "') WHERE NOT ormex_seal_holds(OLD.FSeal,OLD.FCardId,OLD.FResidualAmt,OLD.FAccNum,OLD.FDecNum," +
           headOf(ledger, "OLD.") +
           "); UPDATE T_Pos_VipRecord SET "
           "FSeal=ormex_seal(NEW.FCardId,NEW.FResidualAmt,NEW.FAccNum,NEW.FDecNum," +
           headOf(ledger, "NEW.") + ") WHERE rowid=NEW.rowid; END;";
}

bool hasLedgerColumns(Database& db)
{
    SqliteStatement column(
        db.handle(), "SELECT count(*) FROM pragma_table_info('T_Pos_VipRecord') WHERE name='FLedgerSeq'");
    return column.step() && column.column(0).toInt() == 1;
}

// The triggers of a sealing connection for the schema as it is.
void installTriggers(Database& db)
{
    const bool ledger = hasLedgerColumns(db);
    db.executeNative(insertTrigger(ledger));
    if (ledger) installLedger(db);
}

std::string inList(const std::vector<std::string>& cards)
{
    std::string list;
    for (const std::string& card : cards)
        list += (list.empty() ? "" : ",") + platform::quoted(card);
    return "(" + list + ")";
}

} // namespace

void setSealKey(std::optional<SealKey> key)
{
    processKey() = key;
    // SQLite connections opened from now on register the seal functions; PostgreSQL sessions
    // hand the key to the server's sealing functions (an empty key: the session does not seal).
    Database::setConnectionSetup(key ? &installSealing : nullptr);
    PgDatabase::setSessionSetting("ormex.seal_key", key ? sealKeyText(*key) : std::string());
}

const DerivedColumn& cardSealColumn()
{
    // The ledger head is the chain's (CardLedger.h): the system's statements never write it, and
    // the seal covers it as it stands.
    static const DerivedColumn column{.table = "T_Pos_VipRecord",
                                      .column = "FSeal",
                                      .function = "ormex_seal_next",
                                      .sources = {"FCardId", "FResidualAmt", "FAccNum", "FDecNum"},
                                      .carried = {"FLedgerSeq", "FLedgerHash"}};
    return column;
}

bool sealsCards(const Database& db)
{
    return db.derivedColumn() == &cardSealColumn();
}

const std::optional<SealKey>& sealKey()
{
    return processKey();
}

SealKey newSealKey()
{
    SealKey key;
    if (RAND_bytes(key.data(), static_cast<int>(key.size())) != 1)
        throw DbError("no random bytes for a seal key");
    return key;
}

std::string sealKeyText(const SealKey& key)
{
    return hexText(key.data(), key.size());
}

std::optional<SealKey> parseSealKey(std::string_view text)
{
    const std::string trimmed = platform::trim(text);
    SealKey key;
    if (trimmed.size() != 2 * key.size()) return std::nullopt;
    const auto digit = [](char c) -> int {
        if (c >= '0' && c <= '9') return c - '0';
        if (c >= 'a' && c <= 'f') return c - 'a' + 10;
        if (c >= 'A' && c <= 'F') return c - 'A' + 10;
        return -1;
    };
    for (std::size_t i = 0; i < key.size(); ++i) {
        const int high = digit(trimmed[2 * i]);
        const int low = digit(trimmed[2 * i + 1]);
        if (high < 0 || low < 0) return std::nullopt;
        key[i] = static_cast<unsigned char>(high << 4 | low);
    }
    return key;
}

std::string cardSeal(const SealKey& key, const SealedValues& values)
{
    return sealOf(KeyedHash(key), values);
}

void installSealing(Database& db)
{
    const auto& key = processKey();
    if (!key || !hasSchema(db)) return;
    // Each function keeps its own sealer, freed with the connection.
    for (const auto& [name, arity, function] :
         {std::tuple{"ormex_seal", kSealedArgs, &sealFunction},
          std::tuple{"ormex_seal_holds", 1 + kSealedArgs, &holdsFunction},
          std::tuple{"ormex_seal_next", 1 + 2 * kSealedArgs, &nextFunction}}) {
        auto* sealer = new KeyedHash(*key);
        if (sqlite3_create_function_v2(db.handle(), name, arity, SQLITE_UTF8 | SQLITE_DETERMINISTIC, sealer,
                                       function, nullptr, nullptr,
                                       [](void* p) { delete static_cast<KeyedHash*>(p); }) != SQLITE_OK)
            throw DbError(std::string("cannot register ") + name + ": " + sqlite3_errmsg(db.handle()));
    }
    db.setDerivedColumn(&cardSealColumn());
    installTriggers(db);
}

void renewSealing(Database& db)
{
    if (!sealsCards(db)) return;
    SqliteStatement native(
        db.handle(),
        "SELECT count(*) FROM sqlite_temp_master WHERE type='trigger' AND name='ormex_seal_update'");
    const bool sealsNativeUpdates = native.step() && native.column(0).toInt() == 1;
    db.executeNative(
        "DROP TRIGGER IF EXISTS temp.ormex_seal_insert; DROP TRIGGER IF EXISTS temp.ormex_seal_update;");
    installTriggers(db);
    if (sealsNativeUpdates) sealNativeUpdates(db);
}

void sealNativeUpdates(Database& db)
{
    if (sealsCards(db)) db.executeNative(updateTrigger(hasLedgerColumns(db)));
}

std::vector<SealMismatch> sealMismatches(TsqlDatabase& db, const SealKey& key,
                                         const std::vector<std::string>& cards)
{
    std::string sql =
        "select FCardId, FVipName, FResidualAmt, FAccNum, FDecNum, FLedgerSeq, FLedgerHash, FSeal"
        " from T_Pos_VipRecord";
    if (!cards.empty()) sql += " where FCardId in " + inList(cards);
    sql += " order by FCardId";
    const platform::Recordset rs = db.query(sql);
    std::vector<SealMismatch> found;
    const KeyedHash sealer(key);
    for (std::size_t r = 0; r < rs.recordCount(); ++r) {
        SealMismatch card{rs.at(r, "FCardId").toString(), rs.at(r, "FVipName").toString(),
                          rs.at(r, "FResidualAmt").toString(), rs.at(r, "FAccNum").toDouble(),
                          rs.at(r, "FDecNum").toDouble()};
        const std::string head = rs.at(r, "FLedgerHash").toString();
        if (!sameHash(rs.at(r, "FSeal").toString(),
                      sealOf(sealer, {card.card, card.storedBalance, card.accumulated, card.used,
                                      rs.at(r, "FLedgerSeq").toInt(), head})))
            found.push_back(std::move(card));
    }
    return found;
}

long resealCards(Database& db, const SealKey& key, const std::vector<std::string>& cards,
                 const std::string& who)
{
    const auto& process = processKey();
    if (!process || CRYPTO_memcmp(process->data(), key.data(), key.size()) != 0)
        throw DbError("the cards can be sealed only by a connection that seals with this key");
    const std::vector<SealMismatch> broken = sealMismatches(db, key, cards);
    if (broken.empty()) return 0;
    std::vector<std::string> names;
    std::string log;
    for (const SealMismatch& card : broken) {
        names.push_back(card.card);
        OperLogRow row;
        row.functionId = "SEAL";
        row.description = "管理员" + who + "核对后确认余额" + platform::decodeBalance(card.storedBalance) +
                          "、积分" + platform::formatNumber(card.accumulated - card.used);
        row.cardId = card.card;
        log += operLogStatement(row) + ";\n";
    }
    // The engine's own seal function seals the values as they stand in this write. The system
    // cannot change a card that does not match its seal, so they are the values just checked.
    const std::string script = "UPDATE T_Pos_VipRecord SET "
                               "FSeal=ormex_seal(FCardId,FResidualAmt,FAccNum,FDecNum,FLedgerSeq,FLedgerHash)"
                               " WHERE FCardId IN " +
                               inList(names) + ";\n" + log;
    Database::Transaction transaction(db);
    db.executeNative(script);
    transaction.commit();
    return static_cast<long>(broken.size());
}

} // namespace ormex::db

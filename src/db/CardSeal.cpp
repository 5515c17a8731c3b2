#include "CardSeal.h"

#include <openssl/crypto.h>
#include <openssl/evp.h>
#include <openssl/rand.h>
#include <sqlite3.h>

#include <memory>
#include <tuple>

#include "Database.h"
#include "DbError.h"
#include "OperLog.h"
#include "Schema.h"
#include "platform/BalanceCodec.h"
#include "platform/NumberText.h"
#include "platform/Text.h"

namespace ormex::db {

namespace {

std::optional<SealKey>& processKey()
{
    static std::optional<SealKey> key;
    return key;
}

unsigned long& generation()
{
    static unsigned long value = 1;
    return value;
}

// A seal is the first half of the HMAC, written out in 32 hexadecimal digits: 128 bits are beyond
// guessing, and the card row stays short (every update of a card writes the whole row).
constexpr std::size_t kSealBytes = 16;
using SealText = std::array<char, 2 * kSealBytes + 1>;

constexpr char kHexDigits[] = "0123456789abcdef";

void writeHex(const unsigned char* bytes, std::size_t count, char* out)
{
    for (std::size_t i = 0; i < count; ++i) {
        out[2 * i] = kHexDigits[bytes[i] >> 4];
        out[2 * i + 1] = kHexDigits[bytes[i] & 15];
    }
    out[2 * count] = '\0';
}

struct MdContextFree
{
    void operator()(EVP_MD_CTX* context) const { EVP_MD_CTX_free(context); }
};
using MdContext = std::unique_ptr<EVP_MD_CTX, MdContextFree>;

// HMAC-SHA256 (RFC 2104) under one key: SHA-256 of (key ^ opad) followed by SHA-256 of (key ^
// ipad) and the message. The two hashes are kept after their key block, so a seal costs the
// message's blocks and one more, run with the processor's SHA instructions where it has them.
// One connection (one thread) uses a sealer at a time.
class Sealer
{
public:
    explicit Sealer(const SealKey& key)
        : m_inner(EVP_MD_CTX_new()), m_outer(EVP_MD_CTX_new()), m_work(EVP_MD_CTX_new())
    {
        if (!m_inner || !m_outer || !m_work) throw DbError("cannot make the card sealer");
        unsigned char inner[64];
        unsigned char outer[64];
        for (std::size_t i = 0; i < 64; ++i) {
            const unsigned char k = i < key.size() ? key[i] : 0;
            inner[i] = k ^ 0x36;
            outer[i] = k ^ 0x5c;
        }
        if (EVP_DigestInit_ex(m_inner.get(), EVP_sha256(), nullptr) != 1 ||
            EVP_DigestUpdate(m_inner.get(), inner, sizeof inner) != 1 ||
            EVP_DigestInit_ex(m_outer.get(), EVP_sha256(), nullptr) != 1 ||
            EVP_DigestUpdate(m_outer.get(), outer, sizeof outer) != 1)
            throw DbError("cannot make the card sealer");
        OPENSSL_cleanse(inner, sizeof inner);
        OPENSSL_cleanse(outer, sizeof outer);
    }

    void seal(std::string_view card, std::string_view storedBalance, double accumulated, double used,
              SealText& out) const
    {
        EVP_MD_CTX* work = m_work.get();
        const char separator = 0x1f;
        const std::string accumulatedText = platform::formatNumber(accumulated);
        const std::string usedText = platform::formatNumber(used);
        unsigned char hash[EVP_MAX_MD_SIZE];
        unsigned int length = 0;
        bool ok = EVP_MD_CTX_copy_ex(work, m_inner.get()) == 1;
        for (std::string_view piece :
             {card, std::string_view(&separator, 1), storedBalance, std::string_view(&separator, 1),
              std::string_view(accumulatedText), std::string_view(&separator, 1), std::string_view(usedText)})
            ok = ok && EVP_DigestUpdate(work, piece.data(), piece.size()) == 1;
        ok = ok && EVP_DigestFinal_ex(work, hash, &length) == 1 &&
             EVP_MD_CTX_copy_ex(work, m_outer.get()) == 1 && EVP_DigestUpdate(work, hash, length) == 1 &&
             EVP_DigestFinal_ex(work, hash, &length) == 1;
        if (!ok) throw DbError("the card seal could not be computed");
        writeHex(hash, kSealBytes, out.data());
    }

    std::string seal(std::string_view card, std::string_view storedBalance, double accumulated,
                     double used) const
    {
        SealText text;
        seal(card, storedBalance, accumulated, used, text);
        return std::string(text.data(), text.size() - 1);
    }

private:
    MdContext m_inner, m_outer, m_work;
};

bool sameSeal(std::string_view a, std::string_view b)
{
    return a.size() == b.size() && CRYPTO_memcmp(a.data(), b.data(), a.size()) == 0;
}

// The text of an argument; each argument keeps its own text, so several can be held at once.
std::string_view textArg(sqlite3_value* value)
{
    const unsigned char* text = sqlite3_value_text(value);
    return text ? std::string_view(reinterpret_cast<const char*>(text),
                                   static_cast<std::size_t>(sqlite3_value_bytes(value)))
                : std::string_view();
}

void sealOfArgs(const Sealer& sealer, sqlite3_value** argv, SealText& out)
{
    sealer.seal(textArg(argv[0]), textArg(argv[1]), sqlite3_value_double(argv[2]),
                sqlite3_value_double(argv[3]), out);
}

const Sealer& sealerOf(sqlite3_context* context)
{
    return *static_cast<const Sealer*>(sqlite3_user_data(context));
}

// ormex_seal(card, stored balance, accumulated, used): the seal of the values.
void sealFunction(sqlite3_context* context, int, sqlite3_value** argv)
{
    SealText seal;
    sealOfArgs(sealerOf(context), argv, seal);
    sqlite3_result_text(context, seal.data(), static_cast<int>(seal.size() - 1), SQLITE_TRANSIENT);
}

bool holds(const Sealer& sealer, sqlite3_value** argv)
{
    SealText expected;
    sealOfArgs(sealer, argv + 1, expected);
    return sameSeal(textArg(argv[0]), std::string_view(expected.data(), expected.size() - 1));
}

// ormex_seal_holds(seal, card, stored balance, accumulated, used): 1 when the seal is the values'.
void holdsFunction(sqlite3_context* context, int, sqlite3_value** argv)
{
    sqlite3_result_int(context, holds(sealerOf(context), argv));
}

// ormex_seal_next(seal, the four old values, the four new values): the seal of the new values,
// or an error (the statement fails) when the old values do not match the old seal.
void nextFunction(sqlite3_context* context, int, sqlite3_value** argv)
{
    const Sealer& sealer = sealerOf(context);
    if (!holds(sealer, argv)) {
        sqlite3_result_error(context, kSealBrokenMessage, -1);
        return;
    }
    SealText seal;
    sealOfArgs(sealer, argv + 5, seal);
    sqlite3_result_text(context, seal.data(), static_cast<int>(seal.size() - 1), SQLITE_TRANSIENT);
}

// Cards inserted by any statement of a sealing connection are sealed as they are written.
constexpr const char* kInsertTrigger =
    "CREATE TEMP TRIGGER IF NOT EXISTS ormex_seal_insert AFTER INSERT ON main.T_Pos_VipRecord BEGIN"
    " UPDATE T_Pos_VipRecord SET FSeal=ormex_seal(NEW.FCardId,NEW.FResidualAmt,NEW.FAccNum,NEW.FDecNum)"
    " WHERE rowid=NEW.rowid; END;";

// Updates written as native SQL that do not seal themselves. The system's own UPDATE statements
// write the seal in the statement (see parseBatch), which costs a fraction of what a trigger on
// every update of a card does.
std::string updateTrigger()
{
    return std::string("CREATE TEMP TRIGGER IF NOT EXISTS ormex_seal_update"
                       " AFTER UPDATE OF FCardId,FResidualAmt,FAccNum,FDecNum ON main.T_Pos_VipRecord"
                       " WHEN NEW.FSeal IS OLD.FSeal BEGIN SELECT RAISE(ABORT,'") +
           kSealBrokenMessage +
           "') WHERE NOT ormex_seal_holds(OLD.FSeal,OLD.FCardId,OLD.FResidualAmt,OLD.FAccNum,OLD.FDecNum);"
           " UPDATE T_Pos_VipRecord SET "
           "FSeal=ormex_seal(NEW.FCardId,NEW.FResidualAmt,NEW.FAccNum,NEW.FDecNum)"
           " WHERE rowid=NEW.rowid; END;";
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
    ++generation();
}

unsigned long sealKeyGeneration()
{
    return generation();
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
    char hex[2 * sizeof(SealKey) + 1];
    writeHex(key.data(), key.size(), hex);
    return hex;
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

std::string cardSeal(const SealKey& key, std::string_view card, std::string_view storedBalance,
                     double accumulated, double used)
{
    return Sealer(key).seal(card, storedBalance, accumulated, used);
}

void installSealing(Database& db)
{
    const auto& key = processKey();
    if (!key || !hasSchema(db)) return;
    // Each function keeps its own sealer, freed with the connection.
    for (const auto& [name, arity, function] :
         {std::tuple{"ormex_seal", 4, &sealFunction}, std::tuple{"ormex_seal_holds", 5, &holdsFunction},
          std::tuple{"ormex_seal_next", 9, &nextFunction}}) {
        auto* sealer = new Sealer(*key);
        if (sqlite3_create_function_v2(db.handle(), name, arity, SQLITE_UTF8 | SQLITE_DETERMINISTIC, sealer,
                                       function, nullptr, nullptr,
                                       [](void* p) { delete static_cast<Sealer*>(p); }) != SQLITE_OK)
            throw DbError(std::string("cannot register ") + name + ": " + sqlite3_errmsg(db.handle()));
    }
    db.executeNative(kInsertTrigger);
    db.setSealsCards(true);
}

void sealNativeUpdates(Database& db)
{
    if (db.sealsCards()) db.executeNative(updateTrigger());
}

std::vector<SealMismatch> sealMismatches(TsqlDatabase& db, const SealKey& key,
                                         const std::vector<std::string>& cards)
{
    std::string sql = "select FCardId, FVipName, FResidualAmt, FAccNum, FDecNum, FSeal from T_Pos_VipRecord";
    if (!cards.empty()) sql += " where FCardId in " + inList(cards);
    sql += " order by FCardId";
    const platform::Recordset rs = db.query(sql);
    std::vector<SealMismatch> found;
    const Sealer sealer(key);
    for (std::size_t r = 0; r < rs.recordCount(); ++r) {
        SealMismatch card{rs.at(r, "FCardId").toString(), rs.at(r, "FVipName").toString(),
                          rs.at(r, "FResidualAmt").toString(), rs.at(r, "FAccNum").toDouble(),
                          rs.at(r, "FDecNum").toDouble()};
        if (!sameSeal(rs.at(r, "FSeal").toString(),
                      sealer.seal(card.card, card.storedBalance, card.accumulated, card.used)))
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
    const std::string script =
        "UPDATE T_Pos_VipRecord SET FSeal=ormex_seal(FCardId,FResidualAmt,FAccNum,FDecNum)"
        " WHERE FCardId IN " +
        inList(names) + ";\n" + log;
    Database::Transaction transaction(db);
    db.executeNative(script);
    transaction.commit();
    return static_cast<long>(broken.size());
}

} // namespace ormex::db

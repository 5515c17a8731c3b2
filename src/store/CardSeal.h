#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

struct sqlite3;

// The seal of a member card: an HMAC-SHA256, under a key kept in the host's settings and never in
// the database, over the card number, the stored balance, the accumulated and used points and the
// head of the card's movement ledger.
// Whenever the system writes one of those columns the seal is written with it, in the same
// statement, by functions that only the system's own connections register (and, for inserts, a
// temporary trigger of theirs). A change made through any other connection (the sqlite3 command,
// another program) leaves the seal as it was, and the card no longer matches it.
//
// The system also refuses to build on a card that no longer matches: an update of a sealed column
// of such a card fails (the whole batch is rolled back) until an administrator has reviewed the
// card and accepted its values (resealCards).
namespace ormex::db {

class Database;
class TsqlDatabase;
struct DerivedColumn;

using SealKey = std::array<unsigned char, 32>;

// The key of this process. Connections opened (and schemas applied) afterwards seal with it; with
// no key they do not seal.
void setSealKey(std::optional<SealKey> key);
const std::optional<SealKey>& sealKey();

// A new random key, and its text form (64 hexadecimal digits) for a settings file.
SealKey newSealKey();
std::string sealKeyText(const SealKey& key);
// Nothing for text that is not 64 hexadecimal digits.
std::optional<SealKey> parseSealKey(std::string_view text);

// What a card's seal covers: its number, stored balance and points, and the head of its movement
// ledger (CardLedger.h), so that an older state of the card written back no longer matches.
struct SealedValues
{
    std::string_view card;
    std::string_view storedBalance;
    double accumulated = 0;
    double used = 0;
    long long ledgerSeq = 0;
    std::string_view ledgerHash = {};
};

// The seal of a card's values (32 hexadecimal digits). Numbers are written with the system's one number
// text, so a seal computed by either engine reads the same.
std::string cardSeal(const SealKey& key, const SealedValues& values);

// The message of the refusal of an update of a card that no longer matches its seal.
inline constexpr const char* kSealBrokenMessage =
    "会员卡的余额或积分与校验码不符（可能被非法修改），请联系管理员核查";

// The seal as the column that the system's UPDATEs of the card table keep derived (the parser
// writes the call of ormex_seal_next, which checks the old seal and computes the new one).
const DerivedColumn& cardSealColumn();
// Whether the connection seals the cards it writes (installSealing).
bool sealsCards(const Database& db);

// Registers the seal functions on a connection and creates its temporary trigger that seals the
// cards it inserts, when this process has a key and the database holds the card table; nothing
// otherwise. The connection's T-SQL batches then seal the cards they update (parseBatch).
// Throws DbError.
void installSealing(Database& db);
// Creates the connection's sealing triggers anew for the schema as it is now: after a schema step
// that brought the database to the movement ledger. Throws DbError.
void renewSealing(Database& db);
// Also seals (and checks) the cards that native SQL of this connection updates: for connections
// that write cards other than through the system's T-SQL (test fixtures). Throws DbError.
void sealNativeUpdates(Database& db);

struct SealMismatch
{
    std::string card;
    std::string name;
    std::string storedBalance;
    double accumulated = 0;
    double used = 0;
};

// The cards whose seal does not match their values (an empty seal included), on either engine.
// `cards` limits the check to those card numbers (compared without case); empty checks every
// card. Throws DbError.
std::vector<SealMismatch> sealMismatches(TsqlDatabase& db, const SealKey& key,
                                         const std::vector<std::string>& cards = {});

// Seals the named cards that do not match their seal with their present values (after an
// administrator's review), all such cards when `cards` is empty, in one transaction with a
// t_OperLog row per card naming `who`. Returns the number of cards sealed. Throws DbError.
long resealCards(Database& db, const SealKey& key, const std::vector<std::string>& cards,
                 const std::string& who);

} // namespace ormex::db

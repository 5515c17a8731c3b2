#include "BackupCheck.h"

#include "CardLedger.h"

#include <exception>
#include <optional>

#include "SchemaUpgrade.h"
#include "platform/BalanceCodec.h"
#include "platform/NumberText.h"
#include "sql/Database.h"
#include "sql/SqliteStatement.h"

namespace ormex::db {

namespace {

// Lines of SQLite's integrity check, and cards that do not match their seal, named one by one at
// most; a copy sealed with another key would name every card.
constexpr int kDamageShown = 10;
constexpr std::size_t kCardsListed = 20;

std::vector<std::string> damage(Database& db)
{
    std::vector<std::string> found;
    SqliteStatement check(db.handle(), "PRAGMA integrity_check(" + std::to_string(kDamageShown) + ")");
    while (check.step()) {
        const std::string line = check.column(0).toString();
        if (line != "ok") found.push_back("it is damaged: " + line);
    }
    return found;
}

// Nothing when the schema is one this build works on (an older one is upgraded).
std::optional<std::string> schemaFinding(Database& db)
{
    const auto version = schemaVersion(db);
    if (!version) return "it holds no member-card tables";
    if (*version > currentSchemaVersion())
        return "its schema version " + std::to_string(*version) + " is newer than this build's (" +
               std::to_string(currentSchemaVersion()) + "): restore it with the build that made it";
    upgradeWhenOpened(db);
    return std::nullopt;
}

std::string sealFinding(const SealMismatch& card)
{
    const auto balance = platform::tryDecodeBalance(card.storedBalance);
    return "card " + card.card + (card.name.empty() ? "" : " (" + card.name + ")") + ": balance " +
           (balance ? platform::formatFixed(*balance, 2) : "'" + card.storedBalance + "' (not readable)") +
           ", points " + platform::formatNumber(card.accumulated) + " accumulated and " +
           platform::formatNumber(card.used) + " used do not match its seal: changed outside the system";
}

} // namespace

std::vector<std::string> checkBackup(const std::string& copy, const SealKey& key)
{
    try {
        const auto db = Database::open(copy);
        if (auto found = damage(*db); !found.empty()) return found;
        if (const auto found = schemaFinding(*db)) return {*found};
        std::vector<std::string> findings;
        const std::vector<SealMismatch> broken = sealMismatches(*db, key);
        for (std::size_t i = 0; i < broken.size() && i < kCardsListed; ++i)
            findings.push_back(sealFinding(broken[i]));
        if (broken.size() > kCardsListed)
            findings.push_back(std::to_string(broken.size() - kCardsListed) +
                               " more card(s) do not match their seal");
        // The chains of the cards' movements: a copy whose history was rewritten is refused too.
        if (sealsCards(*db)) {
            const std::vector<LedgerFinding> chains = ledgerFindings(*db);
            for (std::size_t i = 0; i < chains.size() && i < kCardsListed; ++i)
                findings.push_back("card " + chains[i].card + ": " + chains[i].text);
            if (chains.size() > kCardsListed)
                findings.push_back(std::to_string(chains.size() - kCardsListed) +
                                   " more finding(s) of the movement ledger");
        }
        const auto cards = db->query("select count(*) as n from T_Pos_VipRecord").field("n").toInt();
        if (broken.size() > 1 && static_cast<long long>(broken.size()) == cards)
            findings.push_back("no card matches its seal: the copy may come from a database sealed with "
                               "another key than the seal-key of these settings");
        return findings;
    } catch (const std::exception& error) {
        return {"it cannot be read as a database of the system: " + std::string(error.what())};
    }
}

} // namespace ormex::db

// The saves of the maintenance screens, and their floors: the gift catalogue saved whole, the
// card status operations of the card screen, and the member settings.
#include <iterator>
#include <string>
#include <utility>
#include <vector>

#include "SealedCardUpdate.h"
#include "Shapes.h"
#include "module/frame/SavePackage.h"
#include "module/points/GiftCatalogueStatements.h"
#include "module/settings/MemberSettingsKeys.h"
#include "platform/FieldMap.h"
#include "store/DemoData.h"

namespace ormex::bench {

namespace {

namespace frame = ormex::module::frame;
namespace points = ormex::module::points;
namespace settings = ormex::module::settings;

// ---------------------------------------------------------------------------------------------
// The gift catalogue: the whole catalogue emptied and N gift rows written.

// The gift warehouse of the branch (t_stock), which every gift row names.
constexpr long long kGiftWarehouseId = 2;
constexpr const char* kGiftWarehouseNo = "0101";
constexpr const char* kGiftBegin = "2026-11-23";
constexpr const char* kGiftEnd = "2026-12-23";

// The catalogue the screen loaded whole, with its goods and the gift warehouse: goods 1..N, each a
// gift for one card type: every fourth for gold cards ('03'), the others for all cards, 1 to 3
// pieces for 100 to 149 points.
std::string giftCatalogueSql(long cards)
{
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
}

constexpr Fixture kGiftFixture{"-gifts", giftCatalogueSql};

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

// The save after the whole catalogue was loaded: the emptying, then every row of the package
// (the package of the catalogue grid names the table and its key). One gift per card of the size.
std::vector<std::string> giftCatalogueBatches(const std::vector<Card>& cards)
{
    frame::SavePackage package;
    package.setTable("T_Pos_VipGift", {"FItemId", "FCardType", "FBranchID"});
    for (long i = 1; i <= static_cast<long>(cards.size()); ++i)
        package.addRow(giftPackageRow(giftRow(i)));
    std::string batch;
    for (const auto& row : package.rows())
        batch += points::GiftRowStatements(package, row);
    return oneBatch(points::GiftCatalogueEmptying({points::CatalogueScope::Kind::Whole, {}}) + batch);
}

// The emptying and the rows (FCardType as written: "All" for ""). The batch deletes each row's key
// before inserting it; after the emptying those deletes find nothing, so the floor has no need of
// them.
void floorGiftCatalogue(sqlite3* db, const std::vector<GiftRow>& gifts)
{
    exec(db, "DELETE FROM T_Pos_VipGift");
    Statement insert(db, "INSERT INTO T_Pos_VipGift (FItemNum, FVipNum, FBeginDate, FEndDate, FBranchID,"
                         " FBranchNo, FItemId, FCardType) VALUES (?1, ?2, ?3, ?4, ?5, ?6, ?7, ?8)");
    for (const GiftRow& g : gifts) {
        insert.integer(1, g.pieces).real(2, g.points).text(3, kGiftBegin).text(4, kGiftEnd);
        insert.integer(5, kGiftWarehouseId).text(6, kGiftWarehouseNo).integer(7, g.item).text(8, g.cardType);
        insert.run();
    }
}

Floor giftCatalogueFloor(const std::vector<Card>& cards)
{
    std::vector<GiftRow> gifts;
    gifts.reserve(cards.size());
    for (long i = 1; i <= static_cast<long>(cards.size()); ++i) {
        GiftRow g = giftRow(i);
        if (g.cardType.empty()) g.cardType = "All";
        gifts.push_back(std::move(g));
    }
    return [gifts = std::move(gifts)](sqlite3* db, const std::string&) { floorGiftCatalogue(db, gifts); };
}

// ---------------------------------------------------------------------------------------------
// Card operations: a report of loss on the card screen, for N cards one after the other.

// The status a report of loss gives a card.
constexpr const char* kLostStatus = "2";

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

std::vector<std::string> cardOperationBatches(const std::vector<Card>& cards)
{
    return batchPerCard(cards, [](long, const Card& c) { return cardStatusBatch(c.id, kLostStatus); });
}

// The status update of every card, each in its own transaction.
void floorCardOperations(sqlite3* db, const std::vector<Card>& cards, const std::string&)
{
    Statement update(db, cardUpdate({{"FCardStatus", "?2"}}, "FCardId = ?1").c_str());
    for (const Card& c : cards)
        inTransaction(db, [&] { update.text(1, c.id).text(2, kLostStatus).run(); });
}

// ---------------------------------------------------------------------------------------------
// The member settings saved N times.

// The member settings as stored: those of the demo database.
constexpr const auto& kStoredSettings = ormex::db::kDemoMemberSettings;
static_assert(std::size(kStoredSettings) == settings::kMemberSettings.size());

std::string storedSettingsSql(long)
{
    std::string sql = "BEGIN;";
    for (const auto& [key, value] : kStoredSettings)
        sql += std::string("INSERT INTO t_SystemProfile (FCategory, FKey, FValue) VALUES ('VIP', '") + key +
               "', '" + value + "');";
    return sql + "COMMIT;";
}

constexpr Fixture kSettingsFixture{"-settings", storedSettingsSql};

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

std::vector<std::string> settingsBatches(const std::vector<Card>& cards)
{
    return batchPerCard(
        cards, [](long n, const Card&) { return settings::buildSettingsSaveBatch(settingsSave(n)); });
}

// Every settings save, each in its own transaction: save n, key k (the screen's order) at
// n * keys + k of `values`.
void floorSettings(sqlite3* db, const std::vector<std::string>& values)
{
    Statement update(db, "UPDATE t_SystemProfile SET FValue = ?1 WHERE FCategory = 'VIP' AND FKey = ?2");
    const std::size_t keys = settings::kMemberSettings.size();
    for (std::size_t at = 0; at < values.size(); at += keys) {
        inTransaction(db, [&] {
            for (std::size_t k = 0; k < keys; ++k)
                update.text(1, values[at + k]).text(2, settings::kMemberSettings[k].key).run();
        });
    }
}

Floor settingsFloor(const std::vector<Card>& cards)
{
    std::vector<std::string> values;
    values.reserve(cards.size() * settings::kMemberSettings.size());
    for (long n = 1; n <= static_cast<long>(cards.size()); ++n) {
        const ormex::platform::FieldMap save = settingsSave(n);
        for (const settings::MemberSetting& setting : settings::kMemberSettings)
            values.push_back(save.text(setting.key));
    }
    return [values = std::move(values)](sqlite3* db, const std::string&) { floorSettings(db, values); };
}

} // namespace

// The gift settings saved after the whole catalogue of N gifts was loaded.
constinit const Shape kGiftCatalogue{
    .fixture = &kGiftFixture, .batches = giftCatalogueBatches, .floor = giftCatalogueFloor};
constinit const Shape kCardOperations{
    .perCard = true, .batches = cardOperationBatches, .floor = cardsFloor<floorCardOperations>};
constinit const Shape kSettingsBatch{
    .fixture = &kSettingsFixture, .perCard = true, .batches = settingsBatches, .floor = settingsFloor};

} // namespace ormex::bench

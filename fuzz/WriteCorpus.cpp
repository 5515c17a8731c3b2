// Writes the fuzzer's seed corpus: the batches and queries the screens send, made by the module's
// own statement builders for a few cards each, one file per text.
//
//   write_fuzz_corpus <folder>
#include <cstdio>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

#include "module/cards/ApprovalCondition.h"
#include "module/cards/CardSearchRules.h"
#include "module/cards/CardStatusRules.h"
#include "module/frame/SavePackage.h"
#include "module/points/GiftCatalogueStatements.h"
#include "module/points/PointsStatements.h"
#include "module/settings/MemberSettingsKeys.h"
#include "module/storedvalue/StoredValueStatements.h"
#include "platform/BalanceCodec.h"
#include "platform/DateTime.h"

namespace {

namespace cards = ormex::module::cards;
namespace frame = ormex::module::frame;
namespace points = ormex::module::points;
namespace settings = ormex::module::settings;
namespace storedvalue = ormex::module::storedvalue;

const points::PointsSession kPoints{"1", "01", "16394"};
const storedvalue::StoredValueSession kStoredValue{"16394", "1", "01"};
const std::vector<std::string> kCards = {"9000000001", "A'01", "会员0003"};

// The groups of `cards` cards joined as the screens join them.
std::string batchOf(std::size_t cards,
                    const std::function<std::string(int n, const std::string& card)>& group)
{
    std::string batch;
    for (std::size_t k = 0; k < cards; ++k)
        batch += group(static_cast<int>(k + 1), kCards[k]);
    return batch;
}

std::string giftCatalogue(std::size_t rows, points::CatalogueScope scope)
{
    frame::SavePackage package;
    package.setTable("T_Pos_VipGift", {"FItemId", "FCardType", "FBranchID"});
    for (std::size_t i = 1; i <= rows; ++i)
        package.addRow({{"FItemNum", std::to_string(i)},
                        {"FVipNum", 100.5 * static_cast<double>(i)},
                        {"FBeginDate", "2026-11-23"},
                        {"FEndDate", "2026-12-23"},
                        {"FBranchID", "2"},
                        {"FBranchNo", "0101"},
                        {"FItemID", std::to_string(i)},
                        {"FCardType", i % 2 ? "" : "03"}});
    std::string batch = points::GiftCatalogueEmptying(scope);
    for (const auto& row : package.rows())
        batch += points::GiftRowStatements(package, row);
    return batch;
}

std::string settingsSave(const std::string& text)
{
    ormex::platform::FieldMap values;
    for (const settings::MemberSetting& setting : settings::kMemberSettings)
        values.set(std::string(setting.key), setting.kind == settings::SettingKind::Text     ? text
                                             : setting.kind == settings::SettingKind::Amount ? "1000.50"
                                                                                             : "1");
    return settings::buildSettingsSaveBatch(values);
}

storedvalue::Recharge recharge(const std::string& card, double amount)
{
    storedvalue::Recharge r;
    r.card = card;
    r.amount = ormex::platform::Money::ofDouble(amount);
    r.paid = r.amount;
    r.oldBalance = ormex::platform::Money::ofDouble(120.5);
    r.newBalance = r.oldBalance + r.amount;
    r.listedBalance = r.newBalance;
    r.memo = "充值 'memo'";
    r.operDate = "2026-11-23 10:00:00";
    r.paymentId = "1";
    return r;
}

storedvalue::Conversion conversion(const std::string& card)
{
    storedvalue::Conversion c;
    c.card = card;
    c.points = 100;
    c.amount = ormex::platform::Money::ofDouble(10);
    c.oldBalance = ormex::platform::Money::ofDouble(50);
    c.gridBalance = c.oldBalance;
    c.newBalance = c.oldBalance + c.amount;
    c.operDate = "2026-11-23 10:00:00";
    return c;
}

std::vector<std::pair<std::string, std::string>> corpus()
{
    std::vector<std::pair<std::string, std::string>> files;
    const auto add = [&](const std::string& name, std::string text) {
        files.emplace_back(name + ".sql", std::move(text));
    };
    for (std::size_t n = 1; n <= 3; n += 2) {
        const std::string size = "-" + std::to_string(n);
        add("points-reward" + size,
            batchOf(n, [](int, const std::string& c) { return points::RewardGroup(kPoints, c, 10); }));
        add("points-deduction" + size, batchOf(n, [](int k, const std::string& c) {
                return points::DeductionGroup(kPoints, k, c, 5.5, 100, 98);
            }));
        add("points-clearing" + size, batchOf(n, [](int, const std::string& c) {
                                          return points::ClearingGroup(kPoints, c, 30, 25);
                                      }) + points::PointClearRecord("127.0.0.1", "收银台", "16394"));
        add("gift-exchange" + size, batchOf(n, [](int k, const std::string& c) {
                return points::ExchangeGroup(kPoints, k, c, {"1", "01", "7", "2", "10", "0"}, 10);
            }));
        add("stored-value-recharge" + size, batchOf(n, [](int, const std::string& c) {
                return storedvalue::RechargeStatements(kStoredValue, recharge(c, 100));
            }));
        add("stored-value-conversion" + size, batchOf(n, [](int k, const std::string& c) {
                return storedvalue::ConversionStatements(kStoredValue, k, conversion(c));
            }));
        add("gift-catalogue" + size, giftCatalogue(n, {points::CatalogueScope::Kind::Whole, {}}));
    }
    add("stored-value-refund", storedvalue::RechargeStatements(kStoredValue, recharge("9000000001", -20.25)));
    add("stored-value-balance",
        storedvalue::BalanceStatement("9000000001", ormex::platform::encodeBalance(88.8)));
    add("gift-catalogue-one-gift", giftCatalogue(1, {points::CatalogueScope::Kind::OneGift, "G000001"}));
    add("settings-save", settingsSave("VIP"));
    add("settings-save-quoted", settingsSave("会'员"));
    add("card-status", cards::statusUpdateStatement('2', "9000000001"));
    add("card-end-date", cards::endDateUpdateStatement({2027, 2, 28}, "A'01"));
    add("card-password", cards::passwordUpdateStatement("p'ss", "9000000001"));
    add("card-search", "select * from T_Pos_VipRecord where " + cards::cardSearchCondition("139'0001"));
    add("card-face-search",
        "select * from T_Pos_VipRecord where " + cards::faceNumberSearchCondition("9000000001"));
    cards::ApprovalConditionInput approval{"9000",
                                           "张",
                                           cards::approvalOperatorEntries().at(4),
                                           "2026-11-01",
                                           cards::approvalStatusEntries().at(1),
                                           "01",
                                           "139"};
    add("approval-list", "select * from T_Pos_VipRecord where 1=1" + cards::buildApprovalCondition(approval));
    return files;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s <folder>\n", argv[0]);
        return 2;
    }
    for (const auto& [name, text] : corpus()) {
        std::ofstream out(std::string(argv[1]) + "/" + name, std::ios::binary);
        out << text;
        if (!out) {
            std::fprintf(stderr, "cannot write %s/%s\n", argv[1], name.c_str());
            return 1;
        }
    }
    return 0;
}

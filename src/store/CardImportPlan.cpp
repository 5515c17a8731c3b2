#include <optional>
#include <unordered_map>

#include "CardImport.h"
#include "CsvRecords.h"
#include "platform/DateTime.h"
#include "platform/NumberText.h"
#include "platform/Text.h"
#include "sql/SqliteStatement.h"

namespace ormex::db {

namespace {

using platform::Value;

enum Column { CardId, FaceNumber, Name, Mobile, CardType, EndDate, Balance, Points };

// A balance is encoded as its value times 10000 written out in full, which formatNumber does below
// 1e15; anything near that is a mistake in the file, not a member's money.
constexpr double kLargestValue = 1e10;

struct TypeFlags
{
    std::string id; // as the type table writes it
    bool saving = false;
    bool accumulates = false;
};

template <typename T>
using NoCaseMap = std::unordered_map<std::string, T, platform::NoCaseHash, platform::NoCaseEqual>;

// What the database says about the cards and types a file names.
class DatabaseLookups
{
public:
    explicit DatabaseLookups(Database& db)
        : m_card(db.handle(), "SELECT r.FCardStatus, r.FDeleted,"
                              " EXISTS (SELECT 1 FROM T_Pos_AddMoneyList m WHERE m.FCardId = r.FCardId)"
                              " OR EXISTS (SELECT 1 FROM T_Pos_VipGiftList g WHERE g.FCardId = r.FCardId)"
                              " OR EXISTS (SELECT 1 FROM T_Pos_VipConsume c WHERE c.FCardId = r.FCardId)"
                              " FROM T_Pos_VipRecord r WHERE r.FCardId = ?"),
          m_faceOwner(db.handle(),
                      "SELECT FCardId FROM T_Pos_VipRecord WHERE FCardFlowno = ? AND FCardId <> ? LIMIT 1")
    {
        SqliteStatement types(db.handle(), "SELECT FTypeId, FSavingFlag, FAccFlag FROM T_Pos_VipType");
        while (types.step()) {
            TypeFlags type{types.column(0).toString(), types.column(1).toBool(), types.column(2).toBool()};
            m_types.emplace(type.id, type);
        }
    }

    const TypeFlags* type(const std::string& id) const
    {
        const auto found = m_types.find(id);
        return found == m_types.end() ? nullptr : &found->second;
    }

    enum class CardState { Absent, Unused, Used, Deleted };
    CardState card(const std::string& id)
    {
        Use use(m_card);
        m_card.bind(1, Value(id));
        if (!m_card.step()) return CardState::Absent;
        if (m_card.column(1).toInt() != 0) return CardState::Deleted;
        const bool unused = m_card.column(0).toString() == "9" && m_card.column(2).toInt() == 0;
        return unused ? CardState::Unused : CardState::Used;
    }

    // The card, other than `cardId`, that has this face number.
    std::optional<std::string> faceNumberOwner(const std::string& faceNumber, const std::string& cardId)
    {
        Use use(m_faceOwner);
        m_faceOwner.bind(1, Value(faceNumber));
        m_faceOwner.bind(2, Value(cardId));
        if (!m_faceOwner.step()) return std::nullopt;
        return m_faceOwner.column(0).toString();
    }

private:
    // Leaves a statement ready for the next line.
    struct Use
    {
        explicit Use(SqliteStatement& used) : statement(used) {}
        ~Use() { statement.reset(); }
        Use(const Use&) = delete;
        Use& operator=(const Use&) = delete;
        SqliteStatement& statement;
    };

    SqliteStatement m_card;
    SqliteStatement m_faceOwner;
    NoCaseMap<TypeFlags> m_types;
};

// Why a record cannot be read as a line of the file at all, or "" when it can.
std::string shapeProblem(const CsvRecord& record)
{
    if (record.fault == CsvRecord::Fault::UnclosedQuote) return "引号没有结束";
    if (record.fault == CsvRecord::Fault::TextAfterQuote)
        return "引号后面还有文字，含逗号或引号的内容须整个放在引号中";
    for (const std::string& field : record.fields)
        if (platform::invalidUtf8At(field) != std::string::npos)
            return "不是UTF-8编码的文字，请把文件另存为UTF-8编码";
    if (record.fields.size() != kCardImportColumns)
        return "应有" + std::to_string(kCardImportColumns) + "列，实有" +
               std::to_string(record.fields.size()) + "列";
    return {};
}

// An opening balance or points: empty is 0; otherwise a number, not negative, with at most two
// decimals, as the screens' grids show both.
std::optional<double> openingValue(const std::string& text, const char* label,
                                   std::vector<std::string>& reasons)
{
    if (text.empty()) return 0.0;
    const std::string shown = std::string(label) + "【" + text + "】";
    const auto value = platform::parseNumber(text);
    if (!value) {
        reasons.push_back(shown + "不是数字");
        return std::nullopt;
    }
    if (*value < 0) {
        reasons.push_back(shown + "不能为负数");
        return std::nullopt;
    }
    if (platform::decimalPlaces(*value) > 2) {
        reasons.push_back(shown + "最多只能有两位小数");
        return std::nullopt;
    }
    if (*value >= kLargestValue) {
        reasons.push_back(shown + "过大");
        return std::nullopt;
    }
    return *value + 0.0; // -0 is 0
}

// The screens put a card number between quotes in their statements.
bool usableCardNumber(const std::string& id)
{
    for (const char c : id)
        if (c == '\'' || c == '"' || static_cast<unsigned char>(c) <= ' ') return false;
    return true;
}

class LineChecker
{
public:
    explicit LineChecker(Database& db) : m_db(db) {}

    // The card of a line that can be imported; otherwise nothing, and why in `reasons`.
    std::optional<ImportedCard> check(const CsvRecord& record, std::vector<std::string>& reasons)
    {
        ImportedCard card;
        card.line = record.line;
        std::vector<std::string> f;
        for (const std::string& field : record.fields)
            f.push_back(platform::trim(field));
        card.cardId = f[CardId];
        card.faceNumber = f[FaceNumber];
        card.name = f[Name];
        card.mobile = f[Mobile];
        card.endDate = f[EndDate];

        checkCardNumber(card, reasons);
        checkFaceNumber(card, reasons);
        const TypeFlags* type = nullptr;
        if (f[CardType].empty()) {
            reasons.push_back("卡类别为空");
        } else if (!(type = m_db.type(f[CardType]))) {
            reasons.push_back("卡类别【" + f[CardType] + "】不存在");
        } else {
            card.typeId = type->id;
            card.saving = type->saving;
            card.accumulates = type->accumulates;
        }
        if (!card.endDate.empty() && !platform::parseIsoDate(card.endDate))
            reasons.push_back("有效期【" + card.endDate + "】不是正确的日期（格式为yyyy-mm-dd）");
        const auto balance = openingValue(f[Balance], "期初余额", reasons);
        const auto points = openingValue(f[Points], "期初积分", reasons);
        if (type && balance && *balance > 0 && !type->saving)
            reasons.push_back("卡类别【" + type->id + "】不是储值卡，不能有期初余额");
        if (type && points && *points > 0 && !type->accumulates)
            reasons.push_back("卡类别【" + type->id + "】不积分，不能有期初积分");
        if (!reasons.empty()) return std::nullopt;
        card.balance = *balance;
        card.points = *points;
        return card;
    }

private:
    void checkCardNumber(ImportedCard& card, std::vector<std::string>& reasons)
    {
        const std::string& id = card.cardId;
        if (id.empty()) {
            reasons.push_back("卡号为空");
            return;
        }
        if (!usableCardNumber(id)) {
            reasons.push_back("卡号【" + id + "】含有空格或引号");
            return;
        }
        const auto [earlier, first] = m_cardLines.emplace(id, card.line);
        if (!first) {
            reasons.push_back("卡号【" + id + "】与第" + std::to_string(earlier->second) + "行重复");
            return;
        }
        switch (m_db.card(id)) {
        case DatabaseLookups::CardState::Absent:
            break;
        case DatabaseLookups::CardState::Unused:
            card.unused = true;
            break;
        case DatabaseLookups::CardState::Used:
            reasons.push_back("会员卡【" + id + "】已经使用，不能再导入期初值");
            break;
        case DatabaseLookups::CardState::Deleted:
            reasons.push_back("会员卡【" + id + "】已被禁用");
            break;
        }
    }

    // The card screen finds a card by its face number, and refuses a number that two cards have.
    void checkFaceNumber(const ImportedCard& card, std::vector<std::string>& reasons)
    {
        const std::string& face = card.faceNumber;
        if (face.empty()) return;
        const auto [earlier, first] = m_faceLines.emplace(face, card.line);
        if (!first) {
            reasons.push_back("卡面编号【" + face + "】与第" + std::to_string(earlier->second) + "行重复");
            return;
        }
        if (const auto owner = m_db.faceNumberOwner(face, card.cardId))
            reasons.push_back("卡面编号【" + face + "】已是会员卡【" + *owner + "】的卡面编号");
    }

    DatabaseLookups m_db;
    NoCaseMap<int> m_cardLines;
    NoCaseMap<int> m_faceLines;
};

// The first line names the columns. A first line with numbers where the opening values stand is a
// card, and the file has no header: reading on would drop that card without a word.
void checkHeader(const CsvRecord& header, std::vector<CardImportProblem>& problems)
{
    if (std::string shape = shapeProblem(header); !shape.empty()) {
        problems.push_back({header.line, "标题行" + shape});
        return;
    }
    for (const Column c : {Balance, Points})
        if (platform::isNumericText(header.fields[c])) {
            problems.push_back({header.line, "第一行应是标题行，文件缺少标题行"});
            return;
        }
}

} // namespace

std::string CardImportProblem::text() const
{
    return "第" + std::to_string(line) + "行：" + reason;
}

std::string CardImportPlan::summary() const
{
    std::size_t unused = 0, balances = 0, withPoints = 0;
    double balance = 0, points = 0;
    for (const ImportedCard& card : cards) {
        unused += card.unused ? 1 : 0;
        balances += card.balance > 0 ? 1 : 0;
        withPoints += card.points > 0 ? 1 : 0;
        balance += card.balance;
        points += card.points;
    }
    auto count = [](std::size_t n, const char* one, const char* many) {
        return std::to_string(n) + " " + (n == 1 ? one : many);
    };
    return count(cards.size(), "card", "cards") + " (" + std::to_string(cards.size() - unused) + " new, " +
           count(unused, "unused card", "unused cards") + " put in use); " +
           count(balances, "opening balance", "opening balances") + ", " +
           platform::formatNumber(platform::roundTo(balance, 2)) + " in all; " +
           count(withPoints, "card", "cards") + " with opening points, " +
           platform::formatNumber(platform::roundTo(points, 2)) + " in all";
}

CardImportPlan planCardImport(Database& db, std::string_view csv)
{
    CardImportPlan plan;
    const std::vector<CsvRecord> records = readCsvRecords(csv);
    if (records.empty()) {
        plan.problems.push_back({1, "文件是空的，没有标题行"});
        return plan;
    }
    checkHeader(records.front(), plan.problems);
    LineChecker checker(db);
    std::vector<std::string> reasons;
    for (std::size_t r = 1; r < records.size(); ++r) {
        const CsvRecord& record = records[r];
        reasons.clear();
        if (std::string shape = shapeProblem(record); !shape.empty())
            reasons.push_back(std::move(shape));
        else if (auto card = checker.check(record, reasons))
            plan.cards.push_back(std::move(*card));
        for (std::string& reason : reasons)
            plan.problems.push_back({record.line, std::move(reason)});
    }
    return plan;
}

} // namespace ormex::db

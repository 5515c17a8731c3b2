// Tab 0 of the points screen, "积分增减": the member query, the three operations and their
// statements, batch fill and the lookups of its boxes.
#include "frmPointManage.h"

#include <QApplication>
#include <QLineEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QRadioButton>

#include <optional>
#include <unordered_map>

#include "PointsStatements.h"
#include "module/frame/CardRules.h"
#include "module/frame/Gateway.h"
#include "module/frame/Grid.h"
#include "module/frame/LogCategories.h"
#include "module/frame/NumberEntry.h"
#include "module/hq/HqLink.h"
#include "module/widgets/CodeList.h"
#include "module/widgets/InputField.h"
#include "platform/NumberText.h"
#include "platform/Text.h"

namespace ormex::module::points {

namespace {

// The cards the member lookup and query of this tab offer: points cards in normal use.
constexpr const char* kPointsCardFilter = " FAccFlag=1 and FCardStatus='0' ";

// What the member grid shows of a card, in the order writeMember asks for it. The query reads
// only these columns: a search may list every card of the branch, and the rest of a card's row
// is read again by the save from the card itself.
const std::vector<std::string> kMemberColumns = {"FCardId", "FVipName", "FCardStatus", "FCardTypeName",
                                                 "cur_num"};

// Writes a card into a row of the member grid; field(k) gives the card's kMemberColumns[k].
template <typename Field>
void writeMember(frame::Grid& grid, const frame::FieldColumnMap& columns, int row, const Field& field)
{
    const int status = static_cast<int>(field(2).toInt());
    grid.setCellText(row, columns.column("FCardId"), QString::fromStdString(field(0).toString()));
    grid.setCellText(row, columns.column("FVipName"), QString::fromStdString(field(1).toString()));
    grid.setCellText(row, columns.column("FCardStatus"),
                     QString::fromStdString(frame::GetStatusName(status)));
    grid.setCellText(row, columns.column("FCardType"), QString::fromStdString(field(3).toString()));
    grid.setCellText(row, columns.column("cur_num"), QString::fromStdString(field(4).toString()));
}

// What a card of a save holds, as the save reads it before building its statements.
struct Held
{
    platform::Value accumulated; // FAccNum
    platform::Value used;        // FDecNum
    double left = 0;             // FAccNum-FDecNum
};

// The cards with points in the package, read in a few queries rather than one per card; keyed by
// the card number in capitals, as card numbers compare.
std::unordered_map<std::string, Held> readHeld(const frame::SavePackage& rows)
{
    constexpr std::size_t kCardsPerQuery = 500;
    std::unordered_map<std::string, Held> held;
    std::string list;
    std::size_t listed = 0;
    const auto read = [&] {
        if (listed == 0) return;
        auto rs = frame::ExecQuery("select FCardId, FAccNum, FDecNum, FAccNum-FDecNum as LeavePoint from "
                                   "T_Pos_VipRecord where FCardId in (" +
                                   list + ")");
        for (; !rs.atEnd(); rs.moveNext())
            held.emplace(platform::toUpperAscii(rs.field("FCardId").toString()),
                         Held{rs.field("FAccNum"), rs.field("FDecNum"), rs.field("LeavePoint").toDouble()});
        list.clear();
        listed = 0;
    };
    for (const platform::FieldMap& record : rows.rows()) {
        if (record.value("FVipNum").toDouble() == 0) continue;
        list += (listed == 0 ? "" : ",") + platform::quoted(record.text("FCardId"));
        if (++listed == kCardsPerQuery) read();
    }
    read();
    return held;
}

} // namespace

void frmPointManage::onQuery(int tab)
{
    if (tab == PointsTab) queryMembers();
    // The gift tabs query in their own way (catalogue, card and its gifts).
    if (tab == GiftSettingsTab) queryGiftCatalogueAsked();
    if (tab == ExchangeTab) queryExchangeCard();
}

void frmPointManage::refresh(int tab)
{
    if (tab == PointsTab)
        queryMembers(m_memberExtra);
    else if (tab == GiftSettingsTab)
        queryGiftCatalogue();
    else
        queryExchangeCard();
}

void frmPointManage::queryMembers(const std::string& extra)
{
    m_memberExtra = extra;
    std::string condition = " FAccFlag=1 and (FCardStatus=" + std::string("0") + " )  ";
    if (!extra.empty()) condition += " and  " + extra + "\r\n";
    const std::string number = m_itNo[0]->textStd();
    if (!number.empty())
        condition +=
            " and ( Mobile=" + platform::quoted(number) + " or FCardId=" + platform::quoted(number) + ")";
    if (!m_type->text().isEmpty())
        condition += " and FCardType=" + platform::quoted(m_type->itemId().toStdString());
    if (!m_status->code().empty()) condition += " and FCardStatus=" + platform::quoted(m_status->code());
    bool refused = false;
    const auto leave = frame::ReadNumberField(*m_txtLeavePoint, "剩余积分", 2, refused);
    if (refused) return;
    if (leave && !m_comparison->code().empty())
        condition += (m_comparison->code() == "0" ? " and cur_num>=" : " and cur_num<") +
                     platform::formatNumber(*leave);
    m_lastCondition = condition;

    frame::Grid& grid = *m_grids[0];
    // Straight from the query's rows into the grid: no row is copied on the way.
    const platform::Recordset cards = frame::GetVipRecordset(50, condition, kMemberColumns);
    grid.setRowCount(0);
    if (cards.empty()) {
        frame::Messages().message("没有符合条件的记录存在!", "提示", platform::MessageIcon::Information);
        return;
    }
    std::vector<std::size_t> at;
    for (const std::string& name : kMemberColumns)
        at.push_back(static_cast<std::size_t>(cards.columnIndex(name)));
    grid.setRows(static_cast<int>(cards.recordCount()));
    for (int r = 0; r < grid.rowCount(); ++r)
        writeMember(grid, m_columns[0], r, [&](int k) {
            return cards.cell(static_cast<std::size_t>(r), at[static_cast<std::size_t>(k)]);
        });
    if (operation() == Clearing) fillClearing();
}

void frmPointManage::showMember(int row, const platform::FieldMap& card)
{
    writeMember(*m_grids[0], m_columns[0], row,
                [&](int k) { return card.value(kMemberColumns[static_cast<std::size_t>(k)]); });
}

void frmPointManage::onOption(int index)
{
    const auto op = static_cast<Operation>(index);
    frame::Grid& grid = *m_grids[0];
    const int points = m_columns[0].column("FVipNum");
    grid.setColumnCaption(points, QString::fromStdString(optionCaption(op)));
    if (op == Clearing) {
        fillClearing();
        m_cmdBatchAdd[0]->setEnabled(false);
        return;
    }
    for (int r = 0; r < grid.rowCount(); ++r) {
        grid.setCellText(r, points, QString());
        grid.setCellLocked(r, points, false);
    }
    m_cmdBatchAdd[0]->setEnabled(true);
}

void frmPointManage::fillClearing()
{
    frame::Grid& grid = *m_grids[0];
    const int points = m_columns[0].column("FVipNum");
    bool filled = false;
    for (int r = 0; r < grid.rowCount(); ++r) {
        const std::string card = grid.cellText(r, m_columns[0].column("FCardId")).toStdString();
        if (card.empty()) continue;
        const auto list = frame::GetVipRecordList(50, "FCardId=" + platform::quoted(card));
        const std::string remaining =
            list && !list->empty() ? list->front().text("cur_num") : std::string("0");
        grid.setCellText(r, points, QString::fromStdString(remaining));
        grid.setCellLocked(r, points, true);
        filled = true;
    }
    // The operator chose to clear these cards: the grid now holds a change to commit.
    if (filled) m_changed[0] = true;
}

void frmPointManage::onBatchFill(int tab)
{
    frame::Grid& grid = *m_grids[static_cast<std::size_t>(tab)];
    const int row = grid.currentRow();
    const int column = grid.currentColumn();
    if (row < 0 || column < 0) return;
    if (tab == PointsTab && (operation() == Clearing || column != m_columns[0].column("FVipNum"))) return;
    if (tab == GiftSettingsTab && column != m_columns[1].column("FItemNum") &&
        column != m_columns[1].column("FVipNum"))
        return;
    if (tab == ExchangeTab) return;
    const QString value = grid.cellText(row, column);
    for (int r = row; r < grid.rowCount(); ++r)
        grid.setCellText(r, column, value);
    m_changed[static_cast<std::size_t>(tab)] = true;
}

void frmPointManage::onCardLookup()
{
    platform::LookupResult result;
    try {
        result = frame::ShowCardLookup(50, kPointsCardFilter, true, m_itNo[0]->textStd());
    } catch (const std::exception& error) {
        qCWarning(lcPoints, "the card lookup for %s failed: %s", m_itNo[0]->textStd().c_str(), error.what());
        frame::Messages().error(error.what());
        return;
    }
    if (!result.returnOk || result.returnObject.empty()) return;
    if (result.returnObject.size() == 1) {
        m_itNo[0]->setText(QString::fromStdString(result.returnObject.front().text("FCardId")));
        return;
    }
    std::string cards;
    for (const auto& card : result.returnObject)
        cards += std::string(cards.empty() ? "" : ",") + platform::quoted(card.text("FCardId"));
    queryMembers(" FCardId in (" + cards + ")");
}

void frmPointManage::onTypeLookup()
{
    platform::LookupResult result;
    try {
        result = frame::ShowCardLookup(51, "", false, "");
    } catch (const std::exception& error) {
        qCWarning(lcPoints, "the card type lookup failed: %s", error.what());
        frame::Messages().error(error.what());
        return;
    }
    if (!result.returnOk || result.returnObject.empty()) return;
    m_type->setText(QString::fromStdString(result.returnObject.front().text("type_name")));
    m_type->setItemId(QString::fromStdString(result.returnObject.front().text("FTypeId")));
}

void frmPointManage::onAdd(int tab)
{
    if (tab == GiftSettingsTab) {
        addGift();
        return;
    }
    if (tab != PointsTab) return;
    // "增加" on the member list: more cards from the member lookup, each listed once.
    platform::LookupResult result;
    try {
        result = frame::ShowCardLookup(50, kPointsCardFilter, true, "");
    } catch (const std::exception& error) {
        qCWarning(lcPoints, "the card lookup for more cards failed: %s", error.what());
        frame::Messages().error(error.what());
        return;
    }
    if (!result.returnOk) return;
    frame::Grid& grid = *m_grids[0];
    const frame::FieldColumnMap& columns = m_columns[0];
    for (const auto& card : result.returnObject) {
        const QString id = QString::fromStdString(card.text("FCardId"));
        bool listed = false;
        for (int r = 0; r < grid.rowCount() && !listed; ++r)
            listed = grid.cellText(r, columns.column("FCardId")) == id;
        if (listed) continue;
        showMember(grid.addRow(), card);
    }
    if (operation() == Clearing) fillClearing();
}

void frmPointManage::onDelete(int tab)
{
    if (tab == GiftSettingsTab) {
        deleteGift();
        return;
    }
    frame::Grid& grid = *m_grids[static_cast<std::size_t>(tab)];
    const int row = grid.currentRow();
    if (tab != PointsTab || row < 0 || row >= grid.rowCount()) return;
    grid.removeRow(row);
    if (row < grid.rowCount()) grid.setActiveCell(row, grid.currentColumn() < 0 ? 1 : grid.currentColumn());
}

void frmPointManage::advanceProgress(int built)
{
    // Often enough for the window to keep up, seldom enough to cost the build nothing. The bar
    // moves here too: set for every record, it would repaint far more often than anyone sees.
    constexpr qint64 kSliceMs = 15;
    if (m_slice.isValid() && m_slice.elapsed() < kSliceMs) return;
    m_progress->setValue(built);
    QApplication::processEvents();
    m_slice.start();
}

bool frmPointManage::savePoints(const frame::SavePackage& rows, std::string& batch, std::string& logText,
                                std::optional<frame::CardSealsReading>& seals)
{
    const Operation op = operation();
    logText = optionCaption(op);
    const PointsSession session{m_branchId, m_branchNo, m_userId};
    m_progress->setMaximum(static_cast<int>(rows.rowCount()) + 2);
    m_progress->setValue(0);
    m_slice.invalidate();
    std::vector<std::string> live;
    std::vector<frame::CardPointsRead> pointsRead;
    // A reward needs no read of the cards.
    const std::unordered_map<std::string, Held> held =
        op == Reward ? std::unordered_map<std::string, Held>{} : readHeld(rows);
    // The statements need nothing more of this database: the seals are read meanwhile.
    seals.emplace(cardsOf(rows, PointsTab));
    int built = 0;
    for (std::size_t i = 0; i < rows.rowCount(); ++i) {
        advanceProgress(built);
        const platform::FieldMap& record = rows.rows()[i];
        const platform::Value& entered = record.value("FVipNum");
        if (entered.toDouble() == 0) continue;
        const std::string card = record.text("FCardId");
        const double points = entered.isBlank() ? 0 : entered.toDouble();
        // What is left on the card, which a deduction is held against and a clearing clears.
        const auto found = op == Reward ? held.end() : held.find(platform::toUpperAscii(card));
        const Held* values = found == held.end() ? nullptr : &found->second;
        const double remaining = values ? values->left : 0;
        const int row = static_cast<int>(i);
        switch (op) {
        case Reward:
            AppendRewardGroup(batch, session, card, points);
            break;
        case Deduction: {
            if (points > remaining ||
                (m_linked && !hq::HQHasRows("select FAccNum-FDecNum as LeavePoint,* from T_Pos_VipRecord "
                                            "where FCardId=" +
                                            platform::quoted(card) +
                                            " And FAccNum-FDecNum>=" + platform::formatNumber(points)))) {
                refuse("卡号【" + platform::trimRight(card) + "】冲减积分超过剩余积分，不能冲减！", row,
                       "FVipNum");
                return false;
            }
            // The card row is written with values computed from these: they must still stand then.
            // Headquarters' are checked one query each; the branch's a few hundred cards at a time,
            // once every card is built, with the check that the card is still live.
            platform::Value accumulated("");
            platform::Value used("");
            if (m_linked) {
                const std::string accSql =
                    "select FAccNum from T_Pos_VipRecord where FCardId=" + platform::quoted(card);
                const std::string decSql =
                    "select FDecNum from T_Pos_VipRecord where FCardId=" + platform::quoted(card);
                accumulated = hq::HQGetFieldValue(accSql, "FAccNum");
                used = hq::HQGetFieldValue(decSql, "FDecNum");
                m_hqChecks.push_back(frame::LiveCardCheck(card));
                m_hqChecks.push_back({accSql, "FAccNum", accumulated});
                m_hqChecks.push_back({decSql, "FDecNum", used});
                live.push_back(card);
            } else {
                if (values) {
                    accumulated = values->accumulated;
                    used = values->used;
                }
                pointsRead.push_back({card, accumulated, used});
            }
            AppendDeductionGroup(batch, session, static_cast<int>(i + 1), card, points,
                                 accumulated.toDouble(), used.toDouble());
            break;
        }
        case Clearing:
            AppendClearingGroup(batch, session, card, points, remaining);
            break;
        }
        // The card is written only while it is still live (a deduction's points check holds that).
        if (op != Deduction) live.push_back(card);
        // Every card's statements are about as long as the first one's: the batch is given its
        // room once rather than copied each time it outgrows it.
        if (++built == 1) batch.reserve(batch.size() * (rows.rowCount() + 1));
    }
    m_progress->setValue(built);
    for (platform::ReadCheck& check : frame::CardPointsChecks(pointsRead))
        m_localChecks.push_back(std::move(check));
    for (platform::ReadCheck& check : frame::LiveCardsChecks(live))
        m_localChecks.push_back(std::move(check));
    return true;
}

} // namespace ormex::module::points

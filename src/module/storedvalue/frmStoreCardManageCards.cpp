// The stored-value screen's cards: the card search of tab 0, the batch query of tabs 1 and 2, the
// information panel, the grids' events, batch fill, delete and the lookups.
#include "frmStoreCardManage.h"

#include <QApplication>
#include <QLineEdit>
#include <QPushButton>
#include <QTabWidget>

#include <algorithm>
#include <utility>

#include "module/frame/CardRules.h"
#include "module/frame/Gateway.h"
#include "module/frame/Grid.h"
#include "module/frame/LogCategories.h"
#include "module/frame/NumberEntry.h"
#include "module/hq/HqLink.h"
#include "module/widgets/CodeList.h"
#include "module/widgets/InputField.h"
#include "platform/BalanceCodec.h"
#include "platform/Clock.h"
#include "platform/DateTime.h"
#include "platform/NumberText.h"
#include "platform/Text.h"

namespace ormex::module::storedvalue {

namespace {

QString q(const std::string& s)
{
    return QString::fromStdString(s);
}

constexpr const char* kCardLookupFilter = " FSavingFlag=1 and FCardStatus='0' \r\n";

// The comparison operators of the amount condition, by the code of the list entry.
const char* comparisonOperator(const std::string& code)
{
    static const char* const operators[] = {" >= ", " < ", " = ", " > ", " <= ", " <> "};
    const int i = static_cast<int>(platform::numberOr0(code));
    return i >= 0 && i < 6 ? operators[i] : " >= ";
}

// How the batch query fills one grid column: a text of its own, the card's status name or
// balance, or the card's value of the column's field.
struct ColumnFill
{
    enum Kind { Fixed, Status, Balance, CardValue } kind;
    std::string text; // Fixed: the text
};

ColumnFill columnFill(const std::string& field)
{
    using platform::iequals;
    if (iequals(field, "FAmt") || iequals(field, "FActualAmt") || iequals(field, "FChargeAmt") ||
        iequals(field, "FPoint"))
        return {ColumnFill::Fixed, "0"};
    if (iequals(field, "FBalanceStyle")) return {ColumnFill::Fixed, "现金"};
    if (iequals(field, "FBalanceStyleID")) return {ColumnFill::Fixed, "1"};
    if (iequals(field, "FBalanceStyleNum")) return {ColumnFill::Fixed, "01"};
    if (iequals(field, "other1")) return {ColumnFill::Fixed, {}};
    if (iequals(field, "FCardStatus")) return {ColumnFill::Status, {}};
    if (iequals(field, "FResidualAmt")) return {ColumnFill::Balance, {}};
    return {ColumnFill::CardValue, {}};
}

// The member list read where the screen's cards are kept: at headquarters in a linked branch.
// Only the named columns, or every column when none are named.
platform::Recordset readCards(bool linked, const std::string& filter, const std::vector<std::string>& columns)
{
    if (!linked) return frame::GetVipRecordset(50, filter, columns);
    std::shared_ptr<platform::Connection> connection;
    platform::Recordset cards = hq::HQOpenRecordset(frame::GetVipListSql(50, filter, columns), connection);
    if (connection) connection->close();
    return cards;
}

} // namespace

bool frmStoreCardManage::LoadCard(int tab, bool showMessages)
{
    if (tab != SingleTab) return queryCards(tab, showMessages);
    if (!hq::CheckHQOnline(hq::HQOperation::Recharge)) return false;
    widgets::InputField& box = *m_itNo[SingleTab];
    const std::string entry = platform::trimRight(box.textStd());
    m_cardFilter = "1=1 and (FCardStatus=" + std::string("0") + ") " +
                   "  and (Mobile=" + platform::quoted(entry) + " or FCardId=" + platform::quoted(entry) +
                   ")";
    if (entry.empty()) {
        if (QApplication::focusWidget() == m_cmdCancel) return true;
        if (showMessages)
            frame::Messages().message("请输入会员卡号!", "提示", platform::MessageIcon::Information);
        box.setFocus();
        ShowCard(nullptr);
        return false;
    }
    const auto cards = frame::GetVipRecordList(50, m_cardFilter);
    if (!cards || cards->empty()) {
        if (showMessages)
            frame::Messages().message("不存在该会员卡！", "提示", platform::MessageIcon::Information);
        box.setFocus();
        ShowCard(nullptr);
        return false;
    }
    const platform::FieldMap& card = cards->front();
    std::string warning;
    if (!card.value("FSavingFlag").toBool())
        warning = "该会员卡不是储值卡，不能充值！";
    else if (card.value("FCardStatus").toInt() != 0)
        warning = "该会员卡不在正常使用状态，不能充值！";
    else if (const auto end = platform::parseDate(card.text("FVipEndDate"));
             end && platform::daysBetween(platform::today(), *end) < 0)
        warning = "该会员卡已经过期，不能充值！";
    if (!warning.empty()) {
        if (showMessages) frame::Messages().warning(warning);
        box.setFocus();
        ShowCard(nullptr);
        return false;
    }
    ShowCard(&card);
    return true;
}

bool frmStoreCardManage::CheckRechargeCard(int tab)
{
    // The search's own checks, with its messages, on the card the panel shows: it is read again,
    // so a card reported lost or expired since it was found is refused here.
    widgets::InputField& box = *m_itNo[static_cast<std::size_t>(tab)];
    const std::string id = "itCardID_" + std::to_string(tab);
    const std::string entry = platform::trimRight(field(id.c_str())->textStd());
    std::string refusal;
    bool warning = false;
    if (entry.empty()) {
        refusal = "请输入会员卡号!";
    } else {
        const auto cards = frame::GetVipRecordList(50, "FCardId=" + platform::quoted(entry));
        if (!cards || cards->empty()) {
            refusal = "不存在该会员卡！";
        } else {
            const platform::FieldMap& card = cards->front();
            warning = true;
            const auto end = platform::parseDate(card.text("FVipEndDate"));
            if (!card.value("FSavingFlag").toBool())
                refusal = "该会员卡不是储值卡，不能充值！";
            else if (card.value("FCardStatus").toInt() != 0)
                refusal = "该会员卡不在正常使用状态，不能充值！";
            else if (end && platform::daysBetween(platform::today(), *end) < 0)
                refusal = "该会员卡已经过期，不能充值！";
        }
    }
    if (refusal.empty()) return true;
    if (warning)
        frame::Messages().warning(refusal);
    else
        frame::Messages().message(refusal, "提示", platform::MessageIcon::Information);
    box.setFocus();
    return false;
}

bool frmStoreCardManage::queryCards(int tab, bool showMessages)
{
    const auto i = static_cast<std::size_t>(tab);
    if (!hq::CheckHQOnline(tab == BatchTab ? hq::HQOperation::Recharge
                                           : hq::HQOperation::PointsToStoredValue))
        return false;
    std::string filter = " FSavingFlag='1' and FCardStatus='" + std::string("0") + "'" +
                         "  and  datediff(day,getdate(),FVipEndDate)>0 ";
    // Cards handed in by the lookup are queried once; the reload after a save queries them again.
    const std::vector<std::string> chosen = std::exchange(m_chosenCards, {});
    m_lastChosen = chosen;
    if (!chosen.empty()) {
        std::string cards;
        for (const std::string& card : chosen)
            cards += std::string(cards.empty() ? "" : ",") + platform::quoted(card);
        filter += "  and FCardId in(" + cards + ")";
    } else {
        const std::string number = platform::trimRight(m_itNo[i]->textStd());
        if (!number.empty())
            filter +=
                " and (Mobile=" + platform::quoted(number) + " or FCardId=" + platform::quoted(number) + ")";
        if (!m_itFCardType[i]->text().isEmpty())
            filter += " and FCardType=" + platform::quoted(m_itFCardType[i]->itemId().toStdString());
        if (!m_itFCardStatus[i]->code().empty())
            filter += " and FCardStatus=" + platform::quoted(m_itFCardStatus[i]->code());
        bool refused = false;
        const auto amount =
            frame::ReadNumberField(*m_txtLeaveAmt[i], tab == BatchTab ? "剩余金额" : "剩余积分", 2, refused);
        if (refused) return false;
        if (!m_itLeaveAmt[i]->entry().empty() && amount)
            filter += std::string(tab == BatchTab ? " and  convert(float,dbo.f_decrypt(FResidualAmt))"
                                                  : " and cur_num ") +
                      comparisonOperator(m_itLeaveAmt[i]->code()) + platform::formatNumber(*amount);
    }
    m_cardFilter = filter;
    // Only the card's columns that the grid shows: the query may list every card of the branch.
    std::vector<std::string> columns{"FCardId"};
    const frame::Grid& shown = *m_grids[i];
    for (int c = 0; c < shown.columns(); ++c) {
        const std::string field = shown.column(c).field.toStdString();
        const bool listed = std::any_of(columns.begin(), columns.end(), [&](const std::string& name) {
            return platform::iequals(name, field);
        });
        if (!field.empty() && columnFill(field).kind != ColumnFill::Fixed && !listed)
            columns.push_back(field);
    }
    platform::Recordset cards = readCards(m_linked, filter, columns);
    frame::Grid& grid = *m_grids[i];
    if (cards.empty()) {
        if (!m_reloading && showMessages)
            frame::Messages().message("没有符合条件的会员卡存在！", "提示",
                                      platform::MessageIcon::Information);
        ShowCard(nullptr);
        grid.setRowCount(0);
        return false;
    }
    // The panel shows more of the first card than the grid does: that card is read whole.
    cards.moveFirst();
    const platform::Recordset whole =
        readCards(m_linked, "FCardId=" + platform::quoted(cards.field("FCardId").toString()), {});
    const platform::FieldMap first = whole.empty() ? cards.currentRecord() : whole.currentRecord();
    ShowCard(&first);
    if (!chosen.empty() && cards.recordCount() == 1) m_itNo[i]->setText(q(first.text("FCardId")));
    fillGrid(tab, cards);
    return true;
}

void frmStoreCardManage::fillGrid(int tab, const platform::Recordset& cards)
{
    frame::Grid& grid = *m_grids[static_cast<std::size_t>(tab)];
    const bool events = m_gridEvents;
    m_gridEvents = false;
    grid.setRowCount(0);
    grid.setRows(static_cast<int>(cards.recordCount()));
    // Each column's way of filling and the card column it reads, found once for all rows; columns
    // without a field (the row numbers) are left to the grid.
    struct Filled
    {
        int column;
        ColumnFill fill;
        std::size_t card;
    };
    std::vector<Filled> filled;
    for (int c = 0; c < grid.columns(); ++c) {
        const std::string field = grid.column(c).field.toStdString();
        if (!field.empty())
            filled.push_back({c, columnFill(field), static_cast<std::size_t>(cards.columnIndex(field))});
    }
    for (std::size_t r = 0; r < cards.recordCount(); ++r) {
        const int row = static_cast<int>(r);
        for (const Filled& f : filled) {
            const int c = f.column;
            const platform::Value value = cards.cell(r, f.card);
            switch (f.fill.kind) {
            case ColumnFill::Fixed:
                grid.setCellText(row, c, q(f.fill.text));
                break;
            case ColumnFill::Status:
                grid.setCellText(row, c, q(frame::GetStatusName(static_cast<int>(value.toInt()))));
                break;
            case ColumnFill::Balance:
                grid.setCellText(row, c, q(platform::decodeBalance(value.toString())));
                break;
            case ColumnFill::CardValue:
                grid.setCellText(row, c,
                                 q(frame::isNumberType(grid.column(c).type)
                                       ? platform::formatFixed(value.toDouble(), 2)
                                       : value.toString()));
                break;
            }
        }
    }
    m_gridEvents = events;
}

void frmStoreCardManage::ShowCard(const platform::FieldMap* card)
{
    const int tab = m_tabs->currentIndex();
    auto set = [&](const char* name, const std::string& text, bool indexedName = true) {
        const std::string objectName =
            indexedName ? std::string(name) + "_" + std::to_string(tab) : std::string(name);
        if (auto* f = field(objectName.c_str())) f->setText(q(text));
    };
    if (!card) {
        for (const char* name : {"itFlowId", "itName", "itCardID", "itSocialId", "itLeaveAmt"})
            set(name, "");
        if (tab == SingleTab)
            for (const char* name : {"itCardStatus", "itCardAmt"})
                set(name, "", false);
        if (tab == PointsTab)
            for (const char* name : {"itMemType", "itPoint", "itBranch"})
                set(name, "", false);
        m_shownCard.clear();
        return;
    }
    const std::string id = card->text("FCardId");
    set("itFlowId", card->text("FCardFlowno"));
    set("itName", card->text("FVipName"));
    set("itCardID", id);
    set("itSocialId", card->text("FSocialId"));
    if (tab == SingleTab)
        set("itCardStatus", frame::GetStatusName(static_cast<int>(card->value("FCardStatus").toInt())),
            false);
    if (tab == PointsTab) {
        set("itMemType", card->text("fcardtypename"), false);
        set("itPoint", card->text("cur_num"), false);
        set("itBranch", m_branchName, false);
    }
    const std::string stored =
        m_linked ? hq::HQGetFieldValue("select FResidualAmt from T_Pos_VipRecord where FCardId=" +
                                           platform::quoted(id),
                                       "FResidualAmt")
                       .toString()
                 : card->text("FResidualAmt");
    m_balances[id] = platform::tryDecodeMoney(stored).value_or(platform::Money());
    set("itLeaveAmt", platform::decodeBalance(stored) + "元");
    m_shownCard = id;
    if (tab != SingleTab) return;
    const std::string issue =
        m_linked ? platform::decodeBalance(
                       hq::HQGetFieldValue("select FPlusAmt from T_Pos_AddMoneyList where FCardId=" +
                                               platform::quoted(id) + " And Other1='初始金额'",
                                           "FPlusAmt")
                           .toString())
                 : card->text("FPlusAmt");
    set("itCardAmt", issue, false);
    for (const char* name : {"itChargeAmt", "itCharge", "itAmt", "itActualAmt"})
        set(name, "0", false);
    field("itBalanceStyle")->setText(QStringLiteral("现金"));
    field("itBalanceStyle")->setItemId(QStringLiteral("1"));
    set("itOperateDate", platform::today().toString(), false);
}

std::optional<platform::Money> frmStoreCardManage::balanceOf(const std::string& card) const
{
    const auto found = m_balances.find(card);
    if (found == m_balances.end()) return std::nullopt;
    return found->second;
}

bool frmStoreCardManage::CheckGridData(int tab, const std::string& card, int ignoreRow) const
{
    const frame::Grid& grid = *m_grids[static_cast<std::size_t>(tab)];
    for (int r = 0; r < grid.dataRows(); ++r)
        if (r != ignoreRow && grid.cellStd(r, "FCardId") == card) return false;
    return true;
}

void frmStoreCardManage::connectGrid(int tab)
{
    frame::Grid* grid = m_grids[static_cast<std::size_t>(tab)];
    connect(grid, &frame::Grid::currentCellChanged, this,
            [this, tab](int row, int column, int, int) { onRowChanged(tab, row, column); });
    connect(grid, &frame::Grid::operatorEdited, this,
            [this, tab](int row, int column) { onCellEdited(tab, row, column); });
    connect(grid, &frame::Grid::lookupRequested, this, [this, tab, grid](int row, int column, int key) {
        if (tab == BatchTab && key == Qt::Key_F8 && column == m_columns[BatchTab].column("FBalanceStyle"))
            m_nameList.attachToCell(*grid, row, column, 34);
    });
}

void frmStoreCardManage::onRowChanged(int tab, int row, int column)
{
    if (!m_gridEvents || row < 0) return;
    const frame::FieldColumnMap& columns = m_columns[static_cast<std::size_t>(tab)];
    const bool fillable =
        tab == BatchTab ? column == columns.column("FChargeAmt") || column == columns.column("FActualAmt")
                        : column == columns.column("FPoint");
    m_cmdBatchAdd[static_cast<std::size_t>(tab)]->setEnabled(fillable);
    const std::string card = m_grids[static_cast<std::size_t>(tab)]->cellStd(row, "FCardId");
    if (!card.empty() && card != m_shownCard) {
        const auto cards = frame::GetVipRecordList(50, "FCardId=" + platform::quoted(card));
        if (cards && !cards->empty()) ShowCard(&cards->front());
    }
}

void frmStoreCardManage::onCellEdited(int tab, int row, int column)
{
    if (!m_gridEvents) return;
    if (tab == PointsTab) {
        ConvertPointsCell(column, row);
        return;
    }
    if (column == m_columns[BatchTab].column("FBalanceStyle")) {
        lookupPayment(row);
        return;
    }
    leaveRechargeCell(row, column);
}

void frmStoreCardManage::leaveRechargeCell(int row, int column)
{
    frame::Grid& grid = *m_grids[BatchTab];
    if (grid.dataRows() == 0 || column != m_columns[BatchTab].column("FChargeAmt")) return;
    const auto charge = platform::Money::parse(grid.cellStd(row, "FChargeAmt"));
    if (charge && *charge > platform::Money()) grid.setCell(row, "FActualAmt", charge->toString());
}

void frmStoreCardManage::lookupPayment(int row)
{
    frame::Grid& grid = *m_grids[BatchTab];
    const std::string number = platform::trim(grid.cellStd(row, "FBalanceStyle"));
    try {
        const auto method =
            frame::GetTableInfo(platform::table::PaymentMethods,
                                "FDeleted=0 and FNumber='" + platform::quoteDoubled(number) + "'");
        grid.setCell(row, "FBalanceStyle", method.atEnd() ? number : method.field("FName").toString());
        grid.setCell(row, "FBalanceStyleID", method.atEnd() ? "" : method.field("FItemID").toString());
        grid.setCell(row, "FBalanceStyleNum", method.atEnd() ? "" : method.field("FNumber").toString());
    } catch (const std::exception& error) {
        qCWarning(lcStoredValue, "looking up payment method %s failed: %s", number.c_str(), error.what());
        frame::Messages().error(error.what());
    }
    grid.setActiveCell(row, grid.columnOf("FChargeAmt"));
}

void frmStoreCardManage::onChargeChanged()
{
    // The paid amount follows the recharge amount until the operator overwrites it.
    const QString text = field("itChargeAmt")->text();
    field("itCharge")->setText(text);
    field("itActualAmt")->setText(text);
}

void frmStoreCardManage::onPaymentTyped()
{
    widgets::InputField& style = *field("itBalanceStyle");
    const std::string number = platform::trim(style.textStd());
    if (number.empty() || style.text() == QStringLiteral("现金")) return;
    try {
        const auto method = frame::GetTableInfo(platform::table::PaymentMethods,
                                                " FNumber='" + platform::quoteDoubled(number) + "'");
        if (method.atEnd()) {
            // The name of the chosen method stays; any other text leaves no method chosen.
            if (!style.itemId().isEmpty()) {
                const auto chosen =
                    frame::GetTableInfo(platform::table::PaymentMethods,
                                        " FItemID=" + platform::sqlNumber(style.itemId().toStdString()));
                if (!chosen.atEnd() && chosen.field("FName").toString() == number) return;
            }
            style.clear();
            return;
        }
        style.setText(q(method.field("FName").toString()));
        style.setItemId(q(method.field("FItemID").toString()));
    } catch (const std::exception& error) {
        qCWarning(lcStoredValue, "looking up payment method %s failed: %s", number.c_str(), error.what());
        frame::Messages().error(error.what());
    }
}

void frmStoreCardManage::onBatchFill()
{
    const int tab = m_tabs->currentIndex();
    if (tab == SingleTab) return;
    frame::Grid& grid = *m_grids[static_cast<std::size_t>(tab)];
    const frame::FieldColumnMap& columns = m_columns[static_cast<std::size_t>(tab)];
    const int row = grid.currentRow();
    const int column = grid.currentColumn();
    if (row < 0) return;
    std::string name;
    if (tab == BatchTab && column == columns.column("FChargeAmt"))
        name = "充值金额";
    else if (tab == BatchTab && column == columns.column("FActualAmt"))
        name = "实付金额";
    else if (tab == PointsTab && column == columns.column("FPoint"))
        name = "本次使用积分";
    else
        return;
    const QString value = grid.cellText(row, column);
    if (tab == BatchTab && name == "充值金额" && m_maxFillAmount > 0 &&
        platform::numberOr0(value.toStdString()) > m_maxFillAmount) {
        frame::Messages().warning("充值金额已经大于会员设置画面设定的最大充值金额" +
                                  platform::formatNumber(m_maxFillAmount) + "，请修正！");
        grid.setActiveCell(row, column);
        return;
    }
    if (!frame::Messages().question("确定批量更新【" + name + "】栏位值为：" + value.toStdString() + "?"))
        return;
    for (int r = 0; r < grid.rowCount(); ++r) {
        grid.setCellText(r, column, value);
        if (tab == BatchTab)
            leaveRechargeCell(r, column);
        else
            ConvertPointsCell(column, r);
    }
}

void frmStoreCardManage::onDelete()
{
    const int tab = m_tabs->currentIndex();
    if (tab == SingleTab) return;
    frame::Grid& grid = *m_grids[static_cast<std::size_t>(tab)];
    const int row = grid.currentRow();
    if (row < 0 || row >= grid.rowCount()) return;
    grid.removeRow(row);
    if (grid.rowCount() == 0) {
        ShowCard(nullptr);
        return;
    }
    const int next = std::min(row, grid.rowCount() - 1);
    grid.setActiveCell(next, std::max(grid.currentColumn(), 1));
    onRowChanged(tab, next, grid.currentColumn());
}

void frmStoreCardManage::onCardLookup()
{
    const int tab = m_tabs->currentIndex();
    platform::LookupResult result;
    try {
        result = frame::ShowCardLookup(50, kCardLookupFilter, tab != SingleTab,
                                       m_itNo[static_cast<std::size_t>(tab)]->textStd());
    } catch (const std::exception& error) {
        qCWarning(lcStoredValue, "the card lookup failed: %s", error.what());
        frame::Messages().error(error.what());
        return;
    }
    if (!result.returnOk || result.returnObject.empty()) return;
    if (tab == SingleTab) {
        m_itNo[SingleTab]->setText(q(result.returnObject.front().text("FCardId")));
        LoadCard(SingleTab, true);
        return;
    }
    m_chosenCards.clear();
    for (const auto& card : result.returnObject)
        m_chosenCards.push_back(card.text("FCardId"));
    LoadCard(tab, true);
}

void frmStoreCardManage::onTypeLookup()
{
    const int tab = m_tabs->currentIndex();
    if (tab == SingleTab) return;
    platform::LookupResult result;
    try {
        result = frame::ShowCardLookup(51, " FSavingFlag=1 ", false, "");
    } catch (const std::exception& error) {
        qCWarning(lcStoredValue, "the card type lookup failed: %s", error.what());
        frame::Messages().error(error.what());
        return;
    }
    if (!result.returnOk || result.returnObject.empty()) return;
    m_itFCardType[static_cast<std::size_t>(tab)]->setText(q(result.returnObject.front().text("type_name")));
    m_itFCardType[static_cast<std::size_t>(tab)]->setItemId(q(result.returnObject.front().text("FTypeId")));
}

} // namespace ormex::module::storedvalue

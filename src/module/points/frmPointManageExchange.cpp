// Tab 2 of the points screen, "礼品兑换": one card, the gifts it can afford today, the ticked gifts
// and their quantities, and the exchange's statements.
#include "frmPointManage.h"

#include <QProgressBar>
#include <QPushButton>

#include "PointsStatements.h"
#include "module/frame/CardRules.h"
#include "module/frame/Gateway.h"
#include "module/frame/Grid.h"
#include "module/frame/LogCategories.h"
#include "module/hq/HqLink.h"
#include "module/hq/ReplayOutbox.h"
#include "module/widgets/InputField.h"
#include "platform/Clock.h"
#include "platform/DateTime.h"
#include "platform/NumberText.h"
#include "platform/Text.h"

namespace ormex::module::points {

namespace {

enum Panel { CardID, Name, MemType, CardStatus, SumPoint, UsedPoint, LeavePoint, End };

} // namespace

void frmPointManage::showExchangeCard(const platform::FieldMap* card)
{
    if (!card) {
        for (auto* field : m_panel)
            field->clear();
        m_exchangeCardType.clear();
        return;
    }
    const double accumulated = card->value("FAccNum").toDouble();
    const double used = card->value("FDecNum").toDouble();
    const auto end = platform::parseDate(card->text("FVipEndDate"));
    const std::string texts[8] = {card->text("FCardId"),
                                  card->text("FVipName"),
                                  platform::trimRight(card->text("FCardTypeName")),
                                  frame::GetStatusName(static_cast<int>(card->value("FCardStatus").toInt())),
                                  platform::formatNumber(accumulated),
                                  platform::formatNumber(used),
                                  platform::formatFixed(accumulated - used, 2),
                                  end ? end->toString() : std::string()};
    for (int i = 0; i < 8; ++i)
        m_panel[static_cast<std::size_t>(i)]->setText(QString::fromStdString(texts[i]));
    m_exchangeCardType = card->text("FCardType");
}

void frmPointManage::queryExchangeCard()
{
    frame::Grid& grid = *m_grids[ExchangeTab];
    widgets::InputField& box = *m_itNo[ExchangeTab];
    const std::string number = box.textStd();
    auto refuse = [&](const std::string& message, bool clearPanel) {
        frame::Messages().message(message, "提示", platform::MessageIcon::Information);
        if (clearPanel) showExchangeCard(nullptr);
        grid.setRowCount(0);
        box.setFocus();
    };
    if (number.empty()) {
        refuse("请输入会员卡号！", true);
        return;
    }
    const auto cards = frame::GetVipRecordList(50, "(Mobile=" + platform::quoted(number) +
                                                       " or FCardId=" + platform::quoted(number) + ")");
    if (!cards || cards->empty()) {
        refuse("会员卡号不存在", true);
        return;
    }
    if (cards->size() > 1) {
        refuse("找到多条会员卡或手机号为[" + number + "]的记录！", true);
        return;
    }
    const platform::FieldMap& card = cards->front();
    showExchangeCard(&card);
    const auto end = platform::parseDate(m_panel[End]->textStd());
    if (!m_panel[End]->text().isEmpty() && end && platform::daysBetween(platform::today(), *end) < 0) {
        refuse("该卡号已不在有效使用期内，无法进行礼品兑换操作！", false);
        return;
    }
    if (m_panel[CardStatus]->textStd() != "正常") {
        refuse("该卡号不在正常使用中，无法进行礼品兑换操作！", false);
        return;
    }
    if (!card.value("FAccFlag").toBool()) {
        refuse("该卡不是积分卡，不能进行兑换礼品！", false);
        return;
    }
    try {
        auto gifts = frame::GetTableInfo(
            platform::table::GiftCatalogue,
            "FEndDate>=convert(varchar(10),getdate(),120) And "
            "FBeginDate<=convert(varchar(10),getdate(),120) and "
            "FVipNum<=" +
                platform::formatNumber(leavePoint()) +
                " and (FCardType='All' or FCardType=" + platform::quoted(m_exchangeCardType) + ")");
        grid.setRowCount(0);
        grid.setRows(static_cast<int>(gifts.recordCount()));
        for (int r = 0; !gifts.atEnd(); gifts.moveNext(), ++r) {
            for (const char* field : {"FNumber", "FBarCode", "FName", "FUnit", "FBranchNo", "FBranchID",
                                      "FStockName", "FIsAuxi", "FItemID"})
                grid.setCell(r, field, gifts.field(field).toString());
            grid.setCell(r, "FVipNum", gifts.field("FVipNum").toString());
            grid.setCell(r, "PPoint", gifts.field("FVipNum").toString());
            // Goods kept without auxiliary attributes carry attribute 0, as the goods data do.
            grid.setCell(r, "FAuxPropID", "0");
        }
    } catch (const std::exception& error) {
        qCWarning(lcPoints, "reading the gifts on offer for card %s failed: %s",
                  m_panel[0]->textStd().c_str(), error.what());
        frame::Messages().error(error.what());
    }
}

double frmPointManage::leavePoint() const
{
    return platform::numberOr0(m_panel[LeavePoint]->textStd());
}

double frmPointManage::recomputeLeavePoint()
{
    const frame::Grid& grid = *m_grids[ExchangeTab];
    double leave = platform::numberOr0(m_panel[SumPoint]->textStd()) -
                   platform::numberOr0(m_panel[UsedPoint]->textStd());
    for (int r = 0; r < grid.rowCount(); ++r)
        if (grid.isChecked(r, grid.columnOf("Sel"))) leave -= platform::numberOr0(grid.cellStd(r, "FVipNum"));
    m_panel[LeavePoint]->setText(QString::fromStdString(platform::formatFixed(leave, 2)));
    return leave;
}

void frmPointManage::onExchangeEdited(int row, int column)
{
    frame::Grid& grid = *m_grids[ExchangeTab];
    const frame::FieldColumnMap& columns = m_columns[ExchangeTab];
    const int quantity = columns.column("FItemNum");
    const int aux = columns.column("FAuxPropName");
    m_changed[ExchangeTab] = true;
    if (column == columns.column("Sel")) {
        const bool ticked = grid.isChecked(row, column);
        grid.setCellLocked(row, quantity, !ticked);
        if (platform::numberOr0(grid.cellStd(row, "FIsAuxi")) != 0) grid.setCellLocked(row, aux, !ticked);
        if (ticked) {
            grid.setCellText(row, quantity, "1");
            grid.setCell(row, "FVipNum",
                         platform::formatNumber(platform::numberOr0(grid.cellStd(row, "PPoint"))));
            grid.setActiveCell(row, quantity);
        }
        recomputeLeavePoint();
        return;
    }
    if (column == quantity) {
        const double points = platform::numberOr0(grid.cellStd(row, "PPoint")) *
                              platform::numberOr0(grid.cellStd(row, "FItemNum"));
        grid.setCell(row, "FVipNum", platform::formatNumber(points));
        if (recomputeLeavePoint() < 0) {
            frame::Messages().message("会员积分不足，请重新输入数量！", "提示",
                                      platform::MessageIcon::Information);
            grid.setActiveCell(row, quantity);
        }
    }
}

void frmPointManage::chooseAuxProp(int row)
{
    frame::Grid& grid = *m_grids[ExchangeTab];
    if (grid.isCellLocked(row, grid.columnOf("FAuxPropName"))) return;
    const std::string condition = " FNumber=" + platform::quoted(grid.cellStd(row, "FNumber"));
    auto clear = [&] {
        for (const char* field : {"FAuxPropName", "FAuxPropID", "FAuxPropNum"})
            grid.setCell(row, field, "");
    };
    try {
        if (frame::GetTableInfo(platform::table::AuxProps, condition).atEnd()) {
            clear();
            return;
        }
        const platform::LookupResult chosen = frame::ShowLookup(23, "", condition, "");
        if (!chosen.returnOk || chosen.returnObject.empty()) return;
        const platform::FieldMap& prop = chosen.returnObject.front();
        grid.setCell(row, "FAuxPropName", prop.text("FAuxPropName"));
        grid.setCell(row, "FAuxPropID", prop.text("FAuxPropID"));
        grid.setCell(row, "FAuxPropNum", prop.text("FAuxPropNum"));
        m_changed[ExchangeTab] = true;
    } catch (const std::exception& error) {
        qCWarning(lcPoints, "choosing the attribute of gift %s failed: %s",
                  grid.cellStd(row, "FNumber").c_str(), error.what());

        frame::Messages().error(error.what());
    }
}

bool frmPointManage::confirmExchange(std::string& prompt)
{
    if (!hq::CheckHQOnline(hq::HQOperation::GiftExchange) || !hq::NothingWaitsForHQ()) return false;
    if (leavePoint() < 0) {
        frame::Messages().message("会员积分不足，不能进行兑换！", "提示", platform::MessageIcon::Information);
        m_itNo[ExchangeTab]->setFocus();
        return false;
    }
    prompt = "确定对会员[" + m_itNo[ExchangeTab]->textStd() + "]的积分进行礼品兑换？";
    return true;
}

platform::ReadCheck frmPointManage::exchangePointsCheck(const std::string& card, double points) const
{
    return {"select count(*) as n from T_Pos_VipRecord where FCardId=" + platform::quoted(card) +
                " and FAccNum-FDecNum>=" + platform::formatNumber(points),
            "n", platform::Value(1)};
}

bool frmPointManage::exchangePointsGone(const std::string& card, double points) const
{
    const platform::ReadCheck check = exchangePointsCheck(card, points);
    try {
        const platform::Value now = m_linked ? hq::HQGetFieldValue(check.sql, check.field)
                                             : frame::GetFieldValue(check.sql, check.field);
        return !platform::sameReadValue(now, check.expected);
    } catch (const std::exception& error) {
        qCWarning(lcPoints, "reading the points of card %s again failed: %s", card.c_str(), error.what());
        return false;
    }
}

bool frmPointManage::saveExchange(const frame::SavePackage& rows, std::string& batch)
{
    frame::Grid& grid = *m_grids[ExchangeTab];
    if (leavePoint() < 0) {
        frame::Messages().message("积分不足，无法进行正常兑换！", "提示", platform::MessageIcon::Information);
        return false;
    }
    const std::string card = m_panel[CardID]->textStd();
    double exchanged = 0;
    for (const platform::FieldMap& record : rows.rows())
        if (record.text("Sel") == "1") exchanged += record.value("FVipNum").toDouble();
    m_exchangedPoints = exchanged;
    // Headquarters, which owns the card's points, must still hold what the exchange takes.
    if (!hq::HQHasRowsIfLinked("select FCardId from T_Pos_VipRecord where FCardId=" + platform::quoted(card) +
                               " And FAccNum-FDecNum>=" + platform::formatNumber(exchanged))) {
        frame::Messages().message("总部积分不足，无法进行正常兑换！", "提示",
                                  platform::MessageIcon::Information);
        return false;
    }
    // The exchange is written here and at headquarters only while the card is live on both, and
    // only while the card still has the points it takes where its points are kept: a deduction
    // made since the card was read would otherwise push its used points above its accumulated.
    m_localChecks.push_back(frame::LiveCardCheck(card));
    if (m_linked) m_hqChecks.push_back(frame::LiveCardCheck(card));
    (m_linked ? m_hqChecks : m_localChecks).push_back(exchangePointsCheck(card, exchanged));
    for (int r = 0; r < grid.rowCount(); ++r)
        if (platform::numberOr0(grid.cellStd(r, "FIsAuxi")) != 0 && grid.isChecked(r, grid.columnOf("Sel")) &&
            grid.cellStd(r, "FAuxPropName").empty()) {
            refuse("第【" + std::to_string(r + 1) + "】行辅助属性不能为空！", r, "FAuxPropName");
            return false;
        }
    const PointsSession session{m_branchId, m_branchNo, m_userId};
    m_progress->setMaximum(static_cast<int>(rows.rowCount()) + 2);
    m_progress->setValue(0);
    int built = 0;
    for (std::size_t i = 0; i < rows.rowCount(); ++i) {
        advanceProgress(built);
        const platform::FieldMap& record = rows.rows()[i];
        if (record.text("Sel") != "1") continue;
        const double points = record.value("FVipNum").isBlank() ? 0 : record.value("FVipNum").toDouble();
        const ExchangedGift gift{record.text("FBranchID"), record.text("FBranchNo"),
                                 record.text("FItemID"),   record.text("FItemNum"),
                                 record.text("FVipNum"),   record.text("FAuxPropID")};
        batch += ExchangeGroup(session, static_cast<int>(i + 1), card, gift, points);
        ++built;
    }
    m_progress->setValue(built);
    return true;
}

} // namespace ormex::module::points

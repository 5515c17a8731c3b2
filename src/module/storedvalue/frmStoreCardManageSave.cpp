// The stored-value screen's OK: the checks of the amounts against the fill settings, the batch of
// recharges or conversions, the final question, the run with the balances read still standing,
// the logs and the reload.
#include "frmStoreCardManage.h"

#include <QPushButton>
#include <QTabWidget>

#include <array>

#include "StoredValueStatements.h"
#include "module/frame/CardRules.h"
#include "module/frame/Gateway.h"
#include "module/frame/Grid.h"
#include "module/frame/GridHelpers.h"
#include "module/frame/LogCategories.h"
#include "module/frame/NumberEntry.h"
#include "module/hq/HqLink.h"
#include "module/hq/OperationLog.h"
#include "module/hq/ReplayOutbox.h"
#include "module/widgets/InputField.h"
#include "platform/BalanceCodec.h"
#include "platform/Clock.h"
#include "platform/NumberText.h"
#include "platform/Text.h"

namespace ormex::module::storedvalue {

namespace {

using platform::Money;

double number(const std::string& text)
{
    return platform::numberOr0(text);
}

// An amount cell of a grid; its editor keeps only amounts there.
Money cellAmount(const frame::Grid& grid, int row, const char* field)
{
    return Money::parse(grid.cellStd(row, field)).value_or(Money());
}

Money recordAmount(const platform::FieldMap& record, const char* field)
{
    return Money::parse(record.text(field)).value_or(Money());
}

// A recharge is saved only with a payment method the operator chose (one of the list's).
constexpr const char* kNoPaymentMethod = "请选择付款方式！";
constexpr const char* kDeductionAboveBalance = "扣减的充值金额不能大于卡余额！";

std::string maxFillMessage(double maximum)
{
    return "充值金额已经大于会员设置画面设定的最大充值金额" + platform::formatNumber(maximum) + "，请修正！";
}

} // namespace

void frmStoreCardManage::onOk()
{
    const int tab = m_tabs->currentIndex();
    if (!ValidateStoredValue(tab)) return;
    if (!SaveStoredValue(tab)) return;
    m_itNo[static_cast<std::size_t>(tab)]->setFocus();
}

void frmStoreCardManage::clearAmounts(int tab)
{
    if (tab == SingleTab) {
        // The recharge amount first: the paid amounts follow it.
        for (const char* name : {"itChargeAmt", "itCharge", "itActualAmt", "itAmt"})
            field(name)->setText(QStringLiteral("0"));
        return;
    }
    frame::Grid& grid = *m_grids[static_cast<std::size_t>(tab)];
    const bool events = m_gridEvents;
    m_gridEvents = false;
    for (int r = 0; r < grid.rowCount(); ++r)
        for (const char* field : {"FChargeAmt", "FActualAmt", "FPoint", "FAmt"})
            if (grid.columnOf(field) >= 0) grid.setCell(r, field, "0");
    m_gridEvents = events;
}

void frmStoreCardManage::afterCommit(int tab, const std::string& caption)
{
    // The rows are written: whatever fails from here on, OK must not be able to send them again.
    // The operator reads what failed; the reasons go to the log.
    clearAmounts(tab);
    std::vector<std::string> failures;
    try {
        hq::WriteLocalLog("储值管理---", caption);
    } catch (const std::exception& error) {
        qCWarning(lcStoredValue, "%s was saved, but its log row was not: %s", caption.c_str(), error.what());
        failures.push_back("写入操作日志失败");
    }
    hq::SendQueuedToHQ();

    m_reloading = true;
    if (tab != SingleTab) m_chosenCards = m_lastChosen;
    bool reloaded = false;
    if (m_linked && !hq::ConnHQ()) {
        failures.push_back(std::string("重新读取会员卡失败（") + hq::kHQUnreachableMessage + "）");
    } else {
        try {
            reloaded = LoadCard(tab, true);
        } catch (const std::exception& error) {
            qCWarning(lcStoredValue, "reading the cards again after %s failed: %s", caption.c_str(),
                      error.what());
            failures.push_back("重新读取会员卡失败");
        }
    }
    m_reloading = false;
    if (!reloaded && tab != SingleTab) {
        // Rows whose balances could not be read again are not left for another save.
        m_grids[static_cast<std::size_t>(tab)]->setRowCount(0);
        ShowCard(nullptr);
    }
    if (!failures.empty())
        frame::Messages().message("【" + caption + "】已保存，但" + platform::join(failures, "；") + "。",
                                  "提示", platform::MessageIcon::Warning);
}

bool frmStoreCardManage::ValidateStoredValue(int tab)
{
    switch (tab) {
    case SingleTab:
        return validateSingle();
    case BatchTab:
        return validateBatch();
    case PointsTab:
        return validatePoints();
    default:
        return false;
    }
}

bool frmStoreCardManage::validateSingle()
{
    if (!CheckRechargeCard(SingleTab)) return false;
    if (field("itCardID_0")->text().isEmpty()) return false;
    // The amounts as typed: a text that is not an amount is refused by name, never read as 0.
    bool refused = false;
    const auto typedCharge = frame::ReadNumberField(*field("itChargeAmt")->edit(), "充值金额", 2, refused);
    if (refused) return false;
    const auto typedActual = frame::ReadNumberField(*field("itActualAmt")->edit(), "实付金额", 2, refused);
    if (refused) return false;
    const Money charge = Money::ofDouble(typedCharge.value_or(0));
    const Money actual = Money::ofDouble(typedActual.value_or(0));
    // The balance of the card on this panel, not of whichever card another tab showed last.
    const Money balance = balanceOf(field("itCardID_0")->textStd()).value_or(Money());
    std::string message;
    const char* focus = "itChargeAmt";
    if (charge.isZero())
        message = "充值金额不能为0！";
    else if (charge.isNegative() && !m_allowFillPlusAmt)
        message = "充值金额不允许为负数！";
    else if (charge.isNegative() && balance < charge.abs())
        message = kDeductionAboveBalance;
    else if (m_maxFillAmount > 0 && charge.toDouble() > m_maxFillAmount)
        message = maxFillMessage(m_maxFillAmount);
    else if (actual.isZero() && !m_allowFillPlusAmt)
        message = "实付金额不能为0！", focus = "itActualAmt";
    else if (actual.isNegative() && !m_allowFillPlusAmt)
        message = "实付金额不允许为负数！", focus = "itActualAmt";
    else if (field("itBalanceStyle")->itemId().isEmpty())
        message = kNoPaymentMethod, focus = "itBalanceStyle";
    else if (actual > charge && !frame::Messages().question("充值金额小于实付金额，是否确认充值？")) {
        field("itActualAmt")->setFocus();
        return false;
    }
    if (message.empty()) return true;
    frame::Messages().message(message, "提示", platform::MessageIcon::Information);
    field(focus)->setFocus();
    return false;
}

bool frmStoreCardManage::validateBatch()
{
    frame::Grid& grid = *m_grids[BatchTab];
    for (int r = 0; r < grid.dataRows(); ++r) {
        const Money charge = cellAmount(grid, r, "FChargeAmt");
        const Money actual = cellAmount(grid, r, "FActualAmt");
        const Money balance = cellAmount(grid, r, "FResidualAmt");
        std::string message;
        const char* column = "FChargeAmt";
        if (charge.isNegative() && !m_allowFillPlusAmt)
            message = "充值金额不允许为负数！";
        else if (charge.isNegative() && balance < charge.abs())
            message = kDeductionAboveBalance;
        else if (m_maxFillAmount > 0 && charge.toDouble() > m_maxFillAmount)
            message = maxFillMessage(m_maxFillAmount);
        else if (actual.isNegative() && !m_allowFillPlusAmt)
            message = "实付金额不允许为负数！", column = "FActualAmt";
        else if (platform::trim(grid.cellStd(r, "FBalanceStyleID")).empty())
            message = kNoPaymentMethod, column = "FBalanceStyle";
        else if (actual > charge && !frame::Messages().question("充值金额小于实付金额，是否确认？"))
            return false;
        if (!message.empty()) {
            refuseCell(message, false, BatchTab, r, column);
            return false;
        }
    }
    return true;
}

bool frmStoreCardManage::validatePoints()
{
    frame::Grid& grid = *m_grids[PointsTab];
    for (int r = 0; r < grid.dataRows(); ++r)
        if (number(grid.cellStd(r, "cur_num")) < number(grid.cellStd(r, "FPoint"))) {
            refuseCell("本次使用积分已经超过结余积分，不能转换!", true, PointsTab, r, "FPoint");
            return false;
        }
    return true;
}

void frmStoreCardManage::refuseCell(const std::string& text, bool warning, int tab, int row,
                                    const char* field)
{
    if (warning)
        frame::Messages().warning(text);
    else
        frame::Messages().message(text, "提示", platform::MessageIcon::Information);
    frame::Grid& grid = *m_grids[static_cast<std::size_t>(tab)];
    grid.setActiveCell(row, grid.columnOf(field));
    grid.setFocus();
}

void frmStoreCardManage::ConvertPointsCell(int column, int row)
{
    frame::Grid& grid = *m_grids[PointsTab];
    const frame::FieldColumnMap& columns = m_columns[PointsTab];
    if (grid.dataRows() == 0 || columns.empty() || column != columns.column("FPoint")) return;
    const std::string type = grid.cellStd(row, "FCardType");
    const double points = number(grid.cellStd(row, "FPoint"));
    const double remaining = number(grid.cellStd(row, "cur_num"));
    if (remaining < points) {
        m_gridEvents = false;
        frame::Messages().warning("本次使用积分超过结余积分！");
        grid.setActiveCell(row, column);
        m_gridEvents = true;
        return;
    }
    try {
        const platform::FieldMap result = frame::PointsToValue(type, points);
        grid.setCell(row, "FPoint", platform::formatNumber(result.value("UsedPoint").toDouble()));
        grid.setCell(row, "FAmt", Money::ofDouble(result.value("StoredAmt").toDouble()).toString());
    } catch (const std::exception& error) {
        qCWarning(lcStoredValue, "converting the points of card %s failed: %s",
                  grid.cellStd(row, "FCardId").c_str(), error.what());
        frame::Messages().error(error.what());
    }
}

Money frmStoreCardManage::rereadBalance(const std::string& card)
{
    m_batchCards.push_back(card);
    const std::string sql =
        "select FResidualAmt from T_Pos_VipRecord where FCardId='" + platform::quoteDoubled(card) + "'";
    const platform::Value stored =
        m_linked ? hq::HQGetFieldValue(sql, "FResidualAmt") : frame::GetFieldValue(sql, "FResidualAmt");
    // The new balance is computed from this value: the batch runs only while it stands, and only
    // on a card that is still live on both databases it writes.
    (m_linked ? m_hqChecks : m_localChecks).push_back({sql, "FResidualAmt", stored});
    m_localChecks.push_back(frame::LiveCardCheck(card));
    if (m_linked) m_hqChecks.push_back(frame::LiveCardCheck(card));
    return platform::tryDecodeMoney(stored.toString()).value_or(Money());
}

bool frmStoreCardManage::buildSingle(std::string& batch)
{
    Recharge r;
    r.card = field("itCardID_0")->textStd();
    r.amount = Money::ofDouble(platform::parseTypedNumber(field("itCharge")->textStd(), 2).value_or(0));
    r.paid = Money::ofDouble(platform::parseTypedNumber(field("itAmt")->textStd(), 2).value_or(0));
    r.oldBalance = balanceOf(r.card).value_or(Money());
    r.memo = field("itMemo")->textStd();
    r.operDate = field("itOperateDate")->textStd() + frame::CurrentTimeText();
    r.paymentId = field("itBalanceStyle")->itemId().toStdString();
    const Money read = rereadBalance(r.card);
    // The same measure as the batch tab's: the balance re-read now, held by the read check.
    if (r.amount.isNegative() && (read + r.amount).isNegative()) {
        frame::Messages().message(kDeductionAboveBalance, "提示", platform::MessageIcon::Information);
        field("itChargeAmt")->setFocus();
        return false;
    }
    // The card was checked in normal use at OK; the recharge is written only while it still is.
    m_localChecks.push_back({"select count(*) as n from T_Pos_VipRecord where FCardId='" +
                                 platform::quoteDoubled(r.card) + "' and FCardStatus='0'",
                             "n", platform::Value(1)});
    r.newBalance = r.amount + read;
    if (!m_linked) m_balances[r.card] = read;
    r.listedBalance = r.amount + (m_linked ? r.oldBalance : read);
    batch += RechargeStatements({m_userId, m_branchId, m_branchNo}, r);
    return true;
}

bool frmStoreCardManage::buildBatch(std::string& batch)
{
    const frame::SavePackage rows = frame::BuildSavePackage(*m_grids[BatchTab], 2, 0);
    const std::string now = platform::now().toString();
    for (std::size_t i = 0; i < rows.rowCount(); ++i) {
        const platform::FieldMap& record = rows.rows()[i];
        Recharge r;
        r.amount = recordAmount(record, "FChargeAmt");
        if (r.amount.isZero()) {
            frame::Messages().warning("充值金额不能为0");
            m_grids[BatchTab]->setActiveCell(static_cast<int>(i), m_grids[BatchTab]->columnOf("FChargeAmt"));
            m_grids[BatchTab]->setFocus();
            return false;
        }
        r.card = record.text("FCardId");
        r.paid = recordAmount(record, "FActualAmt");
        r.memo = record.text("other1");
        r.operDate = now;
        r.paymentId = record.text("FBalanceStyleId");
        Money listed = recordAmount(record, "FResidualAmt");
        const Money read = rereadBalance(r.card);
        // The grid's balance may be older than the card's: a deduction is measured against the
        // balance re-read now, which the batch's read check holds until it commits.
        if (r.amount.isNegative() && (read + r.amount).isNegative()) {
            refuseCell(kDeductionAboveBalance, false, BatchTab, static_cast<int>(i), "FChargeAmt");
            return false;
        }
        if (!m_linked) listed = read;
        r.oldBalance = listed;
        r.newBalance = r.amount + read;
        r.listedBalance = listed + r.amount;
        batch += RechargeStatements({m_userId, m_branchId, m_branchNo}, r);
    }
    return true;
}

bool frmStoreCardManage::buildPoints(std::string& batch)
{
    const frame::SavePackage rows = frame::BuildSavePackage(*m_grids[PointsTab], 2, 0);
    const std::string now = platform::now().toString();
    for (std::size_t j = 0; j < rows.rowCount(); ++j) {
        const platform::FieldMap& record = rows.rows()[j];
        Conversion c;
        c.amount = recordAmount(record, "FAmt");
        if (c.amount.isZero()) continue;
        c.card = record.text("FCardId");
        c.points = record.value("FPoint").toDouble();
        c.operDate = now;
        Money gridBalance = recordAmount(record, "FResidualAmt");
        const Money read = rereadBalance(c.card);
        if (!m_linked) gridBalance = read;
        // The points used must still be there when the conversion is written.
        const std::string left = "select FAccNum-FDecNum as LeavePoint from T_Pos_VipRecord where FCardId='" +
                                 platform::quoteDoubled(c.card) + "'";
        const platform::Value remaining =
            m_linked ? hq::HQGetFieldValue(left, "LeavePoint") : frame::GetFieldValue(left, "LeavePoint");
        if (remaining.toDouble() < c.points) {
            refuseCell("本次使用积分已经超过结余积分，不能转换!", true, PointsTab, static_cast<int>(j),
                       "FPoint");
            return false;
        }
        (m_linked ? m_hqChecks : m_localChecks).push_back({left, "LeavePoint", remaining});
        c.oldBalance = gridBalance;
        c.gridBalance = gridBalance;
        c.newBalance = c.amount + read;
        batch += ConversionStatements({m_userId, m_branchId, m_branchNo}, static_cast<int>(j + 1), c);
    }
    return true;
}

void frmStoreCardManage::runBatch(const std::string& batch)
{
    const CommitScope commit(*this);
    // The tabs hold every box, grid and command of the screen but OK, cancel and print.
    struct Disabled
    {
        std::array<QWidget*, 4> controls;
        std::array<bool, 4> wereEnabled{};
        explicit Disabled(std::array<QWidget*, 4> list) : controls(list)
        {
            for (std::size_t i = 0; i < controls.size(); ++i) {
                wereEnabled[i] = controls[i]->isEnabled();
                controls[i]->setEnabled(false);
            }
        }
        ~Disabled()
        {
            for (std::size_t i = 0; i < controls.size(); ++i)
                controls[i]->setEnabled(wereEnabled[i]);
        }
    } disabled({m_tabs, m_cmdOk, m_cmdCancel, m_cmdPrint});
    platform::BatchProgress progress;
    frame::ExecuteSQLOffThread(batch, m_localChecks, progress, {});
}

bool frmStoreCardManage::SaveStoredValue(int tab)
{
    if (!CheckSaveRights(tab)) return false;
    if (!hq::CheckHQOnline(tab == PointsTab ? hq::HQOperation::PointsToStoredValue
                                            : hq::HQOperation::Recharge) ||
        !hq::NothingWaitsForHQ())
        return false;
    const std::string caption = tabCaption(tab);
    std::string batch;
    m_localChecks.clear();
    m_hqChecks.clear();
    m_batchCards.clear();
    try {
        const bool built = tab == SingleTab  ? buildSingle(batch)
                           : tab == BatchTab ? buildBatch(batch)
                                             : buildPoints(batch);
        if (!built || batch.empty()) return false;
        if (!frame::CardsMatchTheirSeals(m_batchCards, caption)) return false;
        if (!frame::Messages().question("是否确认【" + caption + "】?")) return false;
        if (!hq::HQChecksHold(m_hqChecks)) {
            // A value that could not be read again is no change: headquarters dropped after the
            // question, and the operator is told so instead of being sent to reload.
            if (!hq::ConnHQ()) {
                frame::Messages().message(hq::kHQUnreachableMessage, "提示",
                                          platform::MessageIcon::Information);
                return false;
            }
            throw platform::ChangedSinceReadError("changed at headquarters");
        }
        const auto operation =
            tab == PointsTab ? hq::HQOperation::PointsToStoredValue : hq::HQOperation::Recharge;
        runBatch(batch + hq::QueueOnHQ(batch, operation, m_hqChecks, m_batchCards));
    } catch (const platform::ChangedSinceReadError&) {
        // Another operator or a till changed a balance after it was read: nothing was written; the
        // tab shows the cards as they are now.
        frame::Messages().message(frame::kChangedSinceReadMessage, "提示",
                                  platform::MessageIcon::Information);
        m_reloading = true;
        if (tab != SingleTab) m_chosenCards = m_lastChosen;
        LoadCard(tab, false);
        m_reloading = false;
        return false;
    } catch (const std::exception& error) {
        qCWarning(lcStoredValue, "saving %s (cards %s) failed: %s", caption.c_str(),
                  platform::join(m_batchCards, ",").c_str(), error.what());
        frame::Messages().error(error.what());
        return false;
    }
    afterCommit(tab, caption);
    return true;
}

} // namespace ormex::module::storedvalue

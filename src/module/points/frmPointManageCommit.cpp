// The commit of the points screen, the same on its three tabs: the OK button's flow and Save,
// which turns the tab's save package into one batch, runs it, logs it and, for the operations
// headquarters must see, replays it there.
#include "frmPointManage.h"

#include <QProgressBar>
#include <QRadioButton>
#include <optional>

#include "PointsStatements.h"
#include "module/frame/Gateway.h"
#include "module/frame/Grid.h"
#include "module/frame/LogCategories.h"
#include "module/frame/Session.h"
#include "module/hq/HqLink.h"
#include "module/hq/OperationLog.h"
#include "module/hq/ReplayOutbox.h"
#include "module/widgets/InputField.h"
#include "platform/Text.h"

namespace ormex::module::points {

namespace {

constexpr long kCardTask = 2002;

} // namespace

void frmPointManage::onOk()
{
    if (!(m_changed[0] || m_changed[1] || m_changed[2])) return;
    const int tab = m_tabs->currentIndex();
    frame::Grid& grid = *m_grids[static_cast<std::size_t>(tab)];
    if (grid.rowCount() == 0) return;
    const frame::SavePackage rows = savePackage(tab);

    std::string prompt;
    std::string right;
    if (tab == PointsTab) {
        right = "hy0008";
        switch (operation()) {
        case Reward:
            prompt = "是否确定对列表中会员进行积分奖励？";
            break;
        case Deduction:
            if (!hq::CheckHQOnline(hq::HQOperation::PointsDeduction) || !hq::NothingWaitsForHQ()) return;
            prompt = "是否确定对列表中会员进行积分冲减";
            break;
        case Clearing:
            prompt = "你确认现在对列表中的会员进行积分清零操作？";
            break;
        }
    } else if (tab == GiftSettingsTab) {
        prompt = "确定保存礼品设置修改？";
    } else {
        if (!confirmExchange(prompt)) return;
        right = "hy0007";
    }
    if (!frame::Messages().question(prompt)) return;

    SetControlEnable(false);
    const CommitScope commit(*this);
    // A right the user lacks, or the task held by another session, ends the commit before anything
    // is written (the operator has been told which, and who holds the task): writing anyway would
    // let an operator who saw the conflict enter the same points a second time.
    if (tab != GiftSettingsTab &&
        m_task.renew(kCardTask, platform::Value(m_itNo[static_cast<std::size_t>(tab)]->textStd()), right) <=
            0) {
        SetControlEnable(true);
        return;
    }
    m_messageShown = false;
    const bool saved = Save(&rows, tab);
    // The task guards the commit only: held on, it would refuse every other till's points until
    // this screen closes, now that a conflict stops a commit.
    m_task.release();
    SetControlEnable(true);
    if (!saved) {
        if (!m_messageShown)
            frame::Messages().message("保存数据失败！", "提示", platform::MessageIcon::Information);
        return;
    }
    m_changed[static_cast<std::size_t>(tab)] = false;
    m_itNo[static_cast<std::size_t>(tab)]->setFocus();
}

bool frmPointManage::Save(const frame::SavePackage* rows, int tab)
{
    if (!rows) return false;
    bool result = false;
    m_localChecks.clear();
    m_hqChecks.clear();
    try {
        std::string logText = tabCaption(tab);
        std::string batch;
        // The cards' seals, read while the batch is built where the saver starts the reading.
        std::optional<frame::CardSealsReading> seals;
        bool built = true;
        switch (tab) {
        case PointsTab:
            built = savePoints(*rows, batch, logText, seals);
            break;
        case GiftSettingsTab:
            built = saveGiftSettings(*rows, batch);
            break;
        case ExchangeTab:
            built = saveExchange(*rows, batch);
            break;
        default:
            break;
        }
        if (!built) {
            m_progress->setValue(m_progress->maximum());
            return false;
        }
        if (tab != GiftSettingsTab && !batch.empty()) {
            if (!seals) seals.emplace(cardsOf(*rows, tab));
            if (!seals->matchOrTell(logText)) {
                m_messageShown = true;
                m_progress->setValue(m_progress->maximum());
                return false;
            }
        }
        if (tab == GiftSettingsTab && !batch.empty()) batch = giftCatalogueEmptying() + batch;
        if (batch.empty()) {
            result = m_optPoint[Clearing]->isChecked();
        } else {
            if (tab == PointsTab && operation() == Clearing)
                batch += PointClearRecord(frame::GetTcpAddress(), frame::GetMachineName(), m_userId);
            if (!hq::HQChecksHold(m_hqChecks))
                throw platform::ChangedSinceReadError("changed at headquarters");
            // Deductions and exchanges go to headquarters too, queued with the local change.
            const bool replayed = (tab == PointsTab && operation() == Deduction) || tab == ExchangeTab;
            const std::string queued = replayed ? hq::QueueOnHQ(batch, static_cast<hq::HQOperation>(tab / 2),
                                                                m_hqChecks, cardsOf(*rows, tab))
                                                : "";
            // The batch can be the size of the whole member base: it is not copied to add nothing.
            if (!queued.empty()) batch += queued;
            runBatch(batch);
            // The batch stands from here on. A log that cannot be written is told to the operator,
            // but the save still ends as saved: left armed, the grid would apply the batch again on
            // the next OK.
            result = true;
            try {
                hq::WriteLocalLog("积分管理---", logText);
            } catch (const std::exception& error) {
                qCWarning(lcPoints, "logging %s after it was saved failed: %s", logText.c_str(),
                          error.what());
                frame::Messages().message(kLogNotWrittenMessage, "提示", platform::MessageIcon::Information);
            }
            // Replays, and the rewards of the branch's data exchange, go to headquarters now.
            hq::SendQueuedToHQ();
            refresh(tab);
        }
    } catch (const platform::ChangedSinceReadError&) {
        // Another operator or a till changed a card after it was read: nothing was written; the
        // operator sees the cards as they are now and decides again. An exchange whose points were
        // used meanwhile is refused as one without the points.
        const bool tooFewPoints =
            tab == ExchangeTab && exchangePointsGone(cardsOf(*rows, tab).front(), m_exchangedPoints);
        frame::Messages().message(tooFewPoints ? "积分不足，无法进行正常兑换！"
                                               : frame::kChangedSinceReadMessage,
                                  "提示", platform::MessageIcon::Information);
        m_messageShown = true;
        result = false;
        refresh(tab);
    } catch (const std::exception& error) {
        const std::string cards =
            tab == GiftSettingsTab ? std::string() : platform::join(cardsOf(*rows, tab), ",");
        qCWarning(lcPoints, "saving %s (cards %s) failed: %s", tabCaption(tab).c_str(), cards.c_str(),
                  error.what());
        frame::Messages().error(error.what());
        result = false;
    }
    m_progress->setValue(m_progress->maximum());
    return result;
}

void frmPointManage::runBatch(const std::string& batch)
{
    // The bar goes on from the records built: as far again for the statements the worker runs.
    const int built = m_progress->value();
    m_progress->setMaximum(2 * built + 2);
    platform::BatchProgress progress;
    const auto tick = [this, &progress, built] {
        const std::size_t total = progress.total.load(std::memory_order_relaxed);
        if (total == 0) return;
        const double done = static_cast<double>(progress.done.load(std::memory_order_relaxed));
        m_progress->setValue(built + static_cast<int>((built + 1) * done / static_cast<double>(total)));
    };
    frame::ExecuteSQLOffThread(batch, m_localChecks, progress, tick);
}

std::vector<std::string> frmPointManage::cardsOf(const frame::SavePackage& rows, int tab) const
{
    if (tab == ExchangeTab) return {m_panel[0]->textStd()}; // the exchange's card
    std::vector<std::string> cards;
    for (const platform::FieldMap& record : rows.rows())
        if (record.value("FVipNum").toDouble() != 0) cards.push_back(record.text("FCardId"));
    return cards;
}

void frmPointManage::refuse(const std::string& message, int row, const char* field)
{
    frame::Messages().message(message, "提示", platform::MessageIcon::Information);
    frame::Grid& grid = *m_grids[static_cast<std::size_t>(m_tabs->currentIndex())];
    grid.setActiveCell(row, grid.columnOf(field));
    m_messageShown = true;
}

} // namespace ormex::module::points

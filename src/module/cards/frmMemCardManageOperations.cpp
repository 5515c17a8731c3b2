// The status operations of the card screen: report loss, restore, extend, change card, void and
// set password. Each runs under its rights code and the task lock, needs the headquarters link
// in a linked branch, asks for confirmation, saves through the card object, repeats its
// statement at headquarters with a log row, and refreshes the screen.
#include "frmMemCardManage.h"

#include "dlgChangeCard.h"
#include "dlgPWD.h"
#include "module/frame/CardRules.h"
#include "module/frame/Gateway.h"
#include "module/frame/LogCategories.h"
#include "module/frame/Session.h"
#include "module/hq/HqLink.h"
#include "module/hq/OperationLog.h"
#include "module/hq/ReplayOutbox.h"
#include "module/widgets/InputField.h"
#include "platform/Clock.h"
#include "platform/Text.h"

namespace ormex::module::cards {

namespace {

constexpr long kCardTask = 2002;

// In a linked branch the cards' balances and points are headquarters': a card change moves what
// headquarters holds, and is queued for headquarters in its own transaction, to be applied there
// only while headquarters still holds what was moved.
platform::CardChangeLink cardChangeLink()
{
    platform::CardChangeLink link;
    if (!frame::IsHQLinkedBranch()) return link;
    link.readValues = [](const std::string& sql) {
        auto connection = hq::OpenHQ();
        if (!connection) throw platform::UnavailableError("总部数据库无法连接");
        platform::Recordset values = connection->openRecordset(sql);
        connection->close();
        return values;
    };
    link.queue = [](const std::string& statements, const std::vector<platform::ReadCheck>& checks,
                    const std::vector<std::string>& cards) {
        return hq::QueueOnHQ(statements, hq::HQOperation::CardChange, checks, cards);
    };
    return link;
}

} // namespace

void frmMemCardManage::onStatusClicked(int index)
{
    const auto operation = static_cast<CardOperation>(index);
    const OperationInfo info = operationInfo(operation);
    try {
        if (m_task.renew(kCardTask, platform::Value(m_searchKey), info.rightsCode) <= 0) return;
        m_operationCode = info.operationCode;

        if (cardShown() && hq::CheckHQOnline(hq::HQOperation::CardStatus) && hq::NothingWaitsForHQ()) {
            const int status = static_cast<int>(m_card->value("FCardStatus").toInt());
            switch (operation) {
            case CardOperation::ReportLoss:
                reportLoss(status);
                break;
            case CardOperation::Restore:
                restore(status);
                break;
            case CardOperation::Extend:
                extend();
                break;
            case CardOperation::ChangeCard:
                changeCard(status);
                break;
            case CardOperation::Void:
                voidCard(status);
                break;
            case CardOperation::SetPassword:
                setPassword();
                break;
            }
        }
        cardSearch();
        m_itNumber->setFocus();
    } catch (const std::exception& error) {
        qCWarning(lcCards, "card operation %d on card %s failed: %s", index, m_searchKey.c_str(),
                  error.what());
        m_task.release();
        frame::Messages().error(error.what());
    }
}

bool frmMemCardManage::saveChange(platform::FieldMap& change, const std::string& replayed)
{
    bool saved = false;
    if (!m_itNumber->text().isEmpty()) {
        auto maintain = frame::CardObject();
        int operationCode = m_operationCode;
        // In a linked branch the change is queued for headquarters in the same transaction.
        saved = maintain->updateMCInfo(
            change, 4, operationCode,
            hq::QueueOnHQ(replayed, hq::HQOperation::CardStatus, {}, {change.text("FCardId")}));
    }
    change = {};
    m_card.reset();
    if (saved) hq::SendQueuedToHQ();
    return saved;
}

void frmMemCardManage::reportLoss(int status)
{
    if (status != 0 && status != 1) {
        frame::Messages().message("操作失败，会员卡只能在正常或失效状态下挂失！");
        return;
    }
    if (!frame::Messages().question("挂失后会员卡将暂停使用，是否继续？", "信息提示",
                                    platform::MessageIcon::Question))
        return;
    platform::FieldMap change{{"FCardId", m_searchKey}, {"FCardStatus", 2}};
    if (!saveChange(change, statusUpdateStatement('2', m_searchKey))) return;
    frame::Messages().message("会员卡(" + platform::trimRight(m_itNumber->textStd()) + ")" +
                              frame::GetStatusName(2) + "操作成功！");
}

void frmMemCardManage::restore(int status)
{
    if (status != 1 && status != 2 && status != 3) {
        frame::Messages().message("操作失败，会员卡在该状态下不能恢复！");
        return;
    }
    if (!frame::Messages().question("确定恢复会员卡【" + m_searchKey + "】?", "信息提示",
                                    platform::MessageIcon::Information))
        return;
    platform::FieldMap change{{"FCardId", m_searchKey}, {"FCardStatus", 0}};
    if (!saveChange(change, statusUpdateStatement('0', m_searchKey))) return;
    frame::Messages().message("会员卡(" + m_searchKey + ")恢复操作成功！");
}

void frmMemCardManage::extend()
{
    long days = 0;
    for (;;) {
        const auto answer = frame::Messages().input("请输入延期天数", "会员卡延期");
        const ExtendDaysAnswer checked = checkExtendDays(answer.value_or(""));
        if (checked.cancelled) return;
        if (checked.days) {
            days = *checked.days;
            break;
        }
        frame::Messages().message(checked.message);
    }
    const platform::Date today = platform::today();
    const platform::Date newEnd = extendedEndDate(m_card->text("FVipEndDate"), days, today);
    platform::FieldMap change{{"FCardId", m_searchKey}, {"FVipEndDate", newEnd.toString()}};
    if (newEnd >= today) change.set("FCardStatus", 0);
    if (!saveChange(change, endDateUpdateStatement(newEnd, m_searchKey))) return;
    frame::Messages().message("会员卡(" + m_searchKey + ")延期操作成功！");
}

void frmMemCardManage::changeCard(int status)
{
    if (status != 0 && status != 2) return;
    dlgChangeCard dialog(this);
    dialog.setMCNum(m_searchKey);
    dialog.setMCTypeID(m_cardType);
    dialog.exec();
    if (!dialog.OK()) return;
    std::string newNumber = dialog.MCNum();
    platform::Value newType = dialog.MCTypeID();
    const std::string newTypeName = dialog.MCTypeName();
    if (newType.toString() == m_cardType.toString() && newNumber == m_searchKey) return;
    auto maintain = frame::CardObject();
    platform::Value oldKey(m_searchKey), oldKey2(m_searchKey);
    long changed = 0;
    try {
        changed = maintain->changeMemberCard(oldKey, oldKey2, newNumber, newType, cardChangeLink());
    } catch (const platform::ChangedSinceReadError&) {
        m_card.reset();
        frame::Messages().message(frame::kChangedSinceReadMessage, "提示",
                                  platform::MessageIcon::Information);
        return;
    }
    m_card.reset();
    if (changed <= 0) return;
    hq::SendQueuedToHQ();
    if (newNumber != m_searchKey)
        frame::Messages().message("会员卡：" + m_searchKey + " 已更换成：" + newNumber);
    else
        frame::Messages().message("会员卡:" + m_searchKey + "卡类别已更换成：" + newTypeName);
}

void frmMemCardManage::voidCard(int status)
{
    if (status != 0) {
        frame::Messages().message("操作失败，会员卡只能在正常状态下作废！");
        return;
    }
    if (!frame::Messages().question("会员卡作废后，将不能再进行任何操作，确定要作废吗？", "信息提示",
                                    platform::MessageIcon::Information))
        return;
    platform::FieldMap change{{"FCardId", m_searchKey}, {"FCardStatus", 3}};
    if (!saveChange(change, statusUpdateStatement('3', m_searchKey))) return;
    frame::Messages().message("会员卡(" + m_searchKey + ")作废操作成功！");
}

void frmMemCardManage::setPassword()
{
    auto dialog = std::make_unique<dlgPWD>(this);
    dialog->setItemID(platform::Value(m_searchKey));
    dialog->run();
    const std::string password = platform::trim(dialog->Pwd());
    const bool cancelled = dialog->Cancel();
    dialog.reset(); // the dialog is unloaded whatever follows
    if (cancelled) return;
    platform::FieldMap change{{"FCardId", m_searchKey}, {"password", password}};
    if (!frame::Messages().question("确定修改会员卡【" + m_searchKey + "】的密码？", "信息提示",
                                    platform::MessageIcon::Information))
        return;
    if (!saveChange(change, passwordUpdateStatement(password, m_searchKey))) return;
    frame::Messages().message("会员卡(" + m_searchKey + ")修改密码成功！");
}

} // namespace ormex::module::cards

#include "CardStatusRules.h"

#include "platform/NumberText.h"
#include "platform/Text.h"

namespace ormex::module::cards {

OperationInfo operationInfo(CardOperation operation)
{
    switch (operation) {
    case CardOperation::ReportLoss:
        return {"hy0001", 4};
    case CardOperation::Restore:
        return {"hy0002", 5};
    case CardOperation::Extend:
        return {"hy0003", 10};
    case CardOperation::ChangeCard:
        return {"hy0004", 8};
    case CardOperation::Void:
        return {"hy0005", 6};
    case CardOperation::SetPassword:
        return {"hy0006", 11};
    }
    return {"", 0};
}

std::array<bool, 7> statusButtons(int status, bool savingCard)
{
    //                          loss   restore extend change  (4)    void   password
    std::array<bool, 7> on{};
    switch (status) {
    case 0:
        on = {true, false, true, true, false, true, true};
        break;
    case 1:
        on = {false, true, true, false, false, false, false};
        break;
    case 2:
        on = {false, true, false, true, false, false, false};
        break;
    case 3:
        on = {false, true, false, false, false, false, false};
        break;
    default:
        break;
    }
    if (!savingCard) on[6] = false;
    return on;
}

ExtendDaysAnswer checkExtendDays(std::string_view answer)
{
    const std::string text = platform::trim(answer);
    ExtendDaysAnswer result;
    if (text.empty()) {
        result.cancelled = true;
        return result;
    }
    if (platform::utf8Length(text) >= 6) {
        result.message = "延期天数必须是大于0的整数,且小于36500天 ";
        return result;
    }
    if (!platform::isAllDigits(text)) {
        result.message = "延期天数必须是大于0的整数,且小于36500天！ ";
        return result;
    }
    const long days = static_cast<long>(platform::numberOr0(text));
    if (days < 1 || days >= 36500) {
        result.message = "延期天数必须是大于0的整数,且小于36500天 ";
        result.messageFromService = true;
        return result;
    }
    result.days = days;
    return result;
}

platform::Date extendedEndDate(std::string_view cardEndDate, long days, const platform::Date& today)
{
    const platform::Date base = platform::parseDate(cardEndDate).value_or(today);
    return base.addDays(days);
}

std::string statusUpdateStatement(char status, std::string_view cardId)
{
    return "UPDATE T_Pos_VipRecord SET FCardStatus=" + platform::quoted(std::string(1, status)) +
           " WHERE FCardId=" + platform::quoted(cardId);
}

std::string endDateUpdateStatement(const platform::Date& date, std::string_view cardId)
{
    return "UPDATE T_Pos_VipRecord SET FVipEndDate=" + platform::quoted(date.toString()) +
           " WHERE FCardId=" + platform::quoted(cardId);
}

std::string passwordUpdateStatement(std::string_view password, std::string_view cardId)
{
    // A password may hold a quote or "--": doubled, the statement keeps the meaning of its value at
    // the branch and at headquarters.
    return "UPDATE T_Pos_VipRecord SET password=" + platform::quoted(password) +
           " WHERE FCardId=" + platform::quoted(cardId);
}

} // namespace ormex::module::cards

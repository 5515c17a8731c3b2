#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>

#include "platform/DateTime.h"

// The rules of the card status operations of the card screen: which buttons a status enables,
// which statuses each operation accepts, the extension-days check and the statements that are
// repeated at headquarters.
namespace ormex::module::cards {

// Button indexes of the operations (there is no button 4).
enum class CardOperation {
    ReportLoss = 0,
    Restore = 1,
    Extend = 2,
    ChangeCard = 3,
    Void = 5,
    SetPassword = 6
};

struct OperationInfo
{
    const char* rightsCode; // registered with the task lock
    int operationCode;      // handed to the card update
};
OperationInfo operationInfo(CardOperation operation);

// Enabled state of cmdStatus(0..6) for a card status; index 4 is always false. Set password is
// offered only to stored-value card types.
std::array<bool, 7> statusButtons(int status, bool savingCard);

// The extension days the operator typed: accepted days, or the message to show before asking
// again. An empty answer ends the operation (`cancelled`).
struct ExtendDaysAnswer
{
    bool cancelled = false;
    std::optional<long> days;
    std::string message;             // shown in an information box
    bool messageFromService = false; // the range refusal goes through the message service
};
ExtendDaysAnswer checkExtendDays(std::string_view answer);

// The new expiry date: the card's end date when it is a valid date, else today, plus days.
platform::Date extendedEndDate(std::string_view cardEndDate, long days, const platform::Date& today);

std::string statusUpdateStatement(char status, std::string_view cardId);
std::string endDateUpdateStatement(const platform::Date& date, std::string_view cardId);
std::string passwordUpdateStatement(std::string_view password, std::string_view cardId);

} // namespace ormex::module::cards

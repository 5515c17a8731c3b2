#pragma once

#include <string>

// The statements of a points movement, exactly as the points screen joins them into its batch:
// a movement row in T_Pos_VipGiftList, the upsert of the card's totals at this branch in
// T_Pos_VipConsume and the update of the card row. Pieces are joined by CR LF; numbers are
// written with the system's number text (100, 12.5).
namespace ormex::module::points {

inline constexpr const char* CRLF = "\r\n";

// The session values the statements carry.
struct PointsSession
{
    std::string branchId; // BranchID, "0" when it is not a number
    std::string branchNo; // BranchNum
    std::string userId;   // the current user's identifier
};

// Movement kinds (T_Pos_VipGiftList.flag).
enum class PointsOperation { Deduction = 1, Exchange = 2, Reward = 3, ToStoredValue = 4, Clearing = 5 };

// The group of one card rewarded with `points`: CRLF, movement, CRLF, totals, CRLF, card, CRLF.
std::string RewardGroup(const PointsSession& s, const std::string& card, double points);
// The same group appended to `batch` (the Append… functions write what the functions of the same
// name without it return, straight into the batch being built).
void AppendRewardGroup(std::string& batch, const PointsSession& s, const std::string& card, double points);

// The group of record `n` (its T-SQL variable is @blnIsinset<n>) deducting `points` from a card
// whose accumulated and used points were read as `accumulated` and `used`. The card row is
// changed only when this database is the session's branch or the totals row existed already;
// its used points become the smaller of used + points and accumulated.
std::string DeductionGroup(const PointsSession& s, int n, const std::string& card, double points,
                           double accumulated, double used);
void AppendDeductionGroup(std::string& batch, const PointsSession& s, int n, const std::string& card,
                          double points, double accumulated, double used);

// The group clearing a card: `shown` is the points the grid showed for it (its remaining points
// when the list was read), `remaining` the remaining points read just now.
std::string ClearingGroup(const PointsSession& s, const std::string& card, double shown, double remaining);
void AppendClearingGroup(std::string& batch, const PointsSession& s, const std::string& card, double shown,
                         double remaining);

// The one T_Pos_VipPointClear row of a clearing commit, with CRLF in front.
std::string PointClearRecord(const std::string& address, const std::string& machine,
                             const std::string& userId);

// A gift of the exchange, as its grid row holds it.
struct ExchangedGift
{
    std::string branchId; // the gift's warehouse
    std::string branchNo;
    std::string itemId;
    std::string quantity; // FItemNum as the grid holds it
    std::string points;   // FVipNum, the points of the row
    std::string auxPropId;
};

// The group of record `n` exchanging `gift` on `card`; the totals are those of the session's
// branch, `points` is the numeric value of the row's points.
std::string ExchangeGroup(const PointsSession& s, int n, const std::string& card, const ExchangedGift& gift,
                          double points);

} // namespace ormex::module::points

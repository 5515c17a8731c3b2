#include "CardSearchRules.h"

#include "module/frame/CardRules.h"
#include "platform/BalanceCodec.h"
#include "platform/DateTime.h"
#include "platform/NumberText.h"
#include "platform/Text.h"

namespace ormex::module::cards {

std::string cardSearchCondition(std::string_view key)
{
    const std::string k = platform::quoted(key);
    return " (FCardId=" + k + " or mobile=" + k + ") and FDeleted=0 ";
}

std::string faceNumberSearchCondition(std::string_view key)
{
    const std::string k = platform::quoted(key);
    return " FCardFlowno=" + k + " or mobile=" + k;
}

std::vector<std::string> cardInformationTexts(const platform::FieldMap& card)
{
    std::vector<std::string> texts(11);
    texts[0] = card.text("FCardId");
    texts[2] = card.text("FCardFlowno");
    texts[3] = card.text("FUserName");
    texts[4] = platform::formatNumber(card.value("FAccNum").toDouble() - card.value("FDecNum").toDouble());
    texts[5] = card.text("FVipName");
    texts[6] = frame::GetStatusName(static_cast<int>(card.value("FCardStatus").toInt()));
    if (auto end = platform::parseDate(card.text("FVipEndDate"))) texts[7] = end->toString();
    texts[8] = card.text("FOperDate");
    texts[9] = platform::decodeBalance(card.text("FResidualAmt")) + "元";
    texts[10] = card.text("FCardTypeName");
    return texts;
}

std::string cardSheetRow(const std::vector<SheetCell>& cells)
{
    std::string row;
    for (const auto& cell : cells)
        row += platform::trim(cell.caption) + "|" + cell.text + "|";
    return row;
}

} // namespace ormex::module::cards

#include "CardRules.h"

#include <QWidget>

#include <cmath>

#include "Gateway.h"
#include "platform/Clock.h"
#include "platform/HostServices.h"
#include "platform/NumberText.h"
#include "platform/Text.h"

namespace ormex::module::frame {

std::string GetStatusName(int code)
{
    switch (code) {
    case 0:
        return "正常";
    case 1:
        return "失效";
    case 2:
        return "挂失";
    case 3:
        return "作废";
    case 9:
        return "未使用";
    default:
        return {};
    }
}

std::string ReadCardTypeName(const std::string& typeId)
{
    const auto rs = ExecQuery(
        "select FTypeId,type_name from T_Pos_VipType where FTypeId=" + platform::quoted(typeId) + " ");
    return rs.atEnd() ? std::string() : rs.field("type_name").toString();
}

platform::Value GetCardTypeColumn(const std::string& key, const std::string& columns)
{
    return GetFieldValue("Select " + columns +
                             " From T_Pos_VipType Where FTypeId=(Select FCardType From "
                             "T_Pos_VipRecord Where FCardId=" +
                             platform::quoted(key) + " or mobile=" + platform::quoted(key) + ")",
                         columns);
}

std::string GetProfileValue(const std::string& category, const std::string& key)
{
    return GetFieldValue("Select Fvalue From t_systemprofile Where FCategory=" + platform::quoted(category) +
                             " and FKey=" + platform::quoted(key),
                         "FValue")
        .toString();
}

std::string GetStockName(const std::string& itemId)
{
    return GetFieldValue("select FNumber,FName from t_stock where FItemID=" + platform::sqlNumber(itemId),
                         "FName")
        .toString();
}

bool CheckCardNumber(const std::string& number, QWidget* focus, bool showMessages)
{
    const std::string trimmed = platform::trim(number);
    const std::size_t length = platform::utf8Length(trimmed);
    if (length >= 1 && length <= 20) return true;
    if (showMessages) Messages().message(length == 0 ? "卡号不能为空！" : "卡号必须小于20位！");
    if (focus) focus->setFocus();
    return false;
}

std::string CurrentTimeText()
{
    const platform::DateTime now = platform::now();
    return " " + std::to_string(now.hour) + ":" + std::to_string(now.minute) + ":" +
           std::to_string(now.second);
}

platform::FieldMap PointsToValue(const std::string& typeId, double points)
{
    double remaining = points;
    double stored = 0;
    if (points != 0 && !typeId.empty()) {
        auto rs =
            ExecQuery("select FAccNum as Amt,saving_amt as Amount,FZhRate as Rate from T_Pos_VipPointToAmt "
                      "where FAccNum<= " +
                      platform::formatNumber(points) + " and  FTypeId=" + platform::quoted(typeId) +
                      " order by FAccNum desc ");
        for (; !rs.atEnd(); rs.moveNext()) {
            const double step = rs.field("Amt").toDouble();
            if (step <= 0 || remaining < step) break;
            const double units = std::floor(remaining / step);
            const double rate = rs.field("Rate").toDouble();
            stored += rate != 0 ? units * step * rate * 0.01 : units * rs.field("Amount").toDouble();
            stored = platform::roundTo(stored, 2);
            remaining = platform::roundTo(remaining - units * step, 2);
        }
    }
    return platform::FieldMap{{"UsedPoint", platform::roundTo(points - remaining, 2)}, {"StoredAmt", stored}};
}

platform::FieldMap RecordToFieldMap(const platform::Recordset& rs)
{
    return rs.currentRecord();
}

platform::LookupResult ShowLookup(int classId, const std::string& searchText, const std::string& text1,
                                  const std::string& text2)
{
    auto& factory = platform::HostServices::instance().factory();
    switch (classId) {
    case 1:
    case 2:
    case 3:
    case 4:
    case 5:
    case 8:
    case 10: {
        const platform::FieldMap options{
            {"BeShortNumber", false}, {"GetDataType", 1}, {"Search", searchText}};
        return factory.createAs<platform::GLView>("OrmexEBCGLView.GLView")
            ->itemLookup(classId, text1, text2, options);
    }
    case 50:
    case 51:
        return factory.createAs<platform::MCBaseDataApp>("OrmexMCBaseData.Application")
            ->showFormReturn(classId, false, searchText.empty() ? 2 : 3, text1, text2);
    case 23:
    case 34:
    case 611:
    case 616:
        return factory.createAs<platform::GLView>("OrmexEBCGLView.GLView")
            ->subMesLookup(classId, text1, text2);
    case 31:
        return factory.createAs<platform::GLView>("OrmexEBCGLView.GLView")
            ->itemLookup(4, "Fdetail=0 ", text2, {});
    default:
        return {};
    }
}

platform::LookupResult ShowCardLookup(int classId, const std::string& condition, bool multiSelect,
                                      const std::string& second)
{
    if (classId != 50 && classId != 51) return {};
    return platform::HostServices::instance()
        .factory()
        .createAs<platform::MCBaseDataApp>("OrmexMCBaseData.Application")
        ->showFormReturn(classId, multiSelect, condition.empty() ? 2 : 3, condition, second);
}

} // namespace ormex::module::frame

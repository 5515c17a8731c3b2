#include "NumberEntry.h"

#include <QLineEdit>

#include "Gateway.h"
#include "platform/NumberText.h"
#include "platform/Text.h"

namespace ormex::module::frame {

std::string NotANumberRefusal(const std::string& caption, int decimals, const std::string& typed)
{
    return "【" + caption + "】" +
           (decimals == 0 ? std::string("只能输入整数")
                          : "只能输入数字，最多" + std::to_string(decimals) + "位小数") +
           "，不能接受“" + typed + "”！";
}

std::string OutOfRangeRefusal(const std::string& caption, double minimum, double maximum,
                              const std::string& typed)
{
    return "【" + caption + "】须在" + platform::formatNumber(minimum) + "至" +
           platform::formatNumber(maximum) + "之间，不能接受“" + typed + "”！";
}

std::optional<double> ReadNumberField(QLineEdit& field, const std::string& caption, int decimals,
                                      bool& refused)
{
    refused = false;
    const std::string typed = platform::trim(field.text().toStdString());
    if (typed.empty()) return std::nullopt;
    if (const auto number = platform::parseTypedNumber(typed, decimals)) return number;
    refused = true;
    Messages().message(NotANumberRefusal(caption, decimals, typed), "提示",
                       platform::MessageIcon::Information);
    field.setFocus();
    field.selectAll();
    return std::nullopt;
}

} // namespace ormex::module::frame

#pragma once

#include <optional>
#include <string>

class QLineEdit;

// Numbers an operator types into a field or a grid cell. Nothing is swallowed while typing and
// nothing is rewritten afterwards: a text is read as the number it stands for, or refused with a
// message naming the field, and the field keeps what was typed.
namespace ormex::module::frame {

// "【充值金额】只能输入数字，最多2位小数，不能接受“1e20”！"
std::string NotANumberRefusal(const std::string& caption, int decimals, const std::string& typed);
// "【充值金额】须在0至999999999.99之间，不能接受“-5”！"
std::string OutOfRangeRefusal(const std::string& caption, double minimum, double maximum,
                              const std::string& typed);

// The number in a field; nothing when the field is empty. A text that is not a plain number with
// at most `decimals` decimals is refused: the operator is told, the field takes the focus, and
// `refused` is set.
std::optional<double> ReadNumberField(QLineEdit& field, const std::string& caption, int decimals,
                                      bool& refused);

} // namespace ormex::module::frame

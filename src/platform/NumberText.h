#pragma once

#include <optional>
#include <string>
#include <string_view>

// The one conversion between numbers and text that the whole system uses, the way the original
// platform wrote numbers: at most 15 significant digits, trailing zeros dropped, no thousands
// separators, no exponent for ordinary amounts. 0.1 + 0.2 is written "0.3"; 100.0 is "100".
namespace ormex::platform {

std::string formatNumber(double value);

// Formats with a fixed number of decimals ("0.00" style), rounding half away from zero.
std::string formatFixed(double value, int decimals);

// Rounds half away from zero to the given number of decimals, going through the 15-digit text
// so that 2.675 rounds to 2.68 as an operator expects.
double roundTo(double value, int decimals);

// The decimals formatNumber writes the value with: 12.5 has 1, 100 has 0, 0.1 + 0.2 has 1.
int decimalPlaces(double value);

// Parses a whole text as a number: surrounding blanks allowed, one sign, digits with at most one
// decimal point, an optional exponent. Returns nothing for anything else (empty text included).
std::optional<double> parseNumber(std::string_view text);

// A number as an operator typed it: blanks around it, an optional sign, digits with at most one
// point, at most `decimals` decimals and 15 significant digits. Nothing for anything else (an
// exponent, a separator, a letter, a sixteenth digit), so what was typed is either read as it
// stands or refused, never turned into another number. Independent of the system locale.
std::optional<double> parseTypedNumber(std::string_view text, int decimals);

// A number put into a statement without quotes: the text itself when it is a plain number (as
// parseTypedNumber reads it), so that nothing else can reach the statement that way. Throws
// std::invalid_argument naming the text otherwise.
std::string sqlNumber(std::string_view text);

// True when parseNumber accepts the text.
bool isNumericText(std::string_view text);

// The numeric value of a text, 0 when it is not a number.
double numberOr0(std::string_view text);

// True when the text is not empty and every character is '0' to '9'.
bool isAllDigits(std::string_view text);

} // namespace ormex::platform

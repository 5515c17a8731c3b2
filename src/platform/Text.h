#pragma once

#include <string>
#include <string_view>
#include <vector>

// Small text helpers shared by every layer. Text is UTF-8; case folding is ASCII only,
// which is how the database compares keys and identifiers.
namespace ormex::platform {

bool iequals(std::string_view a, std::string_view b);
std::string toLowerAscii(std::string_view s);
std::string toUpperAscii(std::string_view s);

// Blanks are spaces and tabs; trim() also removes CR and LF.
std::string trim(std::string_view s);
std::string trimRight(std::string_view s);
std::string trimLeft(std::string_view s);

// Doubles every single quote so the text can stand between quotes in a statement.
std::string quoteDoubled(std::string_view s);
// The text between single quotes, its quotes doubled: a text literal of a statement.
std::string quoted(std::string_view s);

std::vector<std::string> split(std::string_view s, char separator);
std::string join(const std::vector<std::string>& parts, std::string_view separator);
bool startsWithNoCase(std::string_view s, std::string_view prefix);

// Hashing and equality without ASCII case, for maps keyed by names as written.
struct NoCaseHash
{
    std::size_t operator()(std::string_view s) const;
};
struct NoCaseEqual
{
    bool operator()(std::string_view a, std::string_view b) const { return iequals(a, b); }
};
bool containsText(std::string_view haystack, std::string_view needle);

// Number of characters (code points) of a UTF-8 text.
std::size_t utf8Length(std::string_view s);
// The first `count` characters of a UTF-8 text (all of it when it is shorter), never cutting one.
std::string firstCharacters(std::string_view s, std::size_t count);

// Where the first byte that is not part of well-formed UTF-8 stands (an overlong form, a
// surrogate, a code point past U+10FFFF, a truncated sequence, a stray continuation byte), or
// npos when the whole text is well-formed. ASCII is checked eight bytes at a time.
std::size_t invalidUtf8At(std::string_view s);

// Width of a text in the double-byte code page: ASCII counts 1, any other character 2.
std::size_t dbcsWidth(std::string_view s);

// The code after the first "|" of a list entry ("正常      |0" gives "0"); the whole text when
// it has no "|".
std::string entryCode(std::string_view entry);

// A list entry: the name padded with blanks to `width` double-byte columns, "|", the code.
std::string padEntry(std::string_view name, std::size_t width, std::string_view code);

} // namespace ormex::platform

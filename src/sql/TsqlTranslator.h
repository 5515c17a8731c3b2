#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "Dialect.h"

// The translation of the system's T-SQL that every engine shares: the statement read token by
// token, its literals and variables turned into parameters, dbo. prefixes dropped, and the
// server's functions rewritten. Where engines spell a piece differently, their Spelling says how.
namespace ormex::db {

struct Spelling
{
    std::string_view ifnull;      // isnull(a, b)
    std::string_view decrypt;     // dbo.f_decrypt(x)
    std::string_view textType;    // what convert/cast to a character type writes
    std::string_view realType;    // ... to float, decimal, numeric, money
    std::string_view integerType; // ... to int, bigint, smallint, tinyint, bit
    // '[' keeps [name] as written; any other character quotes the name with it, in lower case.
    char bracketQuote = '[';
    // round(value, decimals) needs an exact number on this engine.
    bool roundNumeric = false;
    // Parameters carry no type, and this engine gives one the type of what it is compared with or
    // passed to, but reads it as text where nothing typed stands beside it (385 > 1750 would
    // compare texts, 1 + 2 would find no operator). Such a number literal is cast to this type;
    // empty where parameters need no type.
    std::string_view literalNumberType = {};
};

// Translates tokens [begin, end) as Dialect::translate does.
std::string translateTokens(const Dialect& dialect, const Spelling& spelling,
                            const std::vector<Token>& tokens, std::size_t begin, std::size_t end,
                            Translation& translation);

} // namespace ormex::db

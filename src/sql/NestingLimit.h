#pragma once

#include <string>

#include "DbError.h"

// How deeply statements (IF, ELSE, BEGIN … END) and parentheses may nest. The parser and the
// dialect's translation go one call deeper for each level, so deeper text is refused long before
// the stack runs out, also in sanitizer builds, whose frames are larger. The system's own batches
// nest a few levels.
namespace ormex::db {

inline constexpr int kMaxNesting = 128;

inline ParseError nestingTooDeep(int line)
{
    return ParseError(line, "nesting is too deep (more than " + std::to_string(kMaxNesting) + " levels)");
}

} // namespace ormex::db

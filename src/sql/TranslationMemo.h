#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "Dialect.h"
#include "TsqlLexer.h"

// Remembers how the statements of a batch were translated, keyed by their tokens with literals
// and variables left out. A batch over many cards repeats a few statements with other card
// numbers and amounts: each is translated once, and the others take the remembered text with
// their own literals and variables as its parameters. A literal the translation wrote as text
// (a result column, an ORDER BY position, a data type's length, a convert style) must match
// for the remembered text to apply.
namespace ormex::db {

class TranslationMemo
{
public:
    using SlotOf = std::function<long(std::string_view)>;

    // The remembered translation of tokens [begin, end) read in `context` (a statement kind),
    // with `arguments` set to this statement's parameters; null when there is none (then the
    // caller translates and calls remember()).
    struct Recalled
    {
        const std::string& sql;
        std::uint32_t& shape; // the program's number for the text, once it has one (else kNoShape)
    };
    static constexpr std::uint32_t kNoShape = 0xffffffffu;

    std::optional<Recalled> recall(char context, const std::vector<Token>& tokens, std::size_t begin,
                                   std::size_t end, const SlotOf& slotOf, std::vector<Argument>& arguments);
    // Remembers the translation of the tokens last given to recall(); returns where the program's
    // number for the text is to be kept, or null when the translation is not remembered.
    std::uint32_t* remember(const std::string& sql, const std::vector<Argument>& arguments);

private:
    struct Entry
    {
        std::vector<std::pair<std::uint32_t, std::string_view>> written; // literals kept as text
        std::vector<std::uint32_t> parameters; // parameter k → the k-th literal or variable read
        std::string sql;
        std::uint32_t shape = kNoShape;
    };
    bool fill(const Entry& entry, const SlotOf& slotOf, std::vector<Argument>& arguments) const;

    std::unordered_map<std::string, std::deque<Entry>> m_entries; // an entry stays where it is
    // The statement last read: its key, and its literals and variables in order.
    std::string m_key;
    std::vector<const Token*> m_values;
};

} // namespace ormex::db

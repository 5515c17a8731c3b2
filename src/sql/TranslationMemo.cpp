#include "TranslationMemo.h"

namespace ormex::db {

namespace {

// Statements with other shapes than those remembered are translated without being remembered.
constexpr std::size_t kMaxRemembered = 1024;

// Where an argument points in the batch text: a literal's text, a variable's place.
std::uint32_t argumentOffset(const Argument& a)
{
    return a.kind() == Argument::Kind::Variable ? a.length() : a.at;
}

} // namespace

std::optional<TranslationMemo::Recalled>
TranslationMemo::recall(char context, const std::vector<Token>& tokens, std::size_t begin, std::size_t end,
                        const SlotOf& slotOf, std::vector<Argument>& arguments)
{
    m_key.assign(1, context);
    m_values.clear();
    for (std::size_t i = begin; i < end; ++i) {
        const Token& t = tokens[i];
        switch (t.kind) {
        case Token::Kind::String:
            m_key += '\x01';
            m_values.push_back(&t);
            break;
        case Token::Kind::Number:
            m_key += '\x02';
            m_values.push_back(&t);
            break;
        case Token::Kind::Variable:
            m_key += '\x03';
            m_values.push_back(&t);
            break;
        default:
            m_key.append(t.text);
            m_key += t.bracketed ? '\x04' : ' ';
        }
    }
    const auto found = m_entries.find(m_key);
    if (found == m_entries.end()) return std::nullopt;
    for (Entry& entry : found->second) {
        bool same = true;
        for (const auto& [value, text] : entry.written)
            same = same && m_values[value]->text == text;
        if (!same) continue;
        if (!fill(entry, slotOf, arguments)) return std::nullopt;
        return Recalled{entry.sql, entry.shape};
    }
    return std::nullopt;
}

bool TranslationMemo::fill(const Entry& entry, const SlotOf& slotOf, std::vector<Argument>& arguments) const
{
    arguments.clear();
    for (std::uint32_t value : entry.parameters) {
        const Token& t = *m_values[value];
        long slot = 0;
        if (t.kind == Token::Kind::Variable && (slot = slotOf(t.text)) < 0)
            return false; // translating names the undeclared variable
        arguments.push_back(argumentOf(t, static_cast<std::uint32_t>(slot)));
    }
    return true;
}

std::uint32_t* TranslationMemo::remember(const std::string& sql, const std::vector<Argument>& arguments)
{
    auto found = m_entries.find(m_key);
    if (found == m_entries.end() && m_entries.size() >= kMaxRemembered) return nullptr;
    Entry entry;
    entry.sql = sql;
    const auto count = static_cast<std::uint32_t>(m_values.size());
    std::vector<std::uint32_t> offsets;
    offsets.reserve(count);
    for (const Token* value : m_values)
        offsets.push_back(argumentOffset(argumentOf(*value)));
    std::vector<bool> used(count, false);
    // A literal is found by where its text is, which no other value shares. Literals mostly come in
    // the order their tokens were read, so the search for one starts after the literal last found:
    // a query with hundreds of literals is not searched over and over. A variable is found by its
    // slot, which its other uses share: the first use stands for it.
    std::uint32_t next = 0;
    for (const Argument& a : arguments) {
        const std::uint32_t wanted = argumentOffset(a);
        const bool literal = a.kind() != Argument::Kind::Variable;
        const std::uint32_t start = literal ? next : 0;
        std::uint32_t value = count;
        for (std::uint32_t k = 0; k < count && value == count; ++k) {
            const std::uint32_t candidate = start + k < count ? start + k : start + k - count;
            if (offsets[candidate] == wanted &&
                (m_values[candidate]->kind == Token::Kind::Variable) != literal)
                value = candidate;
        }
        if (value == count) return nullptr; // a parameter not read from this statement's tokens
        entry.parameters.push_back(value);
        used[value] = true;
        if (literal) next = value + 1 == count ? 0 : value + 1;
    }
    for (std::uint32_t value = 0; value < m_values.size(); ++value)
        if (!used[value]) {
            if (m_values[value]->kind == Token::Kind::Variable) return nullptr; // always a parameter
            entry.written.emplace_back(value, m_values[value]->text);
        }
    // Entries of one key are few: a deque keeps each where it is while others are added.
    if (found == m_entries.end()) found = m_entries.emplace(m_key, std::deque<Entry>()).first;
    if (found->second.size() >= 16) return nullptr;
    found->second.push_back(std::move(entry));
    return &found->second.back().shape;
}

} // namespace ormex::db

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
    std::vector<bool> used(m_values.size(), false);
    for (const Argument& a : arguments) {
        std::uint32_t value = 0;
        while (value < m_values.size() && argumentOffset(argumentOf(*m_values[value])) != argumentOffset(a))
            ++value;
        if (value == m_values.size()) return nullptr; // a parameter not read from this statement's tokens
        entry.parameters.push_back(value);
        used[value] = true;
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

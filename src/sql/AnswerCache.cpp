#include "AnswerCache.h"

#include <set>

namespace ormex::db {

void AnswerCache::keep(const BatchProgram& program, const std::vector<StatementFootprint>& footprints)
{
    std::set<std::string> written;
    for (const StatementFootprint& footprint : footprints)
        written.insert(footprint.writes.begin(), footprint.writes.end());
    m_kept.assign(program.shapes.size(), false);
    m_answers.assign(program.shapes.size(), {});
    for (std::size_t shape = 0; shape < program.shapes.size(); ++shape) {
        const Step& first = program.steps[program.shapeFirstStep[shape]];
        const StatementFootprint& footprint = footprints[shape];
        if (first.kind != Step::Kind::IfNot && first.kind != Step::Kind::SetQuery) continue;
        if (footprint.variableFunction || footprint.reads.empty() || !footprint.writes.empty()) continue;
        bool unwritten = true;
        for (const auto& table : footprint.reads)
            unwritten = unwritten && written.count(table) == 0;
        m_kept[shape] = unwritten;
    }
}

void AnswerCache::keyOf(const BatchProgram& program, const Step& step,
                        std::span<const platform::Value> variables)
{
    m_key.clear();
    for (std::uint32_t k = 0; k < step.argumentCount; ++k) {
        const Argument& a = program.arguments[step.firstArgument + k];
        if (a.kind() == Argument::Kind::Variable) {
            const platform::Value& value = variables[a.at];
            m_key += static_cast<char>('0' + static_cast<int>(value.type()));
            if (value.type() == platform::Value::Type::Double) {
                // Every bit: two reals that print alike are still two values.
                const double number = value.toDouble();
                m_key.append(reinterpret_cast<const char*>(&number), sizeof number);
            } else if (!value.isNull()) {
                m_key += value.toString();
            }
        } else {
            m_key += a.kind() == Argument::Kind::Text ? 'T' : 'N';
            m_key.append(program.text.substr(a.at, a.length()));
        }
        m_key += '\0';
    }
}

} // namespace ormex::db

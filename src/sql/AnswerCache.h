#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <unordered_map>
#include <vector>

#include "BatchProgram.h"
#include "StatementFootprint.h"
#include "platform/Value.h"

// The answers of a batch's conditions and value queries that cannot change while it runs: a
// query that reads only tables the batch does not write, and calls nothing whose value changes by
// itself (the clock), gives the same answer for the same arguments throughout the batch, whose
// transaction keeps other writers of its tables out. Such answers are kept by their arguments, so
// a condition asked once per card is sent to the engine once.
namespace ormex::db {

class AnswerCache
{
public:
    // Decides, per shape of the program, whether its answers may be kept: `footprintOf(shape)` tells
    // what a shape reads, writes and calls.
    template <typename FootprintOf> void reset(const BatchProgram& program, FootprintOf&& footprintOf)
    {
        std::vector<StatementFootprint> footprints;
        footprints.reserve(program.shapes.size());
        for (std::size_t shape = 0; shape < program.shapes.size(); ++shape)
            footprints.push_back(footprintOf(shape));
        keep(program, footprints);
    }

    // True when the answers of the shape are kept.
    bool keeps(std::size_t shape) const { return m_kept[shape]; }

    // The step's answer: kept, or asked through `ask()` (and kept when it may be).
    template <typename Ask>
    platform::Value answer(const BatchProgram& program, const Step& step,
                           std::span<const platform::Value> variables, Ask&& ask)
    {
        if (!m_kept[step.shape]) return ask();
        keyOf(program, step, variables);
        auto& answers = m_answers[step.shape];
        if (auto found = answers.find(m_key); found != answers.end()) return found->second;
        platform::Value value = ask();
        if (answers.size() < kKeptAnswers) answers.emplace(m_key, value);
        return value;
    }

private:
    // Answers kept per shape: a condition asked with ever new arguments stops being remembered.
    static constexpr std::size_t kKeptAnswers = 4096;

    void keep(const BatchProgram& program, const std::vector<StatementFootprint>& footprints);
    void keyOf(const BatchProgram& program, const Step& step, std::span<const platform::Value> variables);

    std::vector<bool> m_kept;                                                // by shape
    std::vector<std::unordered_map<std::string, platform::Value>> m_answers; // by shape
    std::string m_key; // the arguments of the query being asked
};

} // namespace ormex::db

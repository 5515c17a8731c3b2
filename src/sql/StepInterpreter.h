#pragma once

#include <span>

#include "ArgumentBinding.h"
#include "BatchProgram.h"
#include "platform/Value.h"

// The control flow of a parsed batch, the same on every engine: steps in order, SET of a constant
// without asking the engine, the jumps of IF/ELSE. The engine's runner says how a statement is
// run (`run(step)`) and how a statement's one value is asked for (`ask(step)`, for SET from a
// query and for a condition).
namespace ormex::db {

template <typename Run, typename Ask>
void interpretSteps(const BatchProgram& program, std::span<platform::Value> variables, Run&& run, Ask&& ask)
{
    const auto& steps = program.steps;
    for (std::size_t next = 0; next < steps.size();) {
        const Step& step = steps[next];
        switch (step.kind) {
        case Step::Kind::Run:
            run(step);
            ++next;
            break;
        case Step::Kind::SetValue:
            variables[step.target] =
                argumentValue(program.text, program.arguments[step.firstArgument], variables);
            ++next;
            break;
        case Step::Kind::SetQuery:
            variables[step.target] = ask(step);
            ++next;
            break;
        case Step::Kind::IfNot:
            // A condition that is unknown (null) takes the ELSE branch, as on the server.
            next = ask(step).toInt() == 1 ? next + 1 : step.target;
            break;
        case Step::Kind::Jump:
            next = step.target;
            break;
        }
    }
}

} // namespace ormex::db

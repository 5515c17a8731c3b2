// The fuzz target of the T-SQL front end: any bytes go to the lexer, to the batch parser and to
// both single-query paths, with the SQLite dialect. Text outside the dialect is refused with a
// DbError (a ParseError naming its line); anything else is a fault: a crash, a sanitizer report,
// another exception, or a parsed program that points outside its text, shapes or variables.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "sql/DbError.h"
#include "sql/SqliteDialect.h"
#include "sql/TsqlLexer.h"
#include "sql/TsqlParser.h"

namespace {

using namespace ormex::db;

void require(bool holds)
{
    if (!holds) std::abort();
}

// A literal points into the text; a variable names a declared slot and a place in the text.
void checkArgument(const Argument& a, std::string_view text, std::size_t slots)
{
    if (a.kind() == Argument::Kind::Variable)
        require(a.at < slots && a.length() < text.size());
    else
        require(std::size_t{a.at} + a.length() <= text.size());
}

void checkProgram(const BatchProgram& program, std::string_view text)
{
    require(program.text.data() == text.data() && program.text.size() == text.size());
    require(program.shapeFirstStep.size() == program.shapes.size());
    for (const Step& step : program.steps) {
        require(std::size_t{step.textAt} + step.textLength <= text.size());
        require(std::size_t{step.firstArgument} + step.argumentCount <= program.arguments.size());
        switch (step.kind) {
        case Step::Kind::Run:
            require(step.shape < program.shapes.size());
            break;
        case Step::Kind::SetValue:
            require(step.target < program.slotCount && step.argumentCount == 1);
            break;
        case Step::Kind::SetQuery:
            require(step.target < program.slotCount && step.shape < program.shapes.size());
            break;
        case Step::Kind::IfNot:
            require(step.shape < program.shapes.size());
            [[fallthrough]];
        case Step::Kind::Jump:
            require(step.target <= program.steps.size());
            break;
        }
    }
    for (const Argument& a : program.arguments)
        checkArgument(a, text, program.slotCount);
}

template <typename Parse> void refusedOrParsed(Parse&& parse)
{
    try {
        parse();
    } catch (const DbError&) {
        // Refused text: what the front end is for.
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const Dialect& dialect = SqliteDialect::instance();
    refusedOrParsed([&] { tokenize(text); });
    refusedOrParsed([&] { checkProgram(parseBatch(text, dialect), text); });
    refusedOrParsed([&] {
        for (const Argument& a : parseQueryShape(text, dialect).arguments)
            checkArgument(a, text, 0);
    });
    refusedOrParsed([&] { parseQuery(text, dialect); });
    return 0;
}

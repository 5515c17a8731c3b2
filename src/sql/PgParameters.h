#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "BatchProgram.h"
#include "platform/Value.h"

// The values of a statement's parameters as libpq sends them: each as text (or null) with the
// type the server is to read it as. A literal of the batch goes untyped, as the literal written
// out would: it takes the type of what it stands beside, so '5' goes into a number column, 9
// compares with a text column and 'abc' with a key without regard to case (where nothing typed
// stands beside a number, the translation has cast it already). A variable goes with the type of
// the value it holds, a text untyped as a text literal is (a balance kept in a varchar variable
// goes into a number column as on the server), a null with the number type it was declared with.
namespace ormex::db {

// Type numbers of the server's built-in types (pg_type.h).
namespace pgtype {
inline constexpr unsigned kUnknown = 0; // left to the server to infer
inline constexpr unsigned kBool = 16;
inline constexpr unsigned kInt8 = 20;
inline constexpr unsigned kInt2 = 21;
inline constexpr unsigned kInt4 = 23;
inline constexpr unsigned kFloat4 = 700;
inline constexpr unsigned kFloat8 = 701;
inline constexpr unsigned kNumeric = 1700;
} // namespace pgtype

class PgParameters
{
public:
    void clear();
    // Adds arguments [first, first + count) of a statement read from `text`.
    template <typename Arguments>
    void add(std::string_view text, const Arguments& arguments, std::size_t first, std::size_t count,
             std::span<const platform::Value> variables, const std::vector<VariableType>& slotTypes)
    {
        for (std::size_t k = 0; k < count; ++k)
            add(text, arguments[first + k], variables, slotTypes);
    }
    void add(std::string_view text, const Argument& argument, std::span<const platform::Value> variables,
             const std::vector<VariableType>& slotTypes);

    int count() const { return static_cast<int>(m_types.size()); }
    const std::vector<unsigned>& types() const { return m_types; }
    // For libpq: the values (null for SQL NULL), valid until the next clear() or add().
    const char* const* values();

private:
    void add(const platform::Value& value, VariableType declared);

    std::vector<unsigned> m_types;
    std::vector<std::string> m_texts;
    std::vector<bool> m_null;
    std::vector<const char*> m_values;
};

} // namespace ormex::db

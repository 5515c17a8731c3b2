#include "DerivedColumn.h"

namespace ormex::db {

std::string derivedAssignment(const DerivedColumn& derived, const std::vector<std::string>& newSources)
{
    std::string carried;
    for (std::string_view column : derived.carried)
        carried += "," + std::string(column);
    std::string text = "," + std::string(derived.column) + "=" + std::string(derived.function) + "(" +
                       std::string(derived.column);
    for (std::string_view column : derived.sources)
        text += "," + std::string(column);
    text += carried;
    for (const std::string& value : newSources)
        text += "," + value;
    return text + carried + ")";
}

} // namespace ormex::db

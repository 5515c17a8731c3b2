#include "BatchProgram.h"

#include <algorithm>

namespace ormex::db {

static_assert(sizeof(Step) == 24);
static_assert(sizeof(Argument) == 8);

int BatchProgram::lineAt(std::size_t offset) const
{
    const auto upTo = text.substr(0, std::min(offset, text.size()));
    return 1 + static_cast<int>(std::count(upTo.begin(), upTo.end(), '\n'));
}

} // namespace ormex::db

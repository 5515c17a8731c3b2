#include "CsvText.h"

namespace ormex::platform {

std::string csvField(std::string_view text)
{
    if (text.find_first_of(",\"\r\n") == std::string_view::npos) return std::string(text);
    std::string quoted = "\"";
    for (char c : text) {
        if (c == '"') quoted += '"';
        quoted += c;
    }
    return quoted + "\"";
}

std::string csvLines(const Recordset& rows)
{
    std::string out;
    for (std::size_t c = 0; c < rows.columns().size(); ++c)
        out += (c ? "," : "") + csvField(rows.columns()[c]);
    out += "\r\n";
    for (std::size_t r = 0; r < rows.recordCount(); ++r) {
        for (std::size_t c = 0; c < rows.columns().size(); ++c)
            out += (c ? "," : "") + csvField(rows.cell(r, c).toString());
        out += "\r\n";
    }
    return out;
}

} // namespace ormex::platform

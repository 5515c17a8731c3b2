#include "TablePrinter.h"

#include "platform/CsvFile.h"

#include <algorithm>
#include <string>
#include <vector>

#include "platform/Text.h"

namespace ormex::tools {

namespace {

void cell(std::ostream& out, const std::string& text, std::size_t width)
{
    out << text << std::string(width - std::min(width, platform::dbcsWidth(text)), ' ');
}

} // namespace

void printTable(std::ostream& out, const platform::Recordset& rows)
{
    const auto& columns = rows.columns();
    std::vector<std::size_t> widths;
    for (const auto& name : columns)
        widths.push_back(platform::dbcsWidth(name));
    for (std::size_t r = 0; r < rows.recordCount(); ++r)
        for (std::size_t c = 0; c < columns.size(); ++c)
            widths[c] = std::max(widths[c], platform::dbcsWidth(rows.cell(r, c).toString()));
    auto line = [&] {
        for (std::size_t c = 0; c < columns.size(); ++c)
            out << (c ? "-+-" : "") << std::string(widths[c], '-');
        out << '\n';
    };
    for (std::size_t c = 0; c < columns.size(); ++c) {
        out << (c ? " | " : "");
        cell(out, columns[c], widths[c]);
    }
    out << '\n';
    line();
    for (std::size_t r = 0; r < rows.recordCount(); ++r) {
        for (std::size_t c = 0; c < columns.size(); ++c) {
            out << (c ? " | " : "");
            cell(out, rows.cell(r, c).toString(), widths[c]);
        }
        out << '\n';
    }
    out << "(" << rows.recordCount() << (rows.recordCount() == 1 ? " row)" : " rows)") << '\n';
}

void printCsv(std::ostream& out, const std::string& title, const platform::Recordset& rows)
{
    out << platform::csvField(title) << "\r\n";
    for (std::size_t c = 0; c < rows.columns().size(); ++c)
        out << (c ? "," : "") << platform::csvField(rows.columns()[c]);
    out << "\r\n";
    for (std::size_t r = 0; r < rows.recordCount(); ++r) {
        for (std::size_t c = 0; c < rows.columns().size(); ++c)
            out << (c ? "," : "") << platform::csvField(rows.cell(r, c).toString());
        out << "\r\n";
    }
}

} // namespace ormex::tools

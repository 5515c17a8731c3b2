#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "MessageService.h"

// Tables saved as CSV files for spreadsheet programs: UTF-8 with a byte-order mark (without it
// spreadsheet programs read Chinese text in the local code page), fields quoted the RFC 4180
// way, every line ended by CR LF. The module's grids and the host's lists save through here.
namespace ormex::platform {

using CsvRows = std::vector<std::vector<std::string>>;

// UTF-8's byte-order mark, written first.
inline constexpr std::string_view kUtf8Bom = "\xEF\xBB\xBF";

// One field as it stands in a line: between quotes, its quotes doubled, when it holds a comma, a
// quote, a CR or an LF; after a ' when a spreadsheet would take it for a formula (it begins with
// = + - @, a tab or a CR, and is not a plain number).
std::string csvField(std::string_view text);

// The whole file: the byte-order mark, then each row's fields joined by commas and ended by CR
// LF, each field as csvField writes it.
std::string csvText(const CsvRows& rows);

// Writes a file whole or not at all: into a temporary file in the same folder, which replaces
// the file once it is complete, so that a failure leaves the folder as it was. Throws
// std::runtime_error with a text for the operator naming the file and the cause.
void writeFileWhole(const std::string& path, std::string_view bytes);

// Asks the operator where to save (offering `fileTitle` plus ".csv", characters a file name
// cannot hold replaced) and writes the rows there. A failure is shown as an error. True when the
// file was written; false when the operator cancelled or writing failed.
bool saveCsv(MessageService& dialogue, const std::string& fileTitle, const CsvRows& rows);

} // namespace ormex::platform

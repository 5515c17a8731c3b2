#pragma once

#include <string>

#include "platform/CsvFile.h"

// Saving a grid as a CSV file, as the operator sees it. Every grid offers it as "导出CSV…" in
// its context menu and with Ctrl+E.
namespace ormex::module::frame {

class Grid;

// The rows of the file: the captions of the visible columns as the header shows them (the
// row-number column included), then every visible row with each cell's text as shown. A ticked
// check box is "√", an unticked one empty.
platform::CsvRows GridCsvRows(const Grid& grid);

// The name offered for the file: the title of the screen and, when the grid is on a tab, the
// tab's caption ("积分管理-积分增减").
std::string GridCsvTitle(const Grid& grid);

// Asks where to save and writes the file; a failure is shown to the operator.
void ExportGridCsv(const Grid& grid);

// Gives the grid the command "导出CSV…" (object name "exportCsv") in its context menu and with
// Ctrl+E while the grid has the focus.
void AddCsvExportCommand(Grid& grid);

} // namespace ormex::module::frame

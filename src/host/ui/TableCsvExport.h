#pragma once

#include <string>

#include "platform/CsvFile.h"

class QTableWidget;

// Saving one of the host's lists as a CSV file, the way the component's grids save theirs: the
// visible columns under their captions, the visible rows with the text their cells show.
namespace ormex::host {

platform::CsvRows TableCsvRows(const QTableWidget& table);

// Gives the list the command "导出CSV…" (object name "exportCsv") in its context menu and with
// Ctrl+E while it has the focus; the file is offered as `fileTitle` plus ".csv".
void AddCsvExportCommand(QTableWidget& table, const std::string& fileTitle);

} // namespace ormex::host

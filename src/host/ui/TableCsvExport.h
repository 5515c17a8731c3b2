#pragma once

#include <string>

#include "platform/CsvFile.h"

class QTableView;

// Saving one of the host's lists as a CSV file, the way the component's grids save theirs: the
// visible columns under their captions, the visible rows with the text their cells show.
namespace ormex::host {

platform::CsvRows TableCsvRows(const QTableView& table);

// Gives the list the command "导出CSV…" (object name "exportCsv") in its context menu and with
// Ctrl+E while it has the focus; the file is offered as `fileTitle` plus ".csv". A list whose model
// reads its rows as the operator scrolls reads the rest first: the file holds the whole list.
void AddCsvExportCommand(QTableView& table, const std::string& fileTitle);

} // namespace ormex::host

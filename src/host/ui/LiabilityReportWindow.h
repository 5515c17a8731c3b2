#pragma once

#include <QDialog>

#include <string>

#include "platform/CsvFile.h"
#include "store/LiabilityReport.h"

class QDateEdit;
class QTableWidget;
class QLabel;

class QChartView;

namespace ormex::host {

// The liability report in the launcher: what the company owes its members as of now, by card
// type, status and branch, and what deleted cards still hold on a line of their own, with a bar
// chart of the stored value and points by card type, and the movements of the period chosen;
// printed to PDF or exported as CSV.
class LiabilityReportWindow : public QDialog
{
public:
    LiabilityReportWindow(std::string databasePath, QWidget* parent = nullptr);

    // Reads the report again for the dates shown.
    void refresh();
    const db::LiabilityReport& report() const { return m_report; }
    QTableWidget* table() const { return m_table; }
    QChartView* chart() const { return m_chart; }

    // Writes the tables as CSV (UTF-8 with a byte-order mark) or the window's report as a PDF;
    // false with the reason told to the operator when the file cannot be written.
    bool exportCsv(const QString& file);
    bool printPdf(const QString& file);

private:
    void fill();
    platform::CsvRows csvRows() const;

    std::string m_path;
    db::LiabilityReport m_report;
    QDateEdit* m_from = nullptr;
    QDateEdit* m_to = nullptr;
    QLabel* m_summary = nullptr;
    QTableWidget* m_table = nullptr;
    QChartView* m_chart = nullptr;
};

} // namespace ormex::host

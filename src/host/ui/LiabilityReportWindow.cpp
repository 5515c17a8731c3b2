#include "LiabilityReportWindow.h"

#include <QBarCategoryAxis>
#include <QBarSeries>
#include <QBarSet>
#include <QChart>
#include <QChartView>
#include <QDateEdit>
#include <QFileDialog>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QPainter>
#include <QPrinter>
#include <QPushButton>
#include <QTableWidget>
#include <QTextDocument>
#include <QVBoxLayout>
#include <QValueAxis>

#include "HostLog.h"
#include "platform/Clock.h"
#include "platform/CsvFile.h"
#include "platform/HostServices.h"
#include "platform/NumberText.h"
#include "store/SharedDatabases.h"

namespace ormex::host {

namespace {

QDate toQDate(const platform::Date& d)
{
    return QDate(d.year, d.month, d.day);
}

QString q(const std::string& text)
{
    return QString::fromStdString(text);
}

} // namespace

LiabilityReportWindow::LiabilityReportWindow(std::string databasePath, QWidget* parent)
    : QDialog(parent), m_path(std::move(databasePath))
{
    setObjectName("liabilityReport");
    setWindowTitle(QStringLiteral("会员储值与积分负债报表"));
    auto* layout = new QVBoxLayout(this);

    auto* periodRow = new QHBoxLayout;
    const platform::Date today = platform::today();
    m_from = new QDateEdit(toQDate({today.year, today.month, 1}), this);
    m_to = new QDateEdit(toQDate(today), this);
    for (QDateEdit* edit : {m_from, m_to}) {
        edit->setDisplayFormat(QStringLiteral("yyyy-MM-dd"));
        edit->setCalendarPopup(true);
    }
    periodRow->addWidget(new QLabel(QStringLiteral("期间变动：从"), this));
    periodRow->addWidget(m_from);
    periodRow->addWidget(new QLabel(QStringLiteral("至"), this));
    periodRow->addWidget(m_to);
    auto* query = new QPushButton(QStringLiteral("查询(&S)"), this);
    periodRow->addWidget(query);
    periodRow->addStretch(1);
    auto* csv = new QPushButton(QStringLiteral("导出CSV…"), this);
    auto* pdf = new QPushButton(QStringLiteral("打印PDF…"), this);
    periodRow->addWidget(csv);
    periodRow->addWidget(pdf);
    layout->addLayout(periodRow);

    m_summary = new QLabel(this);
    m_summary->setObjectName("summary");
    m_summary->setWordWrap(true);
    layout->addWidget(m_summary);
    auto* body = new QHBoxLayout;
    m_table = new QTableWidget(this);
    m_table->setColumnCount(4);
    m_table->verticalHeader()->hide();
    m_table->horizontalHeader()->hide();
    m_table->setEditTriggers(QAbstractItemView::NoEditTriggers);
    body->addWidget(m_table, 3);
    m_chart = new QChartView(this);
    m_chart->setRenderHint(QPainter::Antialiasing);
    m_chart->setMinimumWidth(360);
    body->addWidget(m_chart, 2);
    layout->addLayout(body, 1);

    connect(query, &QPushButton::clicked, this, &LiabilityReportWindow::refresh);
    connect(csv, &QPushButton::clicked, this, [this] {
        platform::saveCsv(platform::HostServices::instance().messages(), "负债报表", csvRows());
    });
    connect(pdf, &QPushButton::clicked, this, [this] {
        const QString file =
            QFileDialog::getSaveFileName(this, QStringLiteral("打印PDF"), QStringLiteral("负债报表.pdf"),
                                         QStringLiteral("PDF 文件 (*.pdf)"));
        if (!file.isEmpty()) printPdf(file);
    });
    resize(1000, 640);
    refresh();
}

void LiabilityReportWindow::refresh()
{
    try {
        m_report = db::liabilityReport(db::sharedDatabase(m_path),
                                       m_from->date().toString(QStringLiteral("yyyy-MM-dd")).toStdString(),
                                       m_to->date().toString(QStringLiteral("yyyy-MM-dd")).toStdString());
    } catch (const std::exception& error) {
        qCWarning(lcHost, "reading the liability report failed: %s", error.what());
        platform::HostServices::instance().messages().error(std::string("读取报表失败：") + error.what());
        return;
    }
    fill();
}

void LiabilityReportWindow::fill()
{
    const db::LiabilityLine& deleted = m_report.deleted;
    m_summary->setText(
        QStringLiteral("截至目前：%1 张卡，储值余额合计 %2 元，剩余积分合计 %3%4%5")
            .arg(m_report.total.cards)
            .arg(q(platform::formatFixed(m_report.total.balance, 2)))
            .arg(q(platform::formatNumber(m_report.total.points)))
            .arg(deleted.cards == 0 ? QString()
                                    : QStringLiteral("（含已删除但仍有余额或积分的卡 %1 张：%2 元、%3 积分）")
                                          .arg(deleted.cards)
                                          .arg(q(platform::formatFixed(deleted.balance, 2)))
                                          .arg(q(platform::formatNumber(deleted.points))))
            .arg(m_report.undecodable.empty() ? QString()
                                              : QStringLiteral("；另有 %1 张卡的余额无法解码，未计入合计")
                                                    .arg(m_report.undecodable.size())));
    m_table->setRowCount(0);
    QFont bold = m_table->font();
    bold.setBold(true);
    for (const auto& [title, rows] : db::liabilityTables(m_report)) {
        int row = m_table->rowCount();
        m_table->insertRow(row);
        auto* heading = new QTableWidgetItem(q(title));
        heading->setFont(bold);
        m_table->setItem(row, 0, heading);
        m_table->setSpan(row, 0, 1, 4);
        row = m_table->rowCount();
        m_table->insertRow(row);
        for (std::size_t c = 0; c < rows.columns().size(); ++c) {
            auto* item = new QTableWidgetItem(q(rows.columns()[c]));
            item->setFont(bold);
            item->setBackground(QColor(0xee, 0xee, 0xee));
            m_table->setItem(row, static_cast<int>(c), item);
        }
        for (std::size_t r = 0; r < rows.recordCount(); ++r) {
            row = m_table->rowCount();
            m_table->insertRow(row);
            for (std::size_t c = 0; c < rows.columns().size(); ++c) {
                auto* item = new QTableWidgetItem(q(rows.cell(r, c).toString()));
                if (c > 0) item->setTextAlignment(Qt::AlignRight | Qt::AlignVCenter);
                m_table->setItem(row, static_cast<int>(c), item);
            }
        }
    }
    m_table->resizeColumnsToContents();
    m_table->horizontalHeader()->setStretchLastSection(true);

    // Stored value and points owed, by card type: two scales, two axes.
    auto* chart = new QChart;
    chart->setTitle(QStringLiteral("按卡类别：储值余额与剩余积分"));
    auto* balance = new QBarSet(QStringLiteral("储值余额（元）"));
    auto* points = new QBarSet(QStringLiteral("剩余积分"));
    QStringList types;
    double highestBalance = 0, highestPoints = 0;
    for (const auto& line : m_report.byType) {
        // "03 金卡": the name alone fits under a bar.
        const std::size_t space = line.group.find(' ');
        types << q(space == std::string::npos ? line.group : line.group.substr(space + 1));
        *balance << line.balance;
        *points << line.points;
        highestBalance = std::max(highestBalance, line.balance);
        highestPoints = std::max(highestPoints, line.points);
    }
    auto* balanceSeries = new QBarSeries;
    balanceSeries->append(balance);
    auto* pointsSeries = new QBarSeries;
    pointsSeries->append(points);
    chart->addSeries(balanceSeries);
    chart->addSeries(pointsSeries);
    auto* axisX = new QBarCategoryAxis;
    axisX->append(types);
    chart->addAxis(axisX, Qt::AlignBottom);
    auto* balanceAxis = new QValueAxis;
    balanceAxis->setRange(0, std::max(1.0, highestBalance * 1.1));
    balanceAxis->setLabelFormat(QStringLiteral("%.0f"));
    auto* pointsAxis = new QValueAxis;
    pointsAxis->setRange(0, std::max(1.0, highestPoints * 1.1));
    pointsAxis->setLabelFormat(QStringLiteral("%.0f"));
    chart->addAxis(balanceAxis, Qt::AlignLeft);
    chart->addAxis(pointsAxis, Qt::AlignRight);
    for (QBarSeries* series : {balanceSeries, pointsSeries})
        series->attachAxis(axisX);
    balanceSeries->attachAxis(balanceAxis);
    pointsSeries->attachAxis(pointsAxis);
    chart->legend()->setAlignment(Qt::AlignBottom);
    QChart* old = m_chart->chart();
    m_chart->setChart(chart);
    delete old;
}

platform::CsvRows LiabilityReportWindow::csvRows() const
{
    platform::CsvRows lines;
    for (const auto& [title, rows] : db::liabilityTables(m_report)) {
        lines.push_back({title});
        lines.push_back(rows.columns());
        for (std::size_t r = 0; r < rows.recordCount(); ++r) {
            std::vector<std::string> line;
            for (std::size_t c = 0; c < rows.columns().size(); ++c)
                line.push_back(rows.cell(r, c).toString());
            lines.push_back(std::move(line));
        }
        lines.push_back({});
    }
    return lines;
}

bool LiabilityReportWindow::exportCsv(const QString& file)
{
    try {
        platform::writeFileWhole(file.toStdString(), platform::csvText(csvRows()));
        return true;
    } catch (const std::exception& error) {
        qCWarning(lcHost, "exporting the liability report to %s failed: %s", qUtf8Printable(file),
                  error.what());
        platform::HostServices::instance().messages().error(std::string("导出CSV失败。") + error.what());

        return false;
    }
}

bool LiabilityReportWindow::printPdf(const QString& file)
{
    QPrinter printer(QPrinter::HighResolution);
    printer.setOutputFormat(QPrinter::PdfFormat);
    printer.setOutputFileName(file);
    QPainter painter;
    if (!painter.begin(&printer)) {
        platform::HostServices::instance().messages().error("打印PDF失败：无法写入 " + file.toStdString());
        return false;
    }
    // The tables as a document on the first page, the chart on the next.
    QString html =
        QStringLiteral("<h2>会员储值与积分负债报表</h2><p>%1</p>").arg(m_summary->text().toHtmlEscaped());
    for (const auto& [title, rows] : db::liabilityTables(m_report)) {
        html +=
            QStringLiteral("<h3>%1</h3><table border='1' cellspacing='0' cellpadding='3'><tr>").arg(q(title));
        for (const auto& column : rows.columns())
            html += QStringLiteral("<th>%1</th>").arg(q(column).toHtmlEscaped());
        html += QStringLiteral("</tr>");
        for (std::size_t r = 0; r < rows.recordCount(); ++r) {
            html += QStringLiteral("<tr>");
            for (std::size_t c = 0; c < rows.columns().size(); ++c)
                html += QStringLiteral("<td>%1</td>").arg(q(rows.cell(r, c).toString()).toHtmlEscaped());
            html += QStringLiteral("</tr>");
        }
        html += QStringLiteral("</table>");
    }
    QTextDocument document;
    document.setHtml(html);
    document.setPageSize(printer.pageRect(QPrinter::DevicePixel).size());
    document.drawContents(&painter);
    printer.newPage();
    m_chart->render(&painter);
    painter.end();
    return true;
}

} // namespace ormex::host

// A grid filled by a screen's query with every card of the branch, as the operator's search
// (Alt+S) fills it: the points member list (积分管理, tab 0) and the batch recharge list (储值管理,
// tab 1), 1,000 to 100,000 cards. Each run also fills a plain QTableView over a minimal table
// model with the same rows read by the same member list, asked for the grid's columns only (the
// floor), and reports both, with the memory each took above the open, empty screen (the rise of
// the peak resident set).
#include <benchmark/benchmark.h>

#include <QAbstractTableModel>
#include <QApplication>
#include <QPushButton>
#include <QTableView>

#include <malloc.h>

#include <array>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <string>
#include <vector>

#include "module/frame/Gateway.h"
#include "module/frame/Grid.h"
#include "module/points/frmPointManage.h"
#include "module/storedvalue/frmStoreCardManage.h"
#include "platform/BalanceCodec.h"
#include "support/TestHost.h"

using namespace ormex;

namespace {

// The resident set now and its peak, in bytes (/proc/self/status).
long statusBytes(const char* key)
{
    std::ifstream status("/proc/self/status");
    std::string line;
    const std::size_t keyLength = std::strlen(key);
    while (std::getline(status, line))
        if (line.compare(0, keyLength, key) == 0) return std::stol(line.substr(keyLength + 1)) * 1024;
    return 0;
}

// Gives freed memory back and starts a new peak from the resident set as it stands.
long startPeak()
{
    malloc_trim(0);
    std::ofstream("/proc/self/clear_refs") << "5";
    return statusBytes("VmRSS:");
}

double megabytes(long bytes)
{
    return static_cast<double>(bytes) / (1024.0 * 1024.0);
}

// The least a view of these rows needs: one list of texts per row.
class PlainRows : public QAbstractTableModel
{
public:
    PlainRows(std::vector<QStringList> rows, int columns) : m_rows(std::move(rows)), m_columns(columns) {}
    int rowCount(const QModelIndex& parent = {}) const override
    {
        return parent.isValid() ? 0 : static_cast<int>(m_rows.size());
    }
    int columnCount(const QModelIndex& parent = {}) const override
    {
        return parent.isValid() ? 0 : m_columns;
    }
    QVariant data(const QModelIndex& index, int role) const override
    {
        if (role != Qt::DisplayRole && role != Qt::EditRole) return {};
        const QStringList& row = m_rows[static_cast<std::size_t>(index.row())];
        return index.column() < row.size() ? row[index.column()] : QString();
    }

private:
    std::vector<QStringList> m_rows;
    int m_columns;
};

struct Floor
{
    double seconds = 0;
    long bytes = 0;
};

// The same member list read into the plain model, shown in a view the grid's size. The list is
// asked for the grid's fields that it holds, nothing more: the least a read of these rows costs.
Floor fillFloor(const std::string& condition, const QStringList& fields, QSize size)
{
    const std::vector<std::string> listed = module::frame::GetVipRecordset(50, "1=0").columns();
    std::vector<std::string> asked;
    for (const QString& field : fields)
        for (const std::string& column : listed)
            if (!field.isEmpty() && field.compare(QString::fromStdString(column), Qt::CaseInsensitive) == 0)
                asked.push_back(column);
    Floor floor;
    const long before = startPeak();
    const auto start = std::chrono::steady_clock::now();
    {
        QTableView view;
        view.resize(size);
        view.show();
        std::vector<QStringList> rows;
        {
            const platform::Recordset cards = module::frame::GetVipRecordset(50, condition, asked);
            std::vector<int> at;
            for (const QString& field : fields)
                at.push_back(field.isEmpty() ? -1 : cards.columnIndex(field.toStdString()));
            rows.reserve(cards.recordCount());
            for (std::size_t r = 0; r < cards.recordCount(); ++r) {
                QStringList& row = rows.emplace_back();
                for (const int c : at)
                    row << (c < 0 ? QString()
                                  : QString::fromStdString(
                                        cards.cell(r, static_cast<std::size_t>(c)).toString()));
            }
        }
        PlainRows model(std::move(rows), static_cast<int>(fields.size()));
        view.setModel(&model);
        QApplication::processEvents();
        floor.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        floor.bytes = statusBytes("VmHWM:") - before;
        view.setModel(nullptr);
    }
    return floor;
}

QStringList gridFields(const module::frame::Grid& grid)
{
    QStringList fields;
    for (int c = 0; c < grid.columns(); ++c)
        fields << grid.column(c).field;
    return fields;
}

void report(benchmark::State& state, double seconds, long bytes, const Floor& floor)
{
    state.counters["cards"] = static_cast<double>(state.range(0));
    state.counters["grid_s"] = seconds;
    state.counters["grid_MB"] = megabytes(bytes);
    state.counters["floor_s"] = floor.seconds;
    state.counters["floor_MB"] = megabytes(floor.bytes);
    state.counters["x_time"] = seconds / floor.seconds;
    state.counters["x_mem"] = static_cast<double>(bytes) / static_cast<double>(std::max(floor.bytes, 1L));
}

// Times one search from the screen's button to the filled grid painted, and its memory; then the
// floor over the same rows, after the grid let its rows go.
template <typename Screen>
void measure(benchmark::State& state, test::TestHost& host, Screen& screen, module::frame::Grid& grid,
             QPushButton& search, const std::string& condition, const char* shot)
{
    screen.resize(1000, 640);
    screen.show();
    QApplication::processEvents();
    double seconds = 0;
    long bytes = 0;
    for (auto _ : state) {
        const long before = startPeak();
        const auto start = std::chrono::steady_clock::now();
        search.click();
        QApplication::processEvents();
        seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        bytes = statusBytes("VmHWM:") - before;
        state.SetIterationTime(seconds);
    }
    if (grid.rowCount() != state.range(0)) {
        state.SkipWithError(
            ("the grid shows " + std::to_string(grid.rowCount()) + " rows; " + host.messages().last())
                .c_str());
        return;
    }
    if (const char* folder = std::getenv("ORMEX_SHOTS"))
        screen.grab().save(QString::fromUtf8(folder) + "/" + shot + "-" + QString::number(state.range(0)) +
                           ".png");
    const QStringList fields = gridFields(grid);
    const QSize size = grid.size();
    grid.setRows(0);
    report(state, seconds, bytes, fillFloor(condition, fields, size));
}

void seedPointCards(test::TestDatabase& db, long cards)
{
    db.exec("insert into T_Pos_VipType values ('01','普通卡',0,1);"
            "with recursive n(i) as (select 1 union all select i+1 from n where i<" +
            std::to_string(cards) +
            ") insert into T_Pos_VipRecord "
            "(FCardId,FVipName,mobile,FCardType,FCardStatus,FAccNum,FDecNum,FAccFlag)"
            " select 'B'||(100000+i),'会员'||i,'139'||(10000000+i),'01','0',1000+i,i%500,1 from n");
}

void seedStoredValueCards(test::TestDatabase& db, long cards)
{
    db.exec("insert into T_Pos_VipType values ('03','金卡',1,1);"
            "insert into t_PayMethod values (1,'01','现金',0);"
            "with recursive n(i) as (select 1 union all select i+1 from n where i<" +
            std::to_string(cards) +
            ") insert into T_Pos_VipRecord "
            "(FCardId,FCardFlowno,FVipName,mobile,FCardType,FCardStatus,FVipEndDate,FAccNum,FDecNum,"
            "FResidualAmt,FPlusAmt,FSavingFlag,FSocialId)"
            " select 'S'||(100000+i),'F'||i,'会员'||i,'139'||(10000000+i),'03','0','2099-12-31',0,0,'" +
            platform::encodeBalance(std::string("150.50")) + "',100,1,'' from n");
}

} // namespace

// Every fill at 1,000, 10,000 and 100,000 cards, once each, timed by the benchmark itself.
static void fillSizes(benchmark::internal::Benchmark* b)
{
    b->Arg(1000)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond)->Iterations(1)->UseManualTime();
}

static void PointsGridFill(benchmark::State& state)
{
    test::TestHost host;
    seedPointCards(host.branch(), state.range(0));
    module::points::frmPointManage screen;
    screen.loadForm();
    auto* search = screen.findChild<QPushButton*>(QStringLiteral("cmdSearch_0"));
    measure(state, host, screen, *screen.grid(0), *search, " FAccFlag=1 and (FCardStatus=0 )  ",
            "points-grid");
}
BENCHMARK(PointsGridFill)->Apply(fillSizes);

static void BatchRechargeGridFill(benchmark::State& state)
{
    test::TestHost host;
    seedStoredValueCards(host.branch(), state.range(0));
    module::storedvalue::frmStoreCardManage screen;
    screen.loadForm();
    screen.tabs()->setCurrentIndex(module::storedvalue::frmStoreCardManage::BatchTab);
    auto* search = screen.findChild<QPushButton*>(QStringLiteral("cmdSearch_1"));
    measure(state, host, screen, *screen.grid(1), *search,
            " FSavingFlag='1' and FCardStatus='0'  and  datediff(day,getdate(),FVipEndDate)>0 ",
            "batch-recharge-grid");
}
BENCHMARK(BatchRechargeGridFill)->Apply(fillSizes);

// The grid's own share: the points member list's five shown fields already read, written into the
// grid as the screen writes them, next to the plain model taking the same texts. No database read
// on either side, so the figures are the grid's and the floor view's alone.
static void PointsGridFromReadRows(benchmark::State& state)
{
    test::TestHost host;
    module::points::frmPointManage screen;
    screen.loadForm();
    screen.resize(1000, 640);
    screen.show();
    QApplication::processEvents();
    module::frame::Grid& grid = *screen.grid(0);
    const char* const fields[] = {"FCardId", "FVipName", "FCardStatus", "FCardType", "cur_num"};
    const int rowCount = static_cast<int>(state.range(0));
    std::vector<std::array<std::string, 5>> cards(static_cast<std::size_t>(rowCount));
    for (int r = 0; r < rowCount; ++r)
        cards[static_cast<std::size_t>(r)] = {"B" + std::to_string(100000 + r), "会员" + std::to_string(r),
                                              "正常", "普通卡", std::to_string(1000 + r)};
    int columns[5];
    for (int k = 0; k < 5; ++k)
        columns[k] = grid.columnOf(fields[k]);
    double seconds = 0;
    long bytes = 0;
    for (auto _ : state) {
        const long before = startPeak();
        const auto start = std::chrono::steady_clock::now();
        grid.setRowCount(0);
        grid.setRows(rowCount);
        for (int r = 0; r < rowCount; ++r)
            for (int k = 0; k < 5; ++k)
                grid.setCellText(r, columns[k],
                                 QString::fromStdString(cards[static_cast<std::size_t>(r)][k]));
        QApplication::processEvents();
        seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        bytes = statusBytes("VmHWM:") - before;
        state.SetIterationTime(seconds);
    }
    const QSize size = grid.size();
    grid.setRowCount(0);

    Floor floor;
    const long before = startPeak();
    const auto start = std::chrono::steady_clock::now();
    {
        QTableView view;
        view.resize(size);
        view.show();
        std::vector<QStringList> rows;
        rows.reserve(cards.size());
        for (const auto& card : cards) {
            QStringList& row = rows.emplace_back();
            for (const std::string& text : card)
                row << QString::fromStdString(text);
        }
        PlainRows model(std::move(rows), 5);
        view.setModel(&model);
        QApplication::processEvents();
        floor.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        floor.bytes = statusBytes("VmHWM:") - before;
        view.setModel(nullptr);
    }
    report(state, seconds, bytes, floor);
}
BENCHMARK(PointsGridFromReadRows)->Apply(fillSizes);

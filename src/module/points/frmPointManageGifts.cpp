// Tab 1 of the points screen, "礼品设置": the gift catalogue, its query, rows added, edited with
// lookups and deleted, its checks and its statements.
#include "frmPointManage.h"

#include <QProgressBar>
#include <QPushButton>

#include "module/frame/CardRules.h"
#include "module/frame/Gateway.h"
#include "module/frame/Grid.h"
#include "module/frame/LogCategories.h"
#include "module/widgets/InputField.h"
#include "platform/Clock.h"
#include "platform/DateTime.h"
#include "platform/NumberText.h"
#include "platform/Text.h"

namespace ormex::module::points {

namespace {

// The columns a catalogue row shows from the catalogue read.
const char* const kCatalogueFields[] = {"FNumber",   "FBarCode",  "FName",      "FUnit",    "FItemNum",
                                        "type_name", "FVipNum",   "FBeginDate", "FEndDate", "FStockName",
                                        "FBranchID", "FBranchNo", "FItemID",    "FCardType"};

} // namespace

void frmPointManage::queryGiftCatalogueAsked()
{
    if (m_changed[GiftSettingsTab] && m_tabs->currentIndex() == GiftSettingsTab) {
        // The query replaces the rows on screen: unsaved edits are saved or dropped on the
        // operator's word, as on closing.
        if (frame::Messages().question("数据已经改变，是否保存？")) {
            // A commit reads the catalogue again; one that did not happen keeps the edits.
            onOk();
            return;
        }
        m_changed[GiftSettingsTab] = false;
    }
    queryGiftCatalogue();
}

void frmPointManage::queryGiftCatalogue()
{
    frame::Grid& grid = *m_grids[GiftSettingsTab];
    const std::string number = m_itNo[GiftSettingsTab]->textStd();
    try {
        auto gifts = frame::GetTableInfo(platform::table::GiftCatalogue,
                                         number.empty() ? std::string()
                                                        : "FNumber='" + platform::quoteDoubled(number) + "'");
        if (!number.empty() && gifts.atEnd()) {
            frame::Messages().message("礼品兑换库中不存在该商品编号！", "提示",
                                      platform::MessageIcon::Information);
            m_itNo[GiftSettingsTab]->setFocus();
            return;
        }
        grid.setRowCount(0);
        grid.setRows(static_cast<int>(gifts.recordCount()));
        for (int r = 0; !gifts.atEnd(); gifts.moveNext(), ++r)
            for (const char* field : kCatalogueFields)
                grid.setCell(r, field, gifts.field(field).toString());
        m_changed[GiftSettingsTab] = false;
    } catch (const std::exception& error) {
        qCWarning(lcPoints, "reading the gift catalogue failed: %s", error.what());
        frame::Messages().error(error.what());
    }
}

void frmPointManage::setDefaultWarehouse(int row)
{
    // The branch's first warehouse: a number made of the branch number and more.
    const auto stock = frame::ExecQuery("select * from t_stock where FNumber like " +
                                        platform::quoted(m_branchNo + "_%") + " order by FNumber ");
    frame::Grid& grid = *m_grids[GiftSettingsTab];
    grid.setCell(row, "FStockName", stock.atEnd() ? "" : stock.field("FName").toString());
    grid.setCell(row, "FBranchID", stock.atEnd() ? "" : stock.field("FItemID").toString());
    grid.setCell(row, "FBranchNo", stock.atEnd() ? "" : stock.field("FNumber").toString());
}

void frmPointManage::addGift()
{
    frame::Grid& grid = *m_grids[GiftSettingsTab];
    const int row = grid.addRow();
    const platform::Date today = platform::today();
    grid.setCell(row, "FBeginDate", today.toString());
    grid.setCell(row, "FEndDate", today.addMonths(1).toString());
    grid.setCell(row, "FItemNum", "1");
    try {
        setDefaultWarehouse(row);
    } catch (const std::exception& error) {
        qCWarning(lcPoints, "choosing the warehouse of a new gift failed: %s", error.what());
        frame::Messages().error(error.what());
    }
    m_changed[GiftSettingsTab] = true;
    grid.setActiveCell(row, grid.columnOf("FNumber"));
    grid.setFocus();
}

void frmPointManage::deleteGift()
{
    frame::Grid& grid = *m_grids[GiftSettingsTab];
    const int row = grid.currentRow();
    if (row < 0 || row >= grid.rowCount()) return;
    const std::string typeName = grid.cellStd(row, "type_name");
    if (!frame::Messages().question("确定删除礼品：" + grid.cellStd(row, "FNumber") + "+" +
                                    (typeName.empty() ? "所有会员类别" : typeName) + "?"))
        return;
    const std::string itemId = grid.cellStd(row, "FItemID");
    try {
        if (platform::numberOr0(itemId) > 0) {
            // The row's whole key: the same gift kept for the card type in another warehouse stays.
            const std::string type = grid.cellStd(row, "FCardType");
            frame::ExecuteSQL("Delete from T_Pos_VipGift where FItemID=" + platform::sqlNumber(itemId) +
                              " and FCardType=" + platform::quoted(type.empty() ? std::string("All") : type) +
                              " and FBranchID=" + platform::sqlNumber(grid.cellStd(row, "FBranchID")));
        }
    } catch (const std::exception& error) {
        qCWarning(lcPoints, "deleting gift %s failed: %s", itemId.c_str(), error.what());
        frame::Messages().error(error.what());
        return;
    }
    grid.removeRow(row);
    if (grid.rowCount() > 0)
        grid.setActiveCell(std::min(row, grid.rowCount() - 1), std::max(grid.currentColumn(), 1));
}

void frmPointManage::onGiftEdited(int row, int column)
{
    const frame::FieldColumnMap& columns = m_columns[GiftSettingsTab];
    try {
        if (column == columns.column("FNumber"))
            fillGift(row);
        else if (column == columns.column("type_name"))
            fillCardType(row);
        else if (column == columns.column("FStockName"))
            fillWarehouse(row);
    } catch (const std::exception& error) {
        qCWarning(lcPoints, "filling gift row %d failed: %s", row, error.what());
        frame::Messages().error(error.what());
    }
}

void frmPointManage::fillGift(int row)
{
    frame::Grid& grid = *m_grids[GiftSettingsTab];
    const std::string number = platform::trim(grid.cellStd(row, "FNumber"));
    auto clear = [&] {
        for (const char* field : {"FItemID", "FBarCode", "FName", "FUnit"})
            grid.setCell(row, field, "");
    };
    if (number.empty()) {
        clear();
        return;
    }
    const auto goods =
        frame::GetTableInfo(platform::table::Goods, "FNumber='" + platform::quoteDoubled(number) + "'");
    if (goods.atEnd()) {
        clear();
        grid.setCell(row, "FNumber", "");
        frame::Messages().message("商品编号【" + number + "】不存在！", "提示",
                                  platform::MessageIcon::Information);
        grid.setActiveCell(row, grid.columnOf("FNumber"));
        return;
    }
    for (const char* field : {"FItemID", "FBarCode", "FName", "FUnit"})
        grid.setCell(row, field, goods.field(field).toString());
    const platform::Date today = platform::today();
    if (grid.cellStd(row, "FBeginDate").empty()) grid.setCell(row, "FBeginDate", today.toString());
    if (grid.cellStd(row, "FEndDate").empty()) grid.setCell(row, "FEndDate", today.addMonths(1).toString());
    if (platform::numberOr0(grid.cellStd(row, "FItemNum")) == 0) grid.setCell(row, "FItemNum", "1");
    if (grid.cellStd(row, "FStockName").empty()) setDefaultWarehouse(row);
}

void frmPointManage::fillCardType(int row)
{
    frame::Grid& grid = *m_grids[GiftSettingsTab];
    const std::string code = platform::trim(grid.cellStd(row, "type_name"));
    const auto type =
        frame::GetTableInfo(platform::table::CardTypes, " Ftypeid='" + platform::quoteDoubled(code) + "'");
    grid.setCell(row, "type_name", type.atEnd() ? "" : type.field("type_name").toString());
    grid.setCell(row, "FCardType", type.atEnd() ? "" : type.field("FTypeId").toString());
}

void frmPointManage::fillWarehouse(int row)
{
    frame::Grid& grid = *m_grids[GiftSettingsTab];
    const std::string number = platform::trim(grid.cellStd(row, "FStockName"));
    const auto stock =
        frame::GetTableInfo(platform::table::Warehouses, " FNumber='" + platform::quoteDoubled(number) + "'");
    grid.setCell(row, "FStockName", stock.atEnd() ? "" : stock.field("FName").toString());
    grid.setCell(row, "FBranchID", stock.atEnd() ? "" : stock.field("FItemID").toString());
    grid.setCell(row, "FBranchNo", stock.atEnd() ? "" : stock.field("FNumber").toString());
}

void frmPointManage::onGridLookup(int tab, int row, int column, int key)
{
    frame::Grid& grid = *m_grids[static_cast<std::size_t>(tab)];
    const frame::FieldColumnMap& columns = m_columns[static_cast<std::size_t>(tab)];
    if (tab == ExchangeTab) {
        if (key == Qt::Key_F7 && column == columns.column("FAuxPropName")) chooseAuxProp(row);
        return;
    }
    if (tab != GiftSettingsTab || grid.isCellLocked(row, column)) return;
    // Goods, card types and warehouses: F7 a lookup window, F8 the name list under the cell.
    int classId = 0;
    const char* code = nullptr;
    if (column == columns.column("FNumber")) {
        classId = 4;
        code = "FNumber";
    } else if (column == columns.column("type_name")) {
        classId = 51;
        code = "FTypeId";
    } else if (column == columns.column("FStockName")) {
        classId = 5;
        code = "FNumber";
    } else {
        return;
    }
    if (key == Qt::Key_F8) {
        m_nameList.attachToCell(grid, row, column, classId);
        return;
    }
    try {
        const platform::LookupResult chosen =
            classId == 51 ? frame::ShowCardLookup(51, "", false, "") : frame::ShowLookup(classId, "", "", "");
        if (!chosen.returnOk || chosen.returnObject.empty()) return;
        grid.setCell(row,
                     columns.column("FNumber") == column     ? "FNumber"
                     : columns.column("type_name") == column ? "type_name"
                                                             : "FStockName",
                     chosen.returnObject.front().text(code));
        m_changed[GiftSettingsTab] = true;
        onGiftEdited(row, column);
    } catch (const std::exception& error) {
        qCWarning(lcPoints, "the gift lookup %d failed: %s", classId, error.what());
        frame::Messages().error(error.what());
    }
}

bool frmPointManage::CheckData(int tab, const std::string& itemId, int row, const std::string& cardType,
                               const std::string& warehouseId) const
{
    const frame::Grid& grid = *m_grids[static_cast<std::size_t>(tab)];
    auto type = [](const std::string& t) { return t.empty() ? std::string("All") : t; };
    for (int r = 0; r < grid.rowCount(); ++r)
        if (r != row && grid.cellStd(r, "FItemID") == itemId &&
            platform::iequals(type(grid.cellStd(r, "FCardType")), type(cardType)) &&
            grid.cellStd(r, "FBranchID") == warehouseId)
            return false;
    return true;
}

bool frmPointManage::checkGiftRows()
{
    frame::Grid& grid = *m_grids[GiftSettingsTab];
    for (int r = grid.rowCount() - 1; r >= 0; --r) {
        const std::string n = "第【" + std::to_string(r + 1) + "】行";
        const auto begin = platform::parseDate(grid.cellStd(r, "FBeginDate"));
        const auto end = platform::parseDate(grid.cellStd(r, "FEndDate"));
        const char* failed = nullptr;
        std::string message;
        if (platform::trim(grid.cellStd(r, "FNumber")).empty()) {
            message = n + "礼品编码不能为空！";
            failed = "FNumber";
        } else if (platform::numberOr0(grid.cellStd(r, "FItemNum")) <= 0) {
            message = n + "礼品数量必须大于0！";
            failed = "FItemNum";
        } else if (platform::trim(grid.cellStd(r, "FStockName")).empty()) {
            message = n + "对应仓库不能为空！";
            failed = "FStockName";
        } else if (!CheckData(GiftSettingsTab, grid.cellStd(r, "FItemID"), r, grid.cellStd(r, "FCardType"),
                              grid.cellStd(r, "FBranchID"))) {
            message = n + "礼品设置重复！";
            failed = "FNumber";
        } else if (!begin || !end) {
            message = n + "有效期至和有效期始都不能为空！";
            failed = "FBeginDate";
        } else if (*end < *begin) {
            message = n + "有效期至不能小于有效期始！";
            failed = "FEndDate";
        }
        if (failed) {
            refuse(message, r, failed);
            return false;
        }
    }
    return true;
}

bool frmPointManage::saveGiftSettings(const frame::SavePackage& rows, std::string& batch)
{
    if (!checkGiftRows()) return false;
    m_progress->setMaximum(static_cast<int>(rows.rowCount()) + 2);
    m_progress->setValue(0);
    int built = 0;
    for (const platform::FieldMap& row : rows.rows()) {
        advanceProgress(built);
        batch += GiftRowStatements(rows, row);
        ++built;
    }
    m_progress->setValue(built);
    return true;
}

std::string frmPointManage::giftCatalogueEmptying() const
{
    // The grid is the catalogue: what it does not hold (never loaded, or loaded and removed) goes.
    return GiftCatalogueEmptying({CatalogueScope::Kind::Whole, {}});
}

} // namespace ormex::module::points

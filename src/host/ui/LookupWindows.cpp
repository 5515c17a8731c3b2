#include "LookupWindows.h"

#include <QApplication>

#include "LookupDialog.h"
#include "host/core/CardMaintain.h"
#include "host/core/MemberLists.h"
#include "host/core/SqlText.h"
#include "platform/BusinessObjects.h"
#include "platform/Text.h"
#include "sql/Database.h"
#include "store/SharedDatabases.h"

namespace ormex::host {

namespace {

struct ClassView
{
    QString title;
    std::vector<LookupDialog::Column> columns;
    std::vector<const char*> searched; // fields the search text is matched against
    // The row's own key, in the order the table keeps its rows: the pages of a list follow it, so
    // they neither repeat nor skip a row, on either engine, and the list reads as it always did.
    const char* key;
};

ClassView viewOf(int classId)
{
    switch (classId) {
    case 50:
        return {QStringLiteral("会员卡"),
                {{"FCardId", "会员卡号"},
                 {"FCardFlowno", "卡面编号"},
                 {"FVipName", "姓名"},
                 {"mobile", "手机"},
                 {"type_name", "卡类别"},
                 {"status_name", "卡状态"},
                 {"cur_num", "剩余积分"}},
                {"FCardId", "FCardFlowno", "FVipName", "mobile"},
                "FFlowId"};
    case 51:
        return {QStringLiteral("会员卡类别"),
                {{"FTypeId", "类别编号"}, {"type_name", "类别名称"}},
                {"FTypeId", "type_name"},
                "FTypeId"};
    case 5:
        return {QStringLiteral("仓库"),
                {{"FNumber", "仓库编码"}, {"FName", "仓库名称"}},
                {"FNumber", "FName"},
                "FItemID"};
    case 23:
        return {QStringLiteral("辅助属性"),
                {{"FNumber", "商品编码"}, {"FAuxPropNum", "属性编号"}, {"FAuxPropName", "辅助属性"}},
                {"FNumber", "FAuxPropNum", "FAuxPropName"},
                "FAuxPropID"};
    case 34:
        return {QStringLiteral("付款方式"),
                {{"FNumber", "编号"}, {"FName", "付款方式"}},
                {"FNumber", "FName"},
                "FItemID"};
    default:
        return {QStringLiteral("商品"),
                {{"FNumber", "商品编码"}, {"FBarCode", "主条码"}, {"FName", "品名"}, {"FUnit", "单位"}},
                {"FNumber", "FBarCode", "FName"},
                "FItemID"};
    }
}

int tableOf(int classId)
{
    switch (classId) {
    case 51:
        return platform::table::CardTypes;
    case 5:
        return platform::table::Warehouses;
    case 23:
        return platform::table::AuxProps;
    case 34:
        return platform::table::PaymentMethods;
    default:
        return platform::table::Goods;
    }
}

} // namespace

std::string LookupWindows::lookupSql(int classId, const std::string& filter, const std::string& search) const
{
    std::string condition = platform::trim(filter);
    if (!search.empty()) {
        std::string match;
        for (const char* field : viewOf(classId).searched)
            match += std::string(match.empty() ? "" : " or ") + field + " like " + quoted("%" + search + "%");
        condition = condition.empty() ? "(" + match + ")" : "(" + condition + ") and (" + match + ")";
    }
    if (classId == 50) return memberListSql(50, condition);
    if (classId == 34) condition = condition.empty() ? "FDeleted=0" : "(" + condition + ") and FDeleted=0";
    return tableInfoSql(tableOf(classId), condition);
}

std::string LookupWindows::lookupPageSql(int classId, const std::string& filter, const std::string& search,
                                         std::size_t offset, std::size_t count) const
{
    // limit/offset: SQLite and PostgreSQL both read it, and the T-SQL front end passes it through.
    return lookupSql(classId, filter, search) + " order by " + viewOf(classId).key + " limit " +
           std::to_string(count) + " offset " + std::to_string(offset);
}

platform::LookupResult LookupWindows::open(int classId, const std::string& filter, const std::string& search,
                                           bool multiSelect)
{
    const ClassView view = viewOf(classId);
    const std::string path = m_path;
    LookupDialog dialog(
        view.title, view.columns,
        [this, classId, filter, path](const std::string& text, std::size_t offset, std::size_t count) {
            return db::sharedDatabase(path).query(lookupPageSql(classId, filter, text, offset, count));
        },
        multiSelect, QString::fromStdString(search), QApplication::activeModalWidget());
    platform::LookupResult result;
    if (dialog.exec() == QDialog::Accepted) {
        result.returnObject = dialog.chosen();
        result.returnOk = !result.returnObject.empty();
    }
    return result;
}

platform::LookupResult LookupWindows::itemLookup(int classId, const std::string& text1, const std::string&,
                                                 const platform::FieldMap& options)
{
    return open(classId, text1, options.text("Search"), false);
}

platform::LookupResult LookupWindows::subMesLookup(int classId, const std::string& text1, const std::string&)
{
    return open(classId, text1, {}, false);
}

platform::LookupResult LookupWindows::showFormReturn(int classId, bool multiSelect, int mode,
                                                     const std::string& filter, const std::string& searchText)
{
    return open(classId, filter, mode == 3 ? platform::trim(searchText) : std::string(), multiSelect);
}

} // namespace ormex::host

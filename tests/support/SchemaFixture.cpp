#include "SchemaFixture.h"

#include <algorithm>
#include <fstream>
#include <sstream>
#include <stdexcept>

#include "TestDatabase.h"
#include "platform/Text.h"
#include "sql/SqliteStatement.h"

namespace ormex::test {

namespace {

std::string text(const platform::Value& value)
{
    return value.isNull() ? "NULL" : value.toString();
}

std::string joined(const std::vector<std::string>& parts, const std::string& separator)
{
    std::string out;
    for (std::size_t i = 0; i < parts.size(); ++i)
        out += (i ? separator : "") + parts[i];
    return out;
}

// Each row of a native SQLite query, its values joined by "|".
std::vector<std::string> sqliteRows(db::Database& db, const std::string& sql)
{
    db::SqliteStatement stmt(db.handle(), sql);
    std::vector<std::string> rows;
    while (stmt.step()) {
        std::vector<std::string> values;
        for (int c = 0; c < stmt.columnCount(); ++c)
            values.push_back(text(stmt.column(c)));
        rows.push_back(joined(values, "|"));
    }
    return rows;
}

std::vector<std::string> pgRows(db::PgDatabase& db, const std::string& sql)
{
    const platform::Recordset rs = db.queryNative(sql);
    std::vector<std::string> rows;
    for (std::size_t r = 0; r < rs.recordCount(); ++r) {
        std::vector<std::string> values;
        for (std::size_t c = 0; c < rs.columns().size(); ++c)
            values.push_back(text(rs.cell(r, c)));
        rows.push_back(joined(values, "|"));
    }
    return rows;
}

std::string columnList(const std::vector<std::string>& columns)
{
    std::vector<std::string> quoted;
    for (const std::string& column : columns)
        quoted.push_back("\"" + column + "\"");
    return joined(quoted, ", ");
}

template <typename Db, typename Rows> TableRows rowsOfTables(Db& db, const TableColumns& columns, Rows rows)
{
    TableRows out;
    for (const auto& [table, present] : columnsOf(db)) {
        const auto earlier = columns.find(table);
        const auto& selected = earlier == columns.end() ? present : earlier->second;
        auto found = rows(db, "SELECT " + columnList(selected) + " FROM \"" + table + "\"");
        std::sort(found.begin(), found.end());
        out[table] = std::move(found);
    }
    return out;
}

} // namespace

std::string fixtureText(const std::string& name)
{
    const std::string path = std::string(ORMEX_DB_FIXTURES) + "/" + name;
    std::ifstream in(path, std::ios::binary);
    if (!in) throw std::runtime_error("cannot read the fixture " + path);
    std::ostringstream content;
    content << in.rdbuf();
    return content.str();
}

void makeFirstVersionDatabase(const std::string& path, const std::string& earlier)
{
    changeOutsideTheSystem(path, "BEGIN;\n" + fixtureText("schema-v1.sql") + fixtureText("rows-v1.sql") +
                                     earlier + ";\nCOMMIT;\n");
}

void makeFirstVersionDatabase(db::PgDatabase& db)
{
    db.executeNative(fixtureText("schema-v1-postgres.sql"));
    db.executeNative(fixtureText("rows-v1.sql"));
}

TableColumns columnsOf(db::Database& db)
{
    TableColumns out;
    for (const std::string& table :
         sqliteRows(db, "SELECT name FROM sqlite_master WHERE type='table' AND name NOT LIKE 'sqlite_%'"))
        out[table] = sqliteRows(db, "SELECT name FROM pragma_table_info(" + platform::quoted(table) + ")");
    return out;
}

TableColumns columnsOf(db::PgDatabase& db)
{
    TableColumns out;
    const platform::Recordset rs =
        db.queryNative("SELECT table_name, column_name FROM information_schema.columns WHERE table_schema = "
                       "current_schema() ORDER BY table_name, ordinal_position");
    for (std::size_t r = 0; r < rs.recordCount(); ++r)
        out[rs.cell(r, 0).toString()].push_back(rs.cell(r, 1).toString());
    return out;
}

std::string oldQueuedChecksSql(bool postgres)
{
    const std::string sep1 = postgres ? " || chr(31) || " : " || char(31) || ";
    const std::string sep0 = postgres ? " || chr(30) || " : " || char(30) || ";
    return "UPDATE t_HqOutbox SET FChecks = 'select FDecNum from T_Pos_VipRecord where FCardId=''C100'''" +
           sep1 + "'FDecNum'" + sep1 + "'D12.5'" + sep0 + "'select 1'" + sep1 + "'n'" + sep1 +
           "'TO''Brien' WHERE FSeq = 3";
}

std::vector<std::string> movedQueuedChecks()
{
    return {"3|1|select FDecNum from T_Pos_VipRecord where FCardId='C100'|FDecNum|real|12.5",
            "3|2|select 1|n|text|O'Brien"};
}

void withoutMovedColumns(TableColumns& columns)
{
    for (auto& [table, names] : columns)
        std::erase_if(names, [&](const std::string& name) {
            // The seal of a card covers the head of its ledger once the chain starts.
            return platform::iequals(name, "FChecks") ||
                   (platform::iequals(table, "T_Pos_VipRecord") && platform::iequals(name, "FSeal"));
        });
}

TableRows rowsOf(db::Database& db, const TableColumns& columns)
{
    return rowsOfTables(db, columns, sqliteRows);
}

TableRows rowsOf(db::PgDatabase& db, const TableColumns& columns)
{
    return rowsOfTables(db, columns, pgRows);
}

std::vector<std::string> shapeOf(db::Database& db)
{
    std::vector<std::string> shape;
    for (const auto& [table, columns] : columnsOf(db)) {
        const std::string name = platform::quoted(table);
        shape.push_back("table " + table);
        for (const std::string& column :
             sqliteRows(db, "SELECT name, type, \"notnull\", dflt_value, pk FROM pragma_table_info(" + name +
                                ") ORDER BY cid"))
            shape.push_back("  column " + column);
        // Indexes by what they index: the names SQLite gives the indexes of keys and UNIQUE columns
        // depend on the order the table was made in.
        std::vector<std::string> indexes;
        for (const std::string& index : sqliteRows(
                 db, "SELECT il.\"unique\" || '|' || il.origin || '|' || il.partial || '|' || "
                     "(SELECT group_concat(coalesce(ii.name, '') || ' ' || ii.coll || ' ' || ii.\"desc\", "
                     "',') FROM pragma_index_xinfo(il.name) AS ii WHERE ii.key = 1) || '|' || "
                     "CASE WHEN il.origin = 'c' THEN il.name ELSE '' END FROM pragma_index_list(" +
                         name + ") AS il"))
            indexes.push_back("  index " + index);
        std::sort(indexes.begin(), indexes.end());
        shape.insert(shape.end(), indexes.begin(), indexes.end());
    }
    return shape;
}

std::vector<std::string> shapeOf(db::PgDatabase& db)
{
    std::vector<std::string> shape;
    for (const std::string& column : pgRows(
             // Columns by their order, not their position: a dropped column leaves a gap there.
             db, "SELECT table_name, row_number() OVER (PARTITION BY table_name ORDER BY ordinal_position), "
                 "column_name, udt_name, is_nullable, column_default, is_identity FROM "
                 "information_schema.columns WHERE table_schema = current_schema() "
                 "ORDER BY table_name, ordinal_position"))
        shape.push_back("column " + column);
    for (const std::string& index :
         pgRows(db, "SELECT tablename, indexdef FROM pg_indexes WHERE schemaname = current_schema() "
                    "ORDER BY tablename, indexname"))
        shape.push_back("index " + index);
    // The system's own functions, not those of the extensions it uses.
    for (const std::string& function : pgRows(
             db, "SELECT p.proname, pg_get_function_identity_arguments(p.oid), md5(p.prosrc) FROM pg_proc p "
                 "WHERE p.pronamespace = (SELECT oid FROM pg_namespace WHERE nspname = current_schema()) AND "
                 "NOT EXISTS (SELECT 1 FROM "
                 "pg_depend d WHERE d.objid = p.oid AND d.deptype = 'e') ORDER BY 1, 2"))
        shape.push_back("function " + function);
    for (const std::string& trigger :
         pgRows(db, "SELECT tgrelid::regclass::text, tgname, pg_get_triggerdef(oid) FROM pg_trigger "
                    "WHERE NOT tgisinternal ORDER BY 1, 2"))
        shape.push_back("trigger " + trigger);
    return shape;
}

} // namespace ormex::test

# Writes schema.sql into a C++ source as one string constant.
file(READ ${IN} text)
file(WRITE ${OUT} "// Generated from schema.sql; do not edit.\n#include <string_view>\nnamespace ormex::db {\nextern const std::string_view kSchemaSql;\nconst std::string_view kSchemaSql = R\"ORMEXSQL(${text})ORMEXSQL\";\n}\n")

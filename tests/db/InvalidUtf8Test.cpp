// Text that is not well-formed UTF-8 is refused with the line of its first bad byte before
// anything runs; Chinese text is stored as written.
#include <gtest/gtest.h>

#include "sql/DbError.h"
#include "support/TestDatabase.h"

using ormex::db::ParseError;
using ormex::test::TestDatabase;

TEST(InvalidUtf8, ABatchWithMalformedTextIsRefusedNamingTheLineAndChangesNothing)
{
    const std::pair<const char*, const char*> kinds[] = {
        {"\xFF\xFE", "bytes FF FE"},
        {"\xC0\xAF", "an overlong '/'"},
        {"\xE0\x80\xAF", "an overlong three-byte '/'"},
        {"\xF0\x82\x82\xAC", "an overlong four-byte euro sign"},
        {"\xED\xA0\x80", "a surrogate"},
        {"\xF4\x90\x80\x80", "a code point past U+10FFFF"},
        {"\xF5\x80\x80\x80", "a lead byte past F4"},
        {"\x80", "a continuation byte alone"},
        {"\xE7\xA7", "a character cut short"},
        {"\xE7\xA7\n\xAF", "a character broken by a line end"},
    };
    TestDatabase t;
    t.exec("insert into t_Log (FDescription) values ('before')");
    const auto before = t.dump();
    for (const auto& [bytes, kind] : kinds) {
        const std::string batch = "insert into t_Log (FDescription) select '积分'\r\n"
                                  "insert into t_Log (FDescription) select 'a" +
                                  std::string(bytes) + "'";
        try {
            t.db().execute(batch);
            ADD_FAILURE() << kind << " was accepted";
        } catch (const ParseError& error) {
            EXPECT_EQ(error.line(), 2) << kind;
            EXPECT_EQ(error.message(), "the text is not valid UTF-8") << kind;
        }
        EXPECT_THROW(t.db().query(std::string("select 1 where 'x") + bytes + "'=''"), ParseError) << kind;
    }
    // Cut short at the very end of the text, outside any string.
    EXPECT_THROW(t.db().execute("select 1 \xE7"), ParseError);
    EXPECT_EQ(t.dump(), before);
}

TEST(InvalidUtf8, ChineseTextIsStoredAsWritten)
{
    TestDatabase t;
    t.db().execute("insert into t_Log (FDescription) select N'积分冲减 𠀀 ünï'\r\n"
                   "insert into t_Log (FDescription) select '储值'");
    EXPECT_EQ(t.rows("select FDescription from t_Log order by FID"),
              (std::vector<std::string>{"积分冲减 𠀀 ünï", "储值"}));
}

#pragma once

#include <string>
#include <string_view>
#include <vector>

// The records of a CSV text as RFC 4180 writes them: fields separated by commas, records by CR LF
// (LF alone is read too), a field in double quotes may hold commas, line breaks and quotes
// written twice. A UTF-8 byte-order mark at the start is skipped and empty lines are passed over.
// Each record keeps the line of the text it starts on, so that a message can name it.
namespace ormex::db {

struct CsvRecord
{
    enum class Fault {
        None,
        UnclosedQuote,  // a quoted field runs to the end of the text
        TextAfterQuote, // a closing quote is followed by something other than a comma or line end
    };

    int line = 0; // 1-based
    std::vector<std::string> fields;
    Fault fault = Fault::None;
};

std::vector<CsvRecord> readCsvRecords(std::string_view text);

} // namespace ormex::db

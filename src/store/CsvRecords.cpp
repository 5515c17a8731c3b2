#include "CsvRecords.h"

namespace ormex::db {

std::vector<CsvRecord> readCsvRecords(std::string_view text)
{
    if (text.starts_with("\xEF\xBB\xBF")) text.remove_prefix(3);
    std::vector<CsvRecord> records;
    int line = 1;
    std::size_t i = 0;
    const std::size_t n = text.size();
    auto atLineEnd = [&](std::size_t at) { return at < n && (text[at] == '\n' || text[at] == '\r'); };
    // Steps over one line break (CR LF, LF or a lone CR).
    auto skipLineEnd = [&] {
        if (text[i] == '\r' && i + 1 < n && text[i + 1] == '\n') ++i;
        ++i;
        ++line;
    };
    while (i < n) {
        if (atLineEnd(i)) { // an empty line
            skipLineEnd();
            continue;
        }
        CsvRecord record;
        record.line = line;
        for (;;) {
            std::string field;
            if (i < n && text[i] == '"') {
                ++i;
                bool closed = false;
                while (i < n) {
                    const char c = text[i];
                    if (c == '"') {
                        if (i + 1 < n && text[i + 1] == '"') {
                            field += '"';
                            i += 2;
                            continue;
                        }
                        ++i;
                        closed = true;
                        break;
                    }
                    if (c == '\n' || (c == '\r' && !(i + 1 < n && text[i + 1] == '\n'))) ++line;
                    field += c;
                    ++i;
                }
                if (!closed) record.fault = CsvRecord::Fault::UnclosedQuote;
                // Whatever stands between the closing quote and the next comma is kept, and marked.
                const std::size_t rest = i;
                while (i < n && text[i] != ',' && !atLineEnd(i))
                    ++i;
                if (i > rest) {
                    field.append(text.substr(rest, i - rest));
                    if (record.fault == CsvRecord::Fault::None)
                        record.fault = CsvRecord::Fault::TextAfterQuote;
                }
            } else {
                const std::size_t start = i;
                while (i < n && text[i] != ',' && !atLineEnd(i))
                    ++i;
                field.assign(text.substr(start, i - start));
            }
            record.fields.push_back(std::move(field));
            if (i < n && text[i] == ',') {
                ++i;
                continue;
            }
            break;
        }
        if (i < n) skipLineEnd();
        records.push_back(std::move(record));
    }
    return records;
}

} // namespace ormex::db

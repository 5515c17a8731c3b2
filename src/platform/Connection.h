#pragma once

#include <string>

#include "BusinessObjects.h"
#include "Recordset.h"

// A direct database connection opened from a connection text ("ADODB.Connection"): how the module
// reaches the headquarters database.
namespace ormex::platform {

class Connection : public BusinessObject
{
public:
    // Throws when the database cannot be reached. Opening never creates a database.
    virtual void open(const std::string& connectionText) = 0;
    virtual bool isOpen() const = 0;
    virtual void close() = 0;
    // Runs a statement batch in one transaction. Throws on failure.
    virtual void execute(const std::string& batch) = 0;
    // Runs a batch after checking in its transaction that every check still reads its value;
    // throws ChangedSinceReadError otherwise (nothing written).
    virtual void executeChecked(const std::string& batch, const std::vector<ReadCheck>& checks) = 0;
    virtual Recordset openRecordset(const std::string& sql) = 0;
};

} // namespace ormex::platform

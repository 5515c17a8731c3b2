#include "DatabaseConnection.h"

#include <cctype>
#include <set>
#include <stdexcept>

#include "platform/HostServices.h"
#include "platform/Text.h"
#include "sql/DbError.h"
#include "store/SchemaUpgrade.h"
#include "store/SharedDatabases.h"

namespace ormex::host {

namespace {

// Text as it may stand in a URL: anything but letters, digits and -._~ percent-encoded.
std::string urlEncoded(const std::string& text)
{
    static constexpr char kHex[] = "0123456789ABCDEF";
    std::string out;
    for (unsigned char c : text) {
        if (std::isalnum(c) || c == '-' || c == '.' || c == '_' || c == '~') {
            out += static_cast<char>(c);
        } else {
            out += '%';
            out += kHex[c >> 4];
            out += kHex[c & 15];
        }
    }
    return out;
}

// The module reports a database it cannot open as unreachable, in its own words; why a database of
// another schema version is refused is told once in the process, so that the operator can pass it on.
void tellOnce(const std::string& refusal)
{
    static std::set<std::string> told;
    if (!told.insert(refusal).second) return;
    platform::HostServices::instance().messages().message(refusal, "提示", platform::MessageIcon::Warning);
}

// Runs a call on the database, a refusal that passes (the server cannot be reached, did not answer
// within the deadline, or its writers held on too long) reported as the module knows it: nothing of
// the call stands and it may be made again.
template <typename Call> auto unlessUnavailable(Call&& call)
{
    try {
        return call();
    } catch (const db::UnreachableError& failure) {
        throw platform::UnavailableError(failure.what());
    } catch (const db::BusyError& failure) {
        throw platform::UnavailableError(failure.what());
    }
}

} // namespace

std::string DatabaseConnection::resolve(const std::string& connectionText) const
{
    std::string server, catalog, user, password;
    for (const auto& part : platform::split(connectionText, ';')) {
        const std::size_t eq = part.find('=');
        if (eq == std::string::npos) continue;
        const std::string key = platform::trim(part.substr(0, eq));
        const std::string value = platform::trim(part.substr(eq + 1));
        if (platform::iequals(key, "Data Source"))
            server = value;
        else if (platform::iequals(key, "Initial Catalog"))
            catalog = value;
        else if (platform::iequals(key, "User ID"))
            user = value;
        else if (platform::iequals(key, "Password"))
            password = value;
    }
    if (server.empty()) throw std::runtime_error("no server named in the connection");
    if (catalog.empty()) throw std::runtime_error("no database named in the connection");
    if (platform::iequals(server, "(local)") || server == "." || platform::iequals(server, "localhost")) {
        if (catalog.find('/') != std::string::npos)
            throw std::runtime_error("no database named in the connection");
        return m_dataFolder + "/" + catalog + ".db";
    }
    // "host,port" as connection texts write a port; a host with ':' is an IPv6 address.
    std::string host = server;
    std::string port;
    if (const std::size_t comma = server.find(','); comma != std::string::npos) {
        host = platform::trim(server.substr(0, comma));
        port = platform::trim(server.substr(comma + 1));
        if (port.empty() || port.find_first_not_of("0123456789") != std::string::npos)
            throw std::runtime_error("the port of server '" + server + "' is not a number");
    }
    if (host.find(':') != std::string::npos) host = "[" + host + "]";
    std::string url = "postgresql://";
    if (!user.empty()) {
        url += urlEncoded(user);
        if (!password.empty()) url += ":" + urlEncoded(password);
        url += "@";
    }
    url += host;
    if (!port.empty()) url += ":" + port;
    return url + "/" + urlEncoded(catalog);
}

void DatabaseConnection::open(const std::string& connectionText)
{
    const std::string location = resolve(connectionText);
    try {
        unlessUnavailable([&] {
            if (db::isPostgresUrl(location)) {
                m_db = &db::sharedPgDatabase(location, m_deadline);
            } else {
                db::Database& file = db::sharedDatabase(location);
                file.setBusyTimeout(m_deadline);
                m_db = &file;
            }
        });
    } catch (const db::SchemaVersionError& refused) {
        tellOnce(refused.what());
        throw;
    }
}

db::TsqlDatabase& DatabaseConnection::db()
{
    if (!m_db) throw std::runtime_error("the connection is not open");
    return *m_db;
}

void DatabaseConnection::execute(const std::string& batch)
{
    unlessUnavailable([&] { db().execute(batch); });
}

void DatabaseConnection::executeChecked(const std::string& batch,
                                        const std::vector<platform::ReadCheck>& checks)
{
    unlessUnavailable([&] { db().executeChecked(batch, checks); });
}

platform::Recordset DatabaseConnection::openRecordset(const std::string& sql)
{
    return unlessUnavailable([&] { return db().query(sql); });
}

} // namespace ormex::host

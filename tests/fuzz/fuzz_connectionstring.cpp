// Connection strings as hosts and users type them: whatever the text, the
// reader names an engine or says why not, never both, and never points
// SQLite at an empty path (which would open a scratch database instead of
// the user's).

#include "FuzzSupport.h"
#include "db/ConnectionString.h"

using qrt::db::ConnectionString;
using qrt::db::Engine;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const ConnectionString cs = ConnectionString::parse(qrt::fuzz::text(data, size));
    qrt::fuzz::check(cs.isValid() == cs.error.isEmpty(), "either an engine or a reason");
    if (cs.engine == Engine::SQLite)
        qrt::fuzz::check(!cs.database.trimmed().isEmpty(), "SQLite has a file");
    if (cs.engine == Engine::PostgreSQL)
        qrt::fuzz::check(cs.port == -1 || (cs.port > 0 && cs.port <= 65535), "a real port or none");
    if (cs.engine == Engine::ODBC)
        qrt::fuzz::check(!cs.odbc.isEmpty(), "ODBC has its string");
    return 0;
}

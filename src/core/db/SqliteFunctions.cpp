#include "db/SqliteFunctions.h"

#include "base/Dates.h"

#include <sqlite3.h>

namespace qrt::db {

namespace {

void cdate(sqlite3_context *context, int, sqlite3_value **argv)
{
    std::optional<double> value;
    switch (sqlite3_value_type(argv[0])) {
    case SQLITE_INTEGER:
    case SQLITE_FLOAT:
        value = sqlite3_value_double(argv[0]);
        break;
    case SQLITE_TEXT: {
        const auto *text = reinterpret_cast<const char *>(sqlite3_value_text(argv[0]));
        value = dates::fromText(std::string_view(text, sqlite3_value_bytes(argv[0])));
        break;
    }
    case SQLITE_NULL:
        sqlite3_result_null(context);
        return;
    default:
        break;
    }
    if (!value) {
        sqlite3_result_error(context, "CDate: not a date", -1);
        return;
    }
    const QByteArray text = dates::toTimestampText(*value).toLatin1();
    sqlite3_result_text(context, text.constData(), static_cast<int>(text.size()), SQLITE_TRANSIENT);
}

int authorize(void *, int action, const char *, const char *name, const char *, const char *)
{
    switch (action) {
    case SQLITE_ATTACH:
    case SQLITE_DETACH:
    case SQLITE_PRAGMA:
        return SQLITE_DENY;
    case SQLITE_FUNCTION:
        return name && sqlite3_stricmp(name, "load_extension") == 0 ? SQLITE_DENY : SQLITE_OK;
    default:
        return SQLITE_OK;
    }
}

} // namespace

namespace SqliteFunctions {

bool install(sqlite3 *db)
{
    return sqlite3_create_function_v2(db, "CDate", 1, SQLITE_UTF8 | SQLITE_DETERMINISTIC, nullptr,
                                      &cdate, nullptr, nullptr, nullptr) == SQLITE_OK;
}

void denyOutsideReach(sqlite3 *db)
{
    sqlite3_db_config(db, SQLITE_DBCONFIG_ENABLE_LOAD_EXTENSION, 0, nullptr);
    sqlite3_set_authorizer(db, &authorize, nullptr);
}

} // namespace SqliteFunctions

} // namespace qrt::db

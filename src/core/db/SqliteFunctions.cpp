#include "db/SqliteFunctions.h"

#include "base/Dates.h"

#include <sqlite3.h>

namespace qrt::db {

namespace {

std::optional<double> dateOfText(sqlite3_value *value)
{
    const auto *text = reinterpret_cast<const char *>(sqlite3_value_text(value));
    return dates::fromText(std::string_view(text, size_t(sqlite3_value_bytes(value))));
}

void resultText(sqlite3_context *context, const QString &text)
{
    const QByteArray latin1 = text.toLatin1();
    sqlite3_result_text(context, latin1.constData(), int(latin1.size()), SQLITE_TRANSIENT);
}

void cdate(sqlite3_context *context, int, sqlite3_value **argv)
{
    std::optional<double> value;
    switch (sqlite3_value_type(argv[0])) {
    case SQLITE_INTEGER:
    case SQLITE_FLOAT:
        value = sqlite3_value_double(argv[0]);
        break;
    case SQLITE_TEXT:
        value = dateOfText(argv[0]);
        break;
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
    resultText(context, dates::toTimestampText(*value));
}

void sortableDate(sqlite3_context *context, int, sqlite3_value **argv)
{
    if (sqlite3_value_type(argv[0]) == SQLITE_TEXT)
        if (const auto value = dateOfText(argv[0]))
            return resultText(context, dates::toSortableText(*value));
    sqlite3_result_value(context, argv[0]);
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
    const int flags = SQLITE_UTF8 | SQLITE_DETERMINISTIC;
    return sqlite3_create_function_v2(db, "CDate", 1, flags, nullptr, &cdate, nullptr, nullptr,
                                      nullptr) == SQLITE_OK &&
           sqlite3_create_function_v2(db, "SortableDate", 1, flags, nullptr, &sortableDate, nullptr,
                                      nullptr, nullptr) == SQLITE_OK;
}

void denyOutsideReach(sqlite3 *db)
{
    sqlite3_db_config(db, SQLITE_DBCONFIG_ENABLE_LOAD_EXTENSION, 0, nullptr);
    sqlite3_set_authorizer(db, &authorize, nullptr);
}

} // namespace SqliteFunctions

} // namespace qrt::db

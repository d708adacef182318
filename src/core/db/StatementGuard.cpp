#include "db/StatementGuard.h"

#include "db/SqlScanner.h"

#include <QSet>

using namespace Qt::StringLiterals;

namespace qrt::db::StatementGuard {

namespace {

// Functions with effects beyond the query, on PostgreSQL and SQLite.
const QSet<QString> &forbiddenNames()
{
    static const QSet<QString> names = {
        u"pg_terminate_backend"_s,
        u"pg_cancel_backend"_s,
        u"pg_reload_conf"_s,
        u"pg_rotate_logfile"_s,
        u"pg_promote"_s,
        u"pg_switch_wal"_s,
        u"pg_create_restore_point"_s,
        u"pg_backup_start"_s,
        u"pg_backup_stop"_s,
        u"pg_start_backup"_s,
        u"pg_stop_backup"_s,
        u"set_config"_s,
        u"lo_import"_s,
        u"lo_export"_s,
        u"lo_unlink"_s,
        u"lo_create"_s,
        u"lo_creat"_s,
        u"lo_from_bytea"_s,
        u"lo_put"_s,
        u"lo_truncate"_s,
        u"lowrite"_s,
        u"dblink"_s,
        u"dblink_exec"_s,
        u"dblink_connect"_s,
        u"dblink_connect_u"_s,
        u"dblink_send_query"_s,
        u"dblink_open"_s,
        u"pg_read_file"_s,
        u"pg_read_binary_file"_s,
        u"pg_ls_dir"_s,
        u"pg_stat_file"_s,
        u"pg_file_write"_s,
        u"pg_notify"_s,
        u"pg_advisory_lock"_s,
        u"pg_advisory_xact_lock"_s,
        u"pg_sleep"_s,
        u"pg_sleep_for"_s,
        u"pg_sleep_until"_s,
        u"txid_current"_s,
        u"pg_current_xact_id"_s,
        u"nextval"_s,
        u"setval"_s,
        u"load_extension"_s,
        u"readfile"_s,
        u"writefile"_s,
        u"fts3_tokenizer"_s,
        u"edit"_s,
        u"into"_s,
    };
    return names;
}

const QSet<QString> &queryKeywords()
{
    static const QSet<QString> words = {u"select"_s, u"with"_s, u"values"_s, u"table"_s};
    return words;
}

} // namespace

QString refusal(QStringView statement)
{
    SqlScanner scanner(statement);
    const QString first = scanner.next();
    if (first.isEmpty())
        return u"the statement is empty"_s;
    if (first != u"("_s && !queryKeywords().contains(first))
        return u"only a query may run: the statement begins with \"%1\""_s.arg(first);
    bool ended = false;
    QString previous;
    for (QString token = first; !token.isEmpty(); previous = token, token = scanner.next()) {
        // U&"..." spells a name with escapes, past the check below.
        if (token == u"&"_s && previous == u"u"_s)
            return u"names with escapes may not be used in a query"_s;
        if (token == u";"_s) {
            ended = true;
            continue;
        }
        if (ended)
            return u"more than one statement"_s;
        if (forbiddenNames().contains(token))
            return u"\"%1\" may not be used in a query"_s.arg(token);
    }
    if (scanner.unclosed())
        return u"a quote or comment is not closed"_s;
    return {};
}

} // namespace qrt::db::StatementGuard

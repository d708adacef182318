#include "db/ConnectionString.h"

#include <QHash>
#include <QUrl>
#include <QUrlQuery>

using namespace Qt::StringLiterals;

namespace qrt::db {

namespace {

using Pairs = QHash<QString, QString>; // keys lower-cased

// Splits "k=v;k2='v;2';k3=\"a\"\"b\"" into pairs. Quoted values may hold
// the separator; a doubled quote inside stands for one.
bool splitPairs(const QString &text, Pairs &pairs)
{
    qsizetype i = 0;
    const qsizetype n = text.size();
    while (i < n) {
        const qsizetype eq = text.indexOf(u'=', i);
        const qsizetype semi = text.indexOf(u';', i);
        if (eq < 0 || (semi >= 0 && semi < eq)) {
            if (!text.mid(i, semi < 0 ? n - i : semi - i).trimmed().isEmpty())
                return false; // a piece without '='
            if (semi < 0)
                break;
            i = semi + 1;
            continue;
        }
        const QString key = text.mid(i, eq - i).trimmed().toLower();
        i = eq + 1;
        while (i < n && text[i].isSpace())
            ++i;
        QString value;
        if (i < n && (text[i] == u'"' || text[i] == u'\'')) {
            const QChar quote = text[i++];
            bool closed = false;
            while (i < n) {
                if (text[i] == quote) {
                    if (i + 1 < n && text[i + 1] == quote) {
                        value += quote;
                        i += 2;
                        continue;
                    }
                    closed = true;
                    ++i;
                    break;
                }
                value += text[i++];
            }
            if (!closed)
                return false;
            while (i < n && text[i] != u';')
                ++i;
        } else {
            const qsizetype end = text.indexOf(u';', i);
            value = text.mid(i, (end < 0 ? n : end) - i).trimmed();
            i = end < 0 ? n : end;
        }
        if (key.isEmpty())
            return false;
        pairs.insert(key, value);
        ++i;
    }
    return true;
}

QString first(const Pairs &pairs, std::initializer_list<QString> keys)
{
    for (const QString &key : keys) {
        const auto it = pairs.constFind(key);
        if (it != pairs.constEnd())
            return *it;
    }
    return {};
}

ConnectionString fail(const QString &why)
{
    ConnectionString cs;
    cs.error = why;
    return cs;
}

ConnectionString fromUrl(const QString &text)
{
    const QUrl url(text, QUrl::StrictMode);
    if (!url.isValid() || (url.host().isEmpty() && url.path().isEmpty()))
        return fail(u"not a valid PostgreSQL URL"_s);
    ConnectionString cs;
    cs.engine = Engine::PostgreSQL;
    cs.host = url.host();
    cs.port = url.port(-1);
    cs.user = url.userName();
    cs.password = url.password();
    cs.database = url.path().mid(1);
    const QUrlQuery query(url);
    cs.reader = query.queryItemValue(u"reader"_s, QUrl::FullyDecoded).toLower();
    cs.readerUser = query.queryItemValue(u"user"_s, QUrl::FullyDecoded);
    cs.timeZone = query.queryItemValue(u"timezone"_s, QUrl::FullyDecoded);
    if (cs.host.isEmpty())
        cs.host = query.queryItemValue(u"host"_s, QUrl::FullyDecoded);
    if (cs.port < 0 && query.hasQueryItem(u"port"_s)) {
        bool ok = false;
        cs.port = query.queryItemValue(u"port"_s).toInt(&ok);
        if (!ok || cs.port < 0)
            cs.port = 0;
    }
    if (cs.port == 0 || cs.port > 65535)
        return fail(u"bad port in the PostgreSQL URL"_s);
    return cs;
}

Engine engineOfProvider(const QString &provider)
{
    const QString p = provider.toLower();
    if (p.isEmpty() || p.contains(u"sqlite"_s) || p.contains(u"jet"_s) ||
        p.contains(u"ace.oledb"_s))
        return Engine::SQLite;
    if (p.contains(u"postgres"_s) || p.contains(u"pgsql"_s) || p.contains(u"npgsql"_s) ||
        p == u"pgnp"_s)
        return Engine::PostgreSQL;
    if (p.contains(u"msdasql"_s) || p.contains(u"odbc"_s))
        return Engine::ODBC;
    return Engine::None;
}

ConnectionString fromPairs(const QString &text, const Pairs &pairs)
{
    if (pairs.contains(u"driver"_s) || pairs.contains(u"dsn"_s)) {
        ConnectionString cs;
        cs.engine = Engine::ODBC;
        cs.odbc = text;
        return cs;
    }
    const QString provider = first(pairs, {u"provider"_s});
    ConnectionString cs;
    cs.engine = engineOfProvider(provider);
    if (cs.engine == Engine::None)
        return fail(u"unknown provider \"%1\""_s.arg(provider));
    cs.user = first(pairs, {u"user id"_s, u"uid"_s, u"username"_s, u"user"_s});
    cs.password = first(pairs, {u"password"_s, u"pwd"_s});
    cs.reader = first(pairs, {u"reader"_s}).toLower();
    cs.readerUser = first(pairs, {u"user"_s});
    cs.urls = first(pairs, {u"urls"_s});
    cs.timeZone = first(pairs, {u"timezone"_s, u"time zone"_s});
    if (cs.engine == Engine::SQLite) {
        cs.database = first(pairs, {u"data source"_s, u"database"_s, u"dbq"_s, u"filename"_s});
        if (cs.database.isEmpty())
            return fail(u"no Data Source names the database file"_s);
        return cs;
    }
    if (cs.engine == Engine::ODBC) {
        cs.odbc = text;
        return cs;
    }
    cs.host = first(pairs, {u"host"_s, u"server"_s, u"data source"_s, u"address"_s});
    cs.database = first(pairs, {u"database"_s, u"initial catalog"_s, u"location"_s, u"dbname"_s});
    const QString port = first(pairs, {u"port"_s});
    if (!port.isEmpty()) {
        bool ok = false;
        cs.port = port.toInt(&ok);
        if (!ok || cs.port <= 0 || cs.port > 65535)
            return fail(u"bad port \"%1\""_s.arg(port));
    }
    // "host:port" in Data Source, as several providers accept it
    const qsizetype colon = cs.host.lastIndexOf(u':');
    if (colon > 0 && cs.port < 0) {
        bool ok = false;
        const int p = cs.host.mid(colon + 1).toInt(&ok);
        if (ok && (p <= 0 || p > 65535))
            return fail(u"bad port \"%1\""_s.arg(p));
        if (ok) {
            cs.port = p;
            cs.host.truncate(colon);
        }
    }
    return cs;
}

} // namespace

ConnectionString ConnectionString::parse(const QString &text)
{
    const QString trimmed = text.trimmed();
    if (trimmed.isEmpty())
        return fail(u"empty connection string"_s);
    if (trimmed.startsWith(u"postgresql://"_s, Qt::CaseInsensitive) ||
        trimmed.startsWith(u"postgres://"_s, Qt::CaseInsensitive))
        return fromUrl(trimmed);
    if (trimmed.startsWith(u"file:"_s, Qt::CaseInsensitive)) {
        ConnectionString cs;
        cs.engine = Engine::SQLite;
        cs.database = QUrl(trimmed).toLocalFile();
        // An empty name would give SQLite a scratch database of its own.
        if (cs.database.isEmpty())
            return fail(u"the file: URL names no file"_s);
        return cs;
    }
    if (!trimmed.contains(u'=') || trimmed.startsWith(u'/') || trimmed.startsWith(u'.') ||
        trimmed.startsWith(u'~')) { // a bare file path
        ConnectionString cs;
        cs.engine = Engine::SQLite;
        cs.database = trimmed;
        return cs;
    }
    Pairs pairs;
    if (!splitPairs(trimmed, pairs))
        return fail(u"malformed connection string"_s);
    return fromPairs(trimmed, pairs);
}

} // namespace qrt::db

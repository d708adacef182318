#include "sources/Reader.h"

#include "sources/SourceContext.h"

#include <QSqlError>
#include <QSqlQuery>

using namespace Qt::StringLiterals;

namespace qrt::sources {

int Reader::likeness(const SourceContext &context) const
{
    int found = 0;
    for (const TableNeed &need : needs())
        found += context.catalog.hasTable(context.tableName(need.table)) ? 1 : 0;
    return found;
}

bool Reader::prepare(SourceContext &, QString *) const
{
    return true;
}

void Reader::completeFeeds(std::vector<FeedRow> &, SourceContext &, QStringList *) const {}

int Reader::pickUser(const QStringList &names, const QString &wanted, QString *error)
{
    if (!wanted.isEmpty()) {
        const qsizetype index = names.indexOf(wanted, 0);
        if (index < 0)
            *error = u"no user \"%1\" (users: %2)"_s.arg(wanted, names.join(u", "_s));
        return int(index);
    }
    if (names.size() == 1)
        return 0;
    *error =
        names.isEmpty()
            ? u"the database holds no user"_s
            : u"the database holds the users %1: choose one with User="_s.arg(names.join(u", "_s));
    return -1;
}

bool Reader::chooseUser(SourceContext &context, const QString &usersStatement, QString *error)
{
    QSqlQuery query(context.db);
    query.setForwardOnly(true);
    QList<qint64> ids;
    QStringList names;
    if (!query.exec(usersStatement)) {
        *error = u"cannot read its users: "_s + query.lastError().text();
        return false;
    }
    while (query.next()) {
        ids << query.value(0).toLongLong();
        names << query.value(1).toString();
    }
    const int index = pickUser(names, context.options.readerUser, error);
    if (index < 0)
        return false;
    context.userId = ids[index];
    context.userName = names[index];
    return true;
}

} // namespace qrt::sources

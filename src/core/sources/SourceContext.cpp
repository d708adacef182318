#include "sources/SourceContext.h"

#include <QSqlQuery>

using namespace Qt::StringLiterals;

namespace qrt::sources {

namespace {

QString quotedName(QString name)
{
    return u'"' + name.replace(u'"', u"\"\""_s) + u'"';
}

} // namespace

QString SourceContext::table(const QString &table) const
{
    const QString name = catalog.realName(tableName(table));
    const QString schema = catalog.schemaOf(name);
    return schema.isEmpty() ? quotedName(name) : quotedName(schema) + u'.' + quotedName(name);
}

QString SourceContext::literal(const QString &text)
{
    return u'\'' + QString(text).replace(u'\'', u"''"_s) + u'\'';
}

QVariant SourceContext::scalar(const QString &statement, const QVariantList &values) const
{
    QSqlQuery query(db);
    query.setForwardOnly(true);
    if (!query.prepare(statement))
        return {};
    for (const QVariant &value : values)
        query.addBindValue(value);
    if (!query.exec() || !query.next())
        return {};
    return query.value(0);
}

} // namespace qrt::sources

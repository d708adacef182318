#pragma once
// What zorvane-stats shows of a database, read back for comparison: the
// chart table's counts per series and day, and the pivot grid's counts per
// row and column member.

#include "ProgramRun.h"

#include <QDate>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMap>
#include <QTemporaryDir>

namespace qrt::test {

using DayCounts = QMap<QString, QMap<QDate, int>>;
using CellCounts = QMap<QString, QMap<QString, int>>;

// The chart table of every stored item, by series; empty when the run fails.
inline DayCounts chartCounts(const QString &connection, const QString &series)
{
    using namespace Qt::StringLiterals;
    QTemporaryDir dir;
    const QString table = dir.filePath(u"table.json"_s);
    const ProgramRun run = runStats({u"chart"_s, connection, u"--period"_s, u"all"_s, u"--series"_s,
                                     series, u"--table"_s, table});
    DayCounts counts;
    if (run.exitCode != 0)
        qWarning() << run.err;
    const QJsonObject root = QJsonDocument::fromJson(readFile(table)).object();
    const QJsonArray days = root[u"days"].toArray();
    for (const QJsonValue &one : root[u"series"].toArray())
        for (qsizetype i = 0; i < days.size(); ++i)
            if (const QJsonValue value = one[u"values"][i]; !value.isNull())
                counts[one[u"name"].toString()]
                      [QDate::fromString(days[i].toString(), Qt::ISODate)] = value.toInt();
    return counts;
}

// The pivot grid of "Count of News" by two fields, members only.
inline CellCounts pivotCounts(const QString &connection, const QString &rows,
                              const QString &columns)
{
    using namespace Qt::StringLiterals;
    const ProgramRun run = runStats({u"pivot"_s, connection, u"--rows"_s, rows, u"--columns"_s,
                                     columns, u"--format"_s, u"json"_s});
    CellCounts counts;
    if (run.exitCode != 0) {
        qWarning() << run.err;
        return counts;
    }
    const QJsonObject root = QJsonDocument::fromJson(run.out.toUtf8()).object();
    const QJsonArray rowHeads = root.value(u"rows"_s).toArray();
    const QJsonArray columnHeads = root.value(u"columns"_s).toArray();
    const QJsonArray values = root.value(u"values"_s).toArray();
    const auto member = [](const QJsonValue &head) {
        const QJsonObject object = head.toObject();
        return object.value(u"kind"_s).toString() == u"member"_s
                   ? object.value(u"path"_s).toArray().last().toString()
                   : QString();
    };
    for (qsizetype r = 0; r < rowHeads.size(); ++r)
        for (qsizetype c = 0; c < columnHeads.size(); ++c) {
            const QJsonValue value = values.at(r).toArray().at(c).toArray().at(0);
            const QString row = member(rowHeads.at(r));
            const QString column = member(columnHeads.at(c));
            if (!row.isEmpty() && !column.isEmpty() && !value.isNull())
                counts[row][column] = value.toInt();
        }
    return counts;
}

} // namespace qrt::test

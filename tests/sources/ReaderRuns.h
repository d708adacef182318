#pragma once
// What zorvane-stats shows of a database, read back for comparison: the
// chart table's counts per series and day, and the pivot grid's counts per
// row and column member.

#include <QDate>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMap>
#include <QProcess>
#include <QTemporaryDir>

namespace qrt::test {

using DayCounts = QMap<QString, QMap<QDate, int>>;
using CellCounts = QMap<QString, QMap<QString, int>>;

struct StatsRun
{
    int exitCode = -1;
    QByteArray out;
    QByteArray err;
};

// `wrapper` runs the program, as "setpriv ..." does.
inline StatsRun runStats(const QStringList &arguments, const QStringList &wrapper = {})
{
    QProcess process;
    const QString program = qEnvironmentVariable("ZORVANE_STATS");
    if (wrapper.isEmpty())
        process.start(program, arguments);
    else
        process.start(wrapper.first(), wrapper.mid(1) + QStringList{program} + arguments);
    StatsRun run;
    if (!process.waitForFinished(120000))
        return run;
    run.exitCode = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    run.out = process.readAllStandardOutput();
    run.err = process.readAllStandardError();
    return run;
}

// The chart table of every stored item, by series; empty when the run fails.
inline DayCounts chartCounts(const QString &connection, const QString &series)
{
    QTemporaryDir dir;
    const QString table = dir.filePath(QStringLiteral("table.json"));
    const StatsRun run = runStats({QStringLiteral("chart"), connection, QStringLiteral("--period"),
                                   QStringLiteral("all"), QStringLiteral("--series"), series,
                                   QStringLiteral("--table"), table});
    DayCounts counts;
    QFile file(table);
    if (run.exitCode != 0 || !file.open(QIODevice::ReadOnly)) {
        qWarning() << run.err;
        return counts;
    }
    const QJsonObject root = QJsonDocument::fromJson(file.readAll()).object();
    const QJsonArray days = root.value(QStringLiteral("days")).toArray();
    for (const QJsonValue &one : root.value(QStringLiteral("series")).toArray()) {
        const QJsonArray values = one.toObject().value(QStringLiteral("values")).toArray();
        const QString name = one.toObject().value(QStringLiteral("name")).toString();
        for (qsizetype i = 0; i < values.size(); ++i)
            if (!values.at(i).isNull())
                counts[name][QDate::fromString(days.at(i).toString(), Qt::ISODate)] =
                    values.at(i).toInt();
    }
    return counts;
}

// The pivot grid of "Count of News" by two fields, members only.
inline CellCounts pivotCounts(const QString &connection, const QString &rows,
                              const QString &columns)
{
    const StatsRun run = runStats({QStringLiteral("pivot"), connection, QStringLiteral("--rows"),
                                   rows, QStringLiteral("--columns"), columns,
                                   QStringLiteral("--format"), QStringLiteral("json")});
    CellCounts counts;
    if (run.exitCode != 0) {
        qWarning() << run.err;
        return counts;
    }
    const QJsonObject root = QJsonDocument::fromJson(run.out).object();
    const QJsonArray rowHeads = root.value(QStringLiteral("rows")).toArray();
    const QJsonArray columnHeads = root.value(QStringLiteral("columns")).toArray();
    const QJsonArray values = root.value(QStringLiteral("values")).toArray();
    const auto member = [](const QJsonValue &head) {
        const QJsonObject object = head.toObject();
        return object.value(QStringLiteral("kind")).toString() == QStringLiteral("member")
                   ? object.value(QStringLiteral("path")).toArray().last().toString()
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

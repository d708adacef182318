#include "pivot/PivotResultWriter.h"

#include "pivot/PivotFieldSet.h"
#include "pivot/PivotResult.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <cmath>

using namespace Qt::StringLiterals;

namespace qrt::pivot {

namespace {

using Nodes = std::vector<PivotResult::Node>;
using Line = PivotResult::Line;

QString quoted(const QString &field)
{
    if (!field.contains(u',') && !field.contains(u'"') && !field.contains(u'\n'))
        return field;
    return u'"' + QString(field).replace(u"\""_s, u"\"\""_s) + u'"';
}

QString label(const PivotResult &result, const Nodes &nodes, const Line &line)
{
    if (line.kind == PivotResult::LineKind::GrandTotal)
        return u"Grand Total"_s;
    const QString path = result.path(nodes, line.node).join(u" / "_s);
    return line.kind == PivotResult::LineKind::Subtotal ? path + u" Total"_s : path;
}

int depthOf(const Nodes &nodes)
{
    int depth = 0;
    for (const PivotResult::Node &node : nodes)
        depth = std::max(depth, node.depth);
    return depth;
}

// The field names of the row levels, outermost first.
QStringList levelNames(const Nodes &nodes, int depth)
{
    QStringList names;
    for (int d = 1; d <= depth; ++d) {
        QString name;
        for (const PivotResult::Node &node : nodes) {
            if (node.depth == d && node.fieldSet) {
                name = node.fieldSet->Fields(node.level).Name();
                break;
            }
        }
        names << name;
    }
    return names;
}

QString kindName(PivotResult::LineKind kind)
{
    switch (kind) {
    case PivotResult::LineKind::Member:
        return u"member"_s;
    case PivotResult::LineKind::Subtotal:
        return u"subtotal"_s;
    case PivotResult::LineKind::GrandTotal:
        return u"grand total"_s;
    }
    return {};
}

} // namespace

QString PivotResultWriter::number(double value)
{
    if (std::fabs(value) < 1e15 && value == std::trunc(value))
        return QString::number(static_cast<qint64>(value));
    return QString::number(value, 'g', 15);
}

QString PivotResultWriter::csv(const PivotResult &result)
{
    const std::vector<Line> rows = result.rowLines();
    const std::vector<Line> columns = result.columnLines();
    const int depth = depthOf(result.rowNodes());
    const bool noColumns = result.columnNodes().size() <= 1;

    QStringList header = levelNames(result.rowNodes(), depth);
    for (const Line &column : columns) {
        for (int t = 0; t < result.totalCount(); ++t) {
            QString name =
                noColumns ? result.totalCaption(t) : label(result, result.columnNodes(), column);
            if (!noColumns && result.totalCount() > 1)
                name += u" | "_s + result.totalCaption(t);
            header << name;
        }
    }
    QString out;
    auto writeLine = [&](const QStringList &fields) {
        QStringList cells;
        for (const QString &field : fields)
            cells << quoted(field);
        out += cells.join(u',') + u'\n';
    };
    writeLine(header);
    for (const Line &row : rows) {
        QStringList fields;
        if (row.kind == PivotResult::LineKind::GrandTotal) {
            fields << u"Grand Total"_s;
        } else {
            fields = result.path(result.rowNodes(), row.node);
            if (row.kind == PivotResult::LineKind::Subtotal)
                fields.last() += u" Total"_s;
        }
        while (fields.size() < depth)
            fields << QString();
        for (const Line &column : columns)
            for (int t = 0; t < result.totalCount(); ++t) {
                const std::optional<double> v = result.value(row.node, column.node, t);
                fields << (v ? number(*v) : QString());
            }
        writeLine(fields);
    }
    return out;
}

QString PivotResultWriter::json(const PivotResult &result)
{
    auto lines = [&](const Nodes &nodes, const std::vector<Line> &list) {
        QJsonArray array;
        for (const Line &line : list)
            array.append(
                QJsonObject{{u"path"_s, QJsonArray::fromStringList(result.path(nodes, line.node))},
                            {u"kind"_s, kindName(line.kind)}});
        return array;
    };
    const std::vector<Line> rows = result.rowLines();
    const std::vector<Line> columns = result.columnLines();
    QJsonArray totals;
    for (int t = 0; t < result.totalCount(); ++t)
        totals.append(result.totalCaption(t));
    QJsonArray values;
    for (const Line &row : rows) {
        QJsonArray rowValues;
        for (const Line &column : columns) {
            QJsonArray cell;
            for (int t = 0; t < result.totalCount(); ++t) {
                const std::optional<double> v = result.value(row.node, column.node, t);
                cell.append(v ? QJsonValue(*v) : QJsonValue());
            }
            rowValues.append(cell);
        }
        values.append(rowValues);
    }
    const QJsonObject root{{u"rows"_s, lines(result.rowNodes(), rows)},
                           {u"columns"_s, lines(result.columnNodes(), columns)},
                           {u"totals"_s, totals},
                           {u"values"_s, values}};
    return QString::fromUtf8(QJsonDocument(root).toJson(QJsonDocument::Indented));
}

} // namespace qrt::pivot

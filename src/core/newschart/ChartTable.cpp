#include "newschart/ChartTable.h"

#include "base/Dates.h"
#include "newschart/ChartControl.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QStringList>

#include <optional>

using namespace Qt::StringLiterals;

namespace qrt::chart {

namespace {

QString title(const ChartControl &chart)
{
    return chart.LabelCount() > 0 ? chart.Label(0)->Text : QString();
}

// The days of the points: point k is the day of the time base plus k.
QStringList days(const ChartControl &chart)
{
    QStringList out;
    const ChartAxis *x = chart.Axis(u"X");
    const int points = chart.NumPoints(1);
    for (int k = 1; k <= points; ++k)
        out << dates::toQDate(x->TimeBase + k).toString(Qt::ISODate);
    return out;
}

// The value of series i at point k, or nothing for a hole.
std::optional<double> value(const ChartControl &chart, int i, int k)
{
    double v = 0.0;
    if (!chart.Y(i, k, v) || chart.IsHole(v))
        return std::nullopt;
    return v;
}

QString csvField(const QString &text)
{
    if (!text.contains(u',') && !text.contains(u'"') && !text.contains(u'\n') &&
        !text.contains(u'\r'))
        return text;
    return u'"' + QString(text).replace(u"\""_s, u"\"\""_s) + u'"';
}

} // namespace

QByteArray ChartTable::Csv(const ChartControl &chart, double minDate, double maxDate)
{
    QString out;
    out += u"Title,"_s + csvField(title(chart)) + u"\r\n"_s;
    out += u"MinDate,"_s + dates::toTimestampText(minDate) + u"\r\n"_s;
    out += u"MaxDate,"_s + dates::toTimestampText(maxDate) + u"\r\n"_s;
    QStringList header = {u"Date"_s};
    for (int i = 1; i <= chart.NumSeries(); ++i)
        header << csvField(chart.SeriesLabels().value(i - 1));
    out += header.join(u',') + u"\r\n"_s;
    const QStringList dayTexts = days(chart);
    for (int k = 1; k <= dayTexts.size(); ++k) {
        QStringList line = {dayTexts[k - 1]};
        for (int i = 1; i <= chart.NumSeries(); ++i) {
            const auto v = value(chart, i, k);
            line << (v ? QString::number(*v, 'g', 17) : QString());
        }
        out += line.join(u',') + u"\r\n"_s;
    }
    return out.toUtf8();
}

QByteArray ChartTable::Json(const ChartControl &chart, double minDate, double maxDate)
{
    QJsonArray series;
    const QStringList dayTexts = days(chart);
    for (int i = 1; i <= chart.NumSeries(); ++i) {
        QJsonArray values;
        for (int k = 1; k <= dayTexts.size(); ++k) {
            const auto v = value(chart, i, k);
            values.append(v ? QJsonValue(*v) : QJsonValue(QJsonValue::Null));
        }
        series.append(
            QJsonObject{{u"name"_s, chart.SeriesLabels().value(i - 1)}, {u"values"_s, values}});
    }
    const QJsonObject root{
        {u"title"_s, title(chart)},
        {u"minDate"_s, dates::toTimestampText(minDate)},
        {u"maxDate"_s, dates::toTimestampText(maxDate)},
        {u"days"_s, QJsonArray::fromStringList(dayTexts)},
        {u"series"_s, series},
    };
    return QJsonDocument(root).toJson(QJsonDocument::Indented);
}

} // namespace qrt::chart

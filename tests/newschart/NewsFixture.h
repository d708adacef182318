#pragma once
// Small news databases for the chart's tests: the four tables with a fixed
// catalogue, news items given as "yyyy-MM-dd HH:mm:ss|channel" ("|null" for
// an item without an ID, which the statement's Count skips); random news
// leaning on the edges of a day; and a drawing as frmChart makes it, with a
// text of everything it left, to compare two ways of reading.

#include "TestDatabases.h"
#include "base/Dates.h"
#include "newschart/ChartControl.h"
#include "newschart/NewsChartBuilder.h"

#include <QRandomGenerator>
#include <QStringList>

namespace qrt::test {

using namespace Qt::StringLiterals;

// A filter as the panel writes it with every box of the three lists ticked.
inline const QString kAllTicked =
    u"Categories.ID  not in (0) AND Providers.ID  not in (0) AND Channels.ID  not in (0) "_s;

// Providers 1 and 2 with two channels each, in two categories; provider 0
// ("Zero Desk", channel 9) only where a test asks for an ID of 0.
inline QStringList newsSchema(bool postgres, bool withProviderZero = false)
{
    QStringList sql = qrt::test::newsTables(postgres);
    sql << QStringList{
        u"INSERT INTO Categories VALUES (1, 'World'), (2, 'Sports')"_s,
        u"INSERT INTO Providers VALUES (1, 'Alpha Wire'), (2, 'Beta News')"_s,
        u"INSERT INTO Channels VALUES (1, 'Alpha World', 1, 1), (2, 'Alpha "
        "Sports', 1, 2), (3, 'Beta World', 2, 1), (4, 'Beta Sports', 2, 2)"_s,
    };
    if (withProviderZero) {
        sql << u"INSERT INTO Providers VALUES (0, 'Zero Desk')"_s
            << u"INSERT INTO Channels VALUES (9, 'Zero Channel', 0, 1)"_s;
    }
    return sql;
}

// One statement for all the items, numbered from firstId.
inline QStringList newsInserts(const QStringList &items, qint64 firstId = 1)
{
    QStringList values;
    for (const QString &text : items) {
        const QStringList parts = text.split(u'|'); // date, channel, perhaps "null"
        const bool hasId = parts.value(2) != QLatin1StringView("null");
        values << u"(%1, '%2', %3, 'item')"_s.arg(hasId ? QString::number(firstId) : u"NULL"_s,
                                                  parts.value(0), parts.value(1, u"1"_s));
        ++firstId;
    }
    return values.isEmpty() ? QStringList()
                            : QStringList{u"INSERT INTO News VALUES "_s + values.join(u',')};
}

// A new SQLite file at path holding the items; false on any failure.
inline bool makeSqliteNews(const QString &path, const QStringList &items)
{
    return execAll(path, newsSchema(false) + newsInserts(items));
}

constexpr int kWindowDays = 120;
inline const double kFirstDay = dates::fromYmd(2005, 1, 1);

// Items at midnight, at 23:59:59, several at one instant, several channels
// of one provider on one day, items without an ID ("|null").
inline QStringList randomItems(quint32 seed, int count = 3000)
{
    QRandomGenerator random(seed);
    QStringList items;
    QString previous;
    for (int i = 0; i < count; ++i) {
        if (!previous.isEmpty() && random.bounded(10) == 0) { // same instant, same channel
            items << previous;
            continue;
        }
        const double day = kFirstDay + random.bounded(kWindowDays);
        const int kind = random.bounded(20);
        const int second = kind < 5 ? 0 : kind < 7 ? 86399 : random.bounded(86400);
        const QString pubDate = dates::toTimestampText(day + second / 86400.0);
        QString item = pubDate + u'|' + QString::number(1 + random.bounded(4));
        if (random.bounded(50) == 0)
            item += u"|null"_s;
        items << item;
        previous = item;
    }
    return items;
}

struct Period
{
    double from;
    double till;
};

inline QList<Period> randomPeriods(quint32 seed)
{
    QRandomGenerator random(seed * 7919u + 1);
    QList<Period> out = {
        {0.0, kFirstDay + kWindowDays},           // "All"
        {kFirstDay - 60, kFirstDay - 1},          // before any news
        {kFirstDay + 10, kFirstDay + 10},         // one day, its midnight after counted
        {kFirstDay + kWindowDays + 5, kFirstDay}, // first day after the last
        {kFirstDay + 11, kFirstDay + 10},         // the midnight after alone
    };
    for (int i = 0; i < 8; ++i) {
        const double from = kFirstDay - 5 + random.bounded(kWindowDays + 5);
        out << Period{from, from + random.bounded(60)};
    }
    return out;
}

// One drawing: a chart and the builder that filled it, as frmChart draws.
struct Drawing
{
    ChartControl chart;
    chart::NewsChartBuilder builder{chart};

    bool draw(db::Connection &connection, const QString &where, const chart::NewsChartQuery &query)
    {
        builder.ClearChart(query);
        return builder.Build(connection, where, query);
    }
};

// Every series' cells as "5,_,12": "_" for a hole.
inline QStringList cellTexts(const ChartControl &chart)
{
    QStringList out;
    for (int i = 1; i <= chart.NumSeries(); ++i) {
        QStringList cells;
        for (int k = 1; k <= chart.NumPoints(i); ++k) {
            double v = 0;
            chart.Y(i, k, v);
            cells << (chart.IsHole(v) ? u"_"_s : QString::number(v, 'g', 17));
        }
        out << cells.join(u',');
    }
    return out;
}

inline QString fingerprint(const Drawing &drawing)
{
    const ChartControl &chart = drawing.chart;
    QStringList parts = {
        u"%1\nseries=%2 points=%3\nmin=%4 max=%5\n%6"_s.arg(chart.SeriesLabels().join(u'|'))
            .arg(chart.NumSeries())
            .arg(chart.NumPoints(1))
            .arg(drawing.builder.MinDate(), 0, 'g', 17)
            .arg(drawing.builder.MaxDate(), 0, 'g', 17)
            .arg(drawing.builder.Statement())};
    parts << cellTexts(chart);
    for (int l = 0; l < chart.LabelCount(); ++l) {
        const ChartLabel *label = chart.Label(l);
        parts << label->Text + u" @ %1,%2"_s.arg(label->DataX).arg(label->DataY);
    }
    return parts.join(u'\n');
}

} // namespace qrt::test

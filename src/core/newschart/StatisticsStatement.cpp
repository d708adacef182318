#include "newschart/StatisticsStatement.h"

#include "base/Dates.h"

#include <array>

using namespace Qt::StringLiterals;

namespace qrt::chart {

const QString StatisticsStatement::SelectList =
    u"News.pubDate, Count(News.ID) AS NewsCount, Channels.ID as Chan_ID, Providers.ID as Prov_ID, "
    "Categories.ID as Categ_ID, Channels.Channel, Providers.Provider, Categories.Name as "
    "Categories"_s;

const QString StatisticsStatement::Joins =
    u"Categories INNER JOIN (Providers INNER JOIN (Channels INNER JOIN News ON Channels.ID = "
    "News.Channel) ON Providers.ID = Channels.Provider) ON Categories.ID = Channels.Category"_s;

const QString StatisticsStatement::ChannelJoins =
    u"Categories INNER JOIN (Providers INNER JOIN Channels ON Providers.ID = Channels.Provider) ON "
    "Categories.ID = Channels.Category"_s;

const QString StatisticsStatement::GroupBy =
    u" GROUP BY News.pubDate, Channels.ID, Channels.Channel, Providers.ID, Providers.Provider, "
    "Categories.ID, Categories.Name "_s;

QString StatisticsStatement::PeriodClause(double fromDate, double tillDate, const QString &filter)
{
    return u"(News.pubDate >= CDate(\""_s + dates::toText(fromDate) +
           u"\") AND News.pubDate<=CDate(\""_s + dates::toText(tillDate + 1) + u"\")) AND "_s +
           filter;
}

QString StatisticsStatement::Compose(const QString &where, const QString &order)
{
    return u"SELECT "_s + SelectList + u" FROM "_s + Joins + u" "_s + u" WHERE "_s + where +
           GroupBy + order;
}

const SeriesColumns *StatisticsStatement::ColumnsFor(int chartSeria)
{
    static const std::array<SeriesColumns, 3> columns = {{
        {u"Channels.ID"_s, u"Channels.Channel"_s, u"ORDER BY Channels.ID, News.pubDate"_s},
        {u"Providers.ID"_s, u"Providers.Provider"_s, u"ORDER BY Providers.ID, News.pubDate"_s},
        {u"Categories.ID"_s, u"Categories.Name"_s, u"ORDER BY Categories.ID, News.pubDate"_s},
    }};
    if (chartSeria < 2 || chartSeria > 4)
        return nullptr;
    return &columns[size_t(chartSeria - 2)];
}

} // namespace qrt::chart

#include "newschart/PanelFilter.h"

#include <QRegularExpression>

using namespace Qt::StringLiterals;

namespace qrt::chart {

namespace {

const QString kTerm =
    uR"(\s*(Categories|Providers|Channels)\.ID\s+(not\s+)?in\s*\(\s*(-?\d+(?:\s*,\s*-?\d+)*)\s*\)\s*)"_s;

} // namespace

std::optional<PanelFilter> PanelFilter::parse(const QString &text)
{
    static const QRegularExpression whole(u"^"_s + kTerm + u"(?:AND"_s + kTerm + u")*$"_s,
                                          QRegularExpression::CaseInsensitiveOption);
    static const QRegularExpression term(kTerm, QRegularExpression::CaseInsensitiveOption);
    if (!whole.match(text).hasMatch())
        return std::nullopt;
    PanelFilter filter;
    for (auto it = term.globalMatch(text); it.hasNext();) {
        const auto m = it.next();
        Term t;
        const QString table = m.captured(1).toLower();
        t.column = table == u"categories"_s  ? Category
                   : table == u"providers"_s ? Provider
                                             : Channel;
        t.negated = m.hasCaptured(2);
        for (const QString &id : m.captured(3).split(u',')) {
            bool ok = false;
            t.ids << id.trimmed().toLongLong(&ok);
            if (!ok)
                return std::nullopt; // beyond 64 bits SQL compares as a real number
        }
        filter.m_terms.push_back(std::move(t));
    }
    return filter;
}

bool PanelFilter::accepts(qint64 category, qint64 provider, qint64 channel) const
{
    const qint64 ids[] = {category, provider, channel};
    for (const Term &t : m_terms)
        if (t.ids.contains(ids[t.column]) == t.negated)
            return false;
    return true;
}

} // namespace qrt::chart

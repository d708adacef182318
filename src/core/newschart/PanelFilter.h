#pragma once
// The filter text the filter panel writes, read back into its ID lists, so
// that a drawing from memory picks its channels without asking the database:
// terms "<Categories|Providers|Channels>.ID [not] in (<ids>)" joined by AND,
// meant as SQL means them. Any other text (one typed by hand, with OR or on
// other columns) is no panel filter and is left to the database.

#include <QList>
#include <QString>

#include <optional>
#include <vector>

namespace qrt::chart {

class PanelFilter
{
public:
    // Nothing when the text is not of the panel's form.
    static std::optional<PanelFilter> parse(const QString &text);

    // Whether a channel of that category and provider passes every term.
    bool accepts(qint64 category, qint64 provider, qint64 channel) const;

private:
    enum Column { Category, Provider, Channel };
    struct Term
    {
        Column column = Channel;
        bool negated = false;
        QList<qint64> ids;
    };
    std::vector<Term> m_terms;
};

} // namespace qrt::chart

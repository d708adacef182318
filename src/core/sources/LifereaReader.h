#pragma once
// Liferea's liferea.db (SQLite, WAL): the feed list is the node tree (a
// feed's category is the folder it sits in), subscriptions give the feed
// URLs and subscription_metadata the site's "homepage"; items.date is Unix
// seconds. News bins hold copies of items and are left out, like comments.
#include "sources/Reader.h"

namespace qrt::sources {

class LifereaReader final : public Reader
{
public:
    QString name() const override;
    QString title() const override;
    bool runsOn(db::Engine engine) const override;
    std::vector<TableNeed> needs() const override;
    QString feedsStatement(const SourceContext &context) const override;
    ItemSource items(const SourceContext &context) const override;
};

} // namespace qrt::sources

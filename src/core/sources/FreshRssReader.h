#pragma once
// FreshRSS: categories, feeds and entries; entry.date is Unix seconds. On
// SQLite one file holds one user; on PostgreSQL every user has a set of
// tables named "<prefix><user>_entry" and so on, and User= picks one.
#include "sources/Reader.h"

namespace qrt::sources {

class FreshRssReader final : public Reader
{
public:
    QString name() const override;
    QString title() const override;
    bool runsOn(db::Engine engine) const override;
    int likeness(const SourceContext &context) const override;
    bool prepare(SourceContext &context, QString *error) const override;
    std::vector<TableNeed> needs() const override;
    QString feedsStatement(const SourceContext &context) const override;
    ItemSource items(const SourceContext &context) const override;
};

} // namespace qrt::sources

#pragma once
// Tiny Tiny RSS (PostgreSQL): an article is one ttrss_entries row shared by
// the users who have it, each through a ttrss_user_entries row, which is
// what counts; "updated" is the article's date, a timestamp holding UTC.
// Articles kept after their feed was removed (no feed_id) are left out.
#include "sources/Reader.h"

namespace qrt::sources {

class TtrssReader final : public Reader
{
public:
    QString name() const override;
    QString title() const override;
    bool runsOn(db::Engine engine) const override;
    bool prepare(SourceContext &context, QString *error) const override;
    std::vector<TableNeed> needs() const override;
    QString feedsStatement(const SourceContext &context) const override;
    ItemSource items(const SourceContext &context) const override;
};

} // namespace qrt::sources

#pragma once
// Miniflux (PostgreSQL): users, categories, feeds and entries, every row
// with its user_id; published_at is a timestamptz, and entries of status
// "removed" were deleted by the user.
#include "sources/Reader.h"

namespace qrt::sources {

class MinifluxReader final : public Reader
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

#pragma once
// The dates of feeds: RFC 822 as RSS writes them ("Sat, 07 Jun 2026
// 01:25:52 EDT", with named or numeric zones, with or without the weekday or
// the seconds, two-digit years) and ISO 8601 as Atom and Dublin Core write
// them ("2026-06-07T05:25:52Z", "+02:00", fractions of a second).

#include <QDateTime>
#include <QStringView>

namespace qrt::feeds {

// The instant the text names, or an invalid QDateTime for a text that is no
// date. A time without a zone is taken as UTC.
QDateTime parseFeedDate(QStringView text);

} // namespace qrt::feeds

#pragma once
// Character references of HTML in feed texts. Titles of RSS feeds are often
// HTML escaped inside the XML ("Caf&amp;eacute;"), and feeds that name an
// outside DTD use its entities unresolved ("&nbsp;"); readers show letters.

#include <QString>
#include <QStringView>

namespace qrt::feeds {

// The code point of a reference's name without "&" and ";" ("eacute",
// "#233", "#xE9"), or 0 for a name HTML does not know.
char32_t htmlEntity(QStringView name);

// The text with every known reference replaced by its character; anything
// else, a lone "&" included, stays as it is.
QString decodeHtmlEntities(const QString &text);

} // namespace qrt::feeds

#pragma once
// The texts the error handler writes: trace lines, the error report that goes
// to the log, the system log, the message box and the dialog, the listing of
// the call stack, and the support mail address built from a report. Kept
// apart from the handler so they can be checked without a screen.
//
// Line ends are CR LF throughout, whatever the platform: the logs and the
// mail body are read on other machines as the original ones were.

#include <QString>
#include <QStringList>

namespace qrt::errors {

inline constexpr QStringView CrLf = u"\r\n";

// The current date and time as every line and report shows them: ISO date
// ("2005-03-15") and 24-hour time with seconds ("14:05:09"), each read anew.
QString LogDate();
QString LogTime();

// "date - time --- Entered routine: label" (or "Exited"), without line end.
QString TraceLine(bool entered, const QString &label);

// The procedures from the newest to the oldest, one per line, each behind
// `indent` blanks and, with includeData, followed by "(data)". Empty for an
// empty stack. The lists run oldest first and stay in step.
QString CallStackListing(const QStringList &stack, const QStringList &data, int indent,
                         bool includeData);

// The error report: date and time, the error, where it happened, and the
// listing under "The call stack is:". It does not end in a line end.
QString ErrorReport(qint32 number, const QString &description, const QString &procedure,
                    qint32 line, const QString &listing);

// The report made fit for a mailto: body. Only the line-end pair and the
// characters that would end the address's fields are escaped; a lone LF,
// blanks and '%' pass as they are, which mail programs accept.
QString EscapeMailBody(const QString &text);

// "mailto:<address>?subject=<caption>&body=<report>", the caption's blanks
// as %20, the report between two lines of dashes.
QString SupportMailAddress(const QString &supportMail, const QString &caption,
                           const QString &report);

} // namespace qrt::errors

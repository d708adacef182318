#include "errors/ErrorTexts.h"

#include "base/Dates.h"

using namespace Qt::StringLiterals;

namespace qrt::errors {

QString LogDate()
{
    return dates::toText(dates::today());
}

QString LogTime()
{
    return dates::toQTime(dates::now()).toString(u"HH:mm:ss"_s);
}

QString TraceLine(bool entered, const QString &label)
{
    const QString date = LogDate();
    const QString time = LogTime();
    return date % u" - "_s % time %
           (entered ? u" --- Entered routine: "_s : u" --- Exited routine: "_s) % label;
}

QString CallStackListing(const QStringList &stack, const QStringList &data, int indent,
                         bool includeData)
{
    QString listing;
    const QString blanks(qMax(indent, 0), u' ');
    for (qsizetype i = stack.size() - 1; i >= 0; --i) {
        if (i != stack.size() - 1)
            listing += CrLf;
        listing += blanks % stack.at(i);
        if (includeData)
            listing += u'(' % data.value(i) % u')';
    }
    return listing;
}

QString ErrorReport(qint32 number, const QString &description, const QString &procedure,
                    qint32 line, const QString &listing)
{
    const QString date = LogDate();
    const QString time = LogTime();
    return date % u" - "_s % time % CrLf                                              //
           % u"\tError: "_s % QString::number(number) % u", ("_s % description % u')' //
           % CrLf % u"\tin "_s % procedure % u" at line "_s % QString::number(line)   //
           % CrLf % CrLf % u"The call stack is:"_s % CrLf % listing;
}

QString EscapeMailBody(const QString &text)
{
    // The pair goes first, so a lone LF is left for the mail program.
    QString escaped = text;
    escaped.replace(CrLf.toString(), u"%0A"_s);
    escaped.replace(u'\t', u"%09"_s);
    escaped.replace(u':', u"%3A"_s);
    escaped.replace(u'/', u"%2F"_s);
    escaped.replace(u'?', u"%3F"_s);
    escaped.replace(u'=', u"%3D"_s);
    escaped.replace(u'&', u"%26"_s);
    return escaped;
}

QString SupportMailAddress(const QString &supportMail, const QString &caption,
                           const QString &report)
{
    const QString dashes(20, u'-');
    const QString body =
        u"%0A%0A"_s % dashes % u"%0A"_s % EscapeMailBody(report) % u"%0A"_s % dashes;
    QString subject = caption;
    subject.replace(u' ', u"%20"_s);
    return u"mailto:"_s % supportMail % u"?subject="_s % subject % u"&body="_s % body;
}

} // namespace qrt::errors

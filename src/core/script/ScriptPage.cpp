#include "script/ScriptPage.h"

#include <QRegularExpression>

using namespace Qt::StringLiterals;

namespace qrt::script {

namespace {

// Line breaks as the script's lexer counts them: CR LF, LF or a lone CR.
int linesBefore(QStringView text, qsizetype end, qsizetype from, int line)
{
    for (qsizetype i = from; i < end; ++i) {
        if (text[i] == u'\n' ||
            (text[i] == u'\r' && (i + 1 >= text.size() || text[i + 1] != u'\n')))
            ++line;
    }
    return line;
}

// The value of one attribute of a tag, without its quotes; empty when absent.
QString attribute(QStringView tag, QStringView name)
{
    static const QRegularExpression pattern(
        uR"(([A-Za-z_:][-\w:.]*)\s*=\s*("[^"]*"|'[^']*'|[^\s"'>]+))"_s);
    for (QRegularExpressionMatchIterator it = pattern.globalMatch(tag); it.hasNext();) {
        const QRegularExpressionMatch m = it.next();
        if (m.capturedView(1).compare(name, Qt::CaseInsensitive) != 0)
            continue;
        QStringView value = m.capturedView(2);
        if (value.startsWith(u'"') || value.startsWith(u'\''))
            value = value.sliced(1, value.size() - 2);
        return value.toString();
    }
    return {};
}

bool isVbScript(QStringView tag)
{
    const QString language = attribute(tag, u"language").toLower();
    const QString type = attribute(tag, u"type").toLower();
    return language == u"vbs"_s || language == u"vbscript"_s || type == u"text/vbscript"_s;
}

} // namespace

ScriptPage ScriptPage::fromHtml(QStringView html)
{
    static const QRegularExpression tags(uR"(<(script|object)\b[^>]*>)"_s,
                                         QRegularExpression::CaseInsensitiveOption);
    static const QRegularExpression scriptEnd(u"</script\\s*>"_s,
                                              QRegularExpression::CaseInsensitiveOption);
    ScriptPage page;
    int line = 1;
    qsizetype counted = 0;
    qsizetype from = 0;
    for (;;) {
        const QRegularExpressionMatch tag = tags.match(html, from);
        if (!tag.hasMatch())
            break;
        line = linesBefore(html, tag.capturedStart(), counted, line);
        counted = tag.capturedStart();
        from = tag.capturedEnd();
        const QStringView text = tag.capturedView(0);
        if (tag.capturedView(1).compare(u"object", Qt::CaseInsensitive) == 0) {
            QString classId = attribute(text, u"classid");
            if (classId.startsWith(u"clsid:"_s, Qt::CaseInsensitive))
                classId.remove(0, 6);
            page.m_objects.append({attribute(text, u"id"), classId, line});
            continue;
        }
        const QRegularExpressionMatch end = scriptEnd.match(html, from);
        const qsizetype stop = end.hasMatch() ? end.capturedStart() : html.size();
        if (isVbScript(text)) {
            const int firstLine = linesBefore(html, from, counted, line);
            page.addScript(html.sliced(from, stop - from).toString(), firstLine);
        }
        from = end.hasMatch() ? end.capturedEnd() : html.size();
    }
    return page;
}

void ScriptPage::addScript(QString text, int firstLine)
{
    m_scripts.append({std::move(text), firstLine});
}

} // namespace qrt::script

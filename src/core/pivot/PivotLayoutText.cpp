#include "pivot/PivotLayoutText.h"

#include "pivot/PivotView.h"

#include <QRegularExpression>

using namespace Qt::StringLiterals;

namespace qrt::pivot {

namespace {

PivotError syntax(const QString &what, const QString &text)
{
    return PivotError::invalidValue(what, text);
}

QStringList split(const QString &text, QChar separator)
{
    QStringList parts;
    for (const QString &part : text.split(separator, Qt::SkipEmptyParts))
        if (!part.trimmed().isEmpty())
            parts << part.trimmed();
    return parts;
}

PivotMember memberAt(const PivotFieldSet &set, const QString &path)
{
    PivotMember member = set.Member();
    for (const QString &caption : path.split(u'/'))
        member = member.ChildMembers().Item(caption.trimmed());
    return member;
}

void applyChoice(PivotFieldSet &set, const QString &choice, int &mode)
{
    static const QRegularExpression form(u"^([^=!]+?)\\s*(!=|=)\\s*(.+)$"_s);
    const QRegularExpressionMatch m = form.match(choice);
    if (!m.hasMatch())
        throw syntax(u"a member choice"_s, choice);
    const int wanted = m.captured(2) == u"="_s ? PivotFieldSet::ExcludeAllButIncluded
                                               : PivotFieldSet::IncludeAllButExcluded;
    if (mode != 0 && mode != wanted)
        throw syntax(
            u"the choices of \"%1\", which can't both include and exclude"_s.arg(set.Name()),
            choice);
    mode = wanted;
    PivotField &field = set.Fields(m.captured(1).trimmed());
    std::vector<PivotMember> members;
    for (const QString &path : split(m.captured(3), u'|'))
        members.push_back(memberAt(set, path));
    if (wanted == PivotFieldSet::ExcludeAllButIncluded)
        field.setIncludedMembers(members);
    else
        field.setExcludedMembers(members);
}

void applyFieldSet(PivotView &view, PivotAxis &axis, const QString &text)
{
    static const QRegularExpression form(
        u"^([^\\[\\(]+?)\\s*(?:\\[([^\\]]*)\\])?\\s*((?:\\([^\\)]*\\)\\s*)*)$"_s);
    const QRegularExpressionMatch m = form.match(text);
    if (!m.hasMatch())
        throw syntax(u"a field set"_s, text);
    PivotFieldSet &set = view.FieldSets(m.captured(1).trimmed());
    axis.InsertFieldSet(set);
    if (m.capturedLength(2) > 0 || text.contains(u'[')) {
        for (PivotField *field : set.Fields())
            field->setIsIncluded(false);
        for (const QString &name : split(m.captured(2), u','))
            set.Fields(name).setIsIncluded(true);
    }
    int mode = 0;
    static const QRegularExpression choices(u"\\(([^\\)]*)\\)"_s);
    for (auto it = choices.globalMatch(m.captured(3)); it.hasNext();)
        applyChoice(set, it.next().captured(1).trimmed(), mode);
    if (mode != 0)
        set.setAllIncludeExclude(mode);
}

int functionOf(const QString &name)
{
    for (int f = PivotTotal::Sum; f <= PivotTotal::Average; ++f)
        if (PivotTotal::functionName(f).compare(name, Qt::CaseInsensitive) == 0)
            return f;
    throw syntax(u"a total function"_s, name);
}

} // namespace

void PivotLayoutText::applyFieldSets(PivotView &view, PivotAxis &axis, const QString &text)
{
    for (const QString &fieldSet : split(text, u';'))
        applyFieldSet(view, axis, fieldSet);
}

void PivotLayoutText::applyTotals(PivotView &view, const QString &text)
{
    static const QRegularExpression form(u"^(.+?)\\s*=\\s*(\\w+)\\s*\\(([^\\)]+)\\)$"_s);
    for (const QString &total : split(text, u';')) {
        const QRegularExpressionMatch m = form.match(total);
        if (!m.hasMatch())
            throw syntax(u"a total"_s, total);
        const int function = functionOf(m.captured(2));
        PivotFieldSet &set = view.FieldSets(m.captured(3).trimmed());
        view.DataAxis().InsertTotal(
            view.AddTotal(m.captured(1).trimmed(), set.Fields(0), function));
    }
}

} // namespace qrt::pivot

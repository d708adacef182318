#include "pivotpage/PivotLayoutCapture.h"

#include "base/ResumeNext.h"
#include "pivot/PivotView.h"
#include "settings/CAppSettings.h"

using namespace Qt::StringLiterals;

namespace qrt::pivot::PivotLayoutCapture {

namespace {

const QString kListSeparator = u"%%|%%"_s;
const QString kPathSeparator = u"**|**"_s;

void save(const CAppSettings &settings, const QString &section, const QString &key,
          const QVariant &value)
{
    resumeNext([&] { settings.SaveSetting(section, key, value); });
}

// The members the field set's mode makes count: the included ones at 2,
// the excluded ones at 1, none at any other value.
std::vector<PivotMember> chosenMembers(const PivotFieldSet &set, const PivotField &field)
{
    std::vector<PivotMember> members;
    resumeNext([&] {
        if (set.AllIncludeExclude() == PivotFieldSet::ExcludeAllButIncluded)
            members = field.IncludedMembers();
        else if (set.AllIncludeExclude() == PivotFieldSet::IncludeAllButExcluded)
            members = field.ExcludedMembers();
    });
    return members;
}

// "%%|%%" and the field's record, or nothing when no member is chosen. All
// members are taken to share the first one's parent.
QString filterRecord(const PivotFieldSet &set, const PivotField &field)
{
    const std::vector<PivotMember> members = chosenMembers(set, field);
    QString captions;
    for (const PivotMember &member : members)
        resumeNext([&] { captions += u',' + member.Caption(); });
    if (captions.isEmpty())
        return {};
    QString path;
    resumeNext([&] { path = GetMemberPath(members.front().ParentMember()); });
    if (!path.isEmpty())
        path.remove(0, kPathSeparator.size());
    return kListSeparator + field.Name() + u"||"_s + QString::number(set.AllIncludeExclude()) +
           u"||"_s + path + u"||("_s + captions.mid(1) + u')';
}

} // namespace

void SaveAxisLayout(const CAppSettings &settings, const QString &section, const PivotAxis &axis,
                    const QString &axisName)
{
    const PivotList<PivotFieldSet> &sets = axis.FieldSets();
    save(settings, section, axisName + u"FIELDSETSCOUNT"_s, static_cast<int>(sets.Count()));
    int ordinal = 0;
    for (const PivotFieldSet *set : sets) {
        ++ordinal;
        QString fields, filters;
        for (const PivotField *field : set->Fields()) {
            if (field->IsIncluded())
                fields += kListSeparator + field->Name();
            filters += filterRecord(*set, *field);
        }
        if (!fields.isEmpty())
            fields.remove(0, kListSeparator.size());
        if (!filters.isEmpty())
            filters.remove(0, kListSeparator.size());
        const QString n = QString::number(ordinal);
        save(settings, section, axisName + u"FIELDSETNAME"_s + n, set->Name());
        save(settings, section, axisName + u"FIELDSETFIELDS"_s + n, fields);
        save(settings, section, axisName + u"FIELDSFILTERS"_s + n, filters);
    }
}

void SaveTotalsLayout(const CAppSettings &settings, const QString &section, const PivotView &view)
{
    const PivotList<PivotTotal> &totals = view.DataAxis().Totals();
    save(settings, section, u"TOTALSCOUNT"_s, static_cast<int>(totals.Count()));
    int ordinal = 0;
    for (const PivotTotal *total : totals) {
        const QString n = QString::number(++ordinal);
        save(settings, section, u"TOTALNAME"_s + n, total->Caption());
        // A total without a field has no base name to store.
        if (const PivotField *field = total->Field())
            save(settings, section, u"TOTALFIELD"_s + n, field->BaseName());
        save(settings, section, u"TOTALFUNCTION"_s + n, total->Function());
    }
}

QString GetMemberPath(const PivotMember &member)
{
    // Only a walk past the root meets a null member; without this it would
    // never end, as a null member's caption is empty rather than "ALL".
    if (member.isNull())
        throw PivotError::invalidValue(u"a member"_s, u"Nothing"_s);
    const QString caption = member.Caption();
    if (caption == PivotMember::rootCaption())
        return {};
    return GetMemberPath(member.ParentMember()) + kPathSeparator + caption;
}

void SaveViewLayout(const CAppSettings &settings, const QString &section, const PivotView &view)
{
    SaveAxisLayout(settings, section, view.FilterAxis(), u"FILTER"_s);
    SaveAxisLayout(settings, section, view.RowAxis(), u"ROW"_s);
    SaveAxisLayout(settings, section, view.ColumnAxis(), u"COLUMN"_s);
    SaveAxisLayout(settings, section, view.DataAxis(), u"DATA"_s);
    SaveTotalsLayout(settings, section, view);
}

void SavePivotTableLayout(const CAppSettings &settings, const PivotView &view)
{
    SaveViewLayout(settings, u"STATMSTABLE"_s, view);
}

} // namespace qrt::pivot::PivotLayoutCapture

#include "pivotpage/PivotChartLayout.h"

#include "base/ResumeNext.h"
#include "base/RoundedNumber.h"
#include "pivot/PivotError.h"
#include "pivot/PivotView.h"
#include "settings/CAppSettings.h"

using namespace Qt::StringLiterals;

namespace qrt::pivot::PivotChartLayout {

namespace {

const QString kListSeparator = u"%%|%%"_s;

QVariant stored(const CAppSettings &settings, const QString &key, const QVariant &fallback)
{
    return settings.GetSetting(Section, key, fallback);
}

// A stored number that is no number or does not fit raises, as an overflow
// would.
template<typename T>
T toInteger(const QVariant &value)
{
    if (const std::optional<T> number = roundedNumber<T>(value))
        return *number;
    throw PivotError::invalidValue(u"number"_s, value.toString());
}

PivotAxis &axisNamed(PivotView &view, const QString &axis)
{
    if (axis == u"DATA"_s)
        return view.DataAxis();
    if (axis == u"COLUMN"_s)
        return view.ColumnAxis();
    if (axis == u"ROW"_s)
        return view.RowAxis();
    if (axis == u"FILTER"_s)
        return view.FilterAxis();
    throw PivotError::invalidValue(u"axis"_s, axis);
}

// field||code||path||(captions): at 2 the members are the included ones, at
// 1 the excluded ones; any other code does nothing. The members and the
// code are two steps: the code is set also when the members can't be, and
// a record too short to name its members fails before any look-up, so no
// empty caption reaches the parser's error dialog.
void applyFilterRecord(PivotFieldSet &fieldSet, const QString &record,
                       const MemberParser &parseMembers)
{
    const QStringList parts = record.split(u"||"_s);
    const int code = toInteger<qint32>(parts.value(1));
    if (code != PivotFieldSet::ExcludeAllButIncluded &&
        code != PivotFieldSet::IncludeAllButExcluded)
        return;
    resumeNext([&] {
        if (parts.size() < 4)
            throw PivotError::invalidValue(u"filter record"_s, record);
        const std::vector<PivotMember> members =
            parseMembers(fieldSet.Members(), parts[2], parts[3]);
        PivotField &field = fieldSet.Fields(parts[0]);
        if (code == PivotFieldSet::ExcludeAllButIncluded)
            field.setIncludedMembers(members);
        else
            field.setExcludedMembers(members);
    });
    resumeNext([&] { fieldSet.setAllIncludeExclude(code); });
}

void restoreFieldSet(const CAppSettings &settings, PivotView &view, PivotAxis &axis,
                     const QString &prefix, int ordinal, const AxisDefault &defaults,
                     const MemberParser &parseMembers)
{
    const QString n = QString::number(ordinal);
    PivotFieldSet *fieldSet = nullptr;
    resumeNext([&] {
        fieldSet = &view.FieldSets(
            stored(settings, prefix + u"FIELDSETNAME"_s + n, defaults.fieldSet).toString());
    });
    if (!fieldSet)
        return; // every later step would fail on it
    resumeNext([&] { axis.InsertFieldSet(*fieldSet); });
    for (PivotField *field : fieldSet->Fields())
        resumeNext([&] { field->setIsIncluded(false); });
    QStringList fields, filters;
    resumeNext([&] {
        fields = stored(settings, prefix + u"FIELDSETFIELDS"_s + n, defaults.field)
                     .toString()
                     .split(kListSeparator, Qt::SkipEmptyParts);
    });
    resumeNext([&] {
        filters = stored(settings, prefix + u"FIELDSFILTERS"_s + n, QString())
                      .toString()
                      .split(kListSeparator, Qt::SkipEmptyParts);
    });
    for (const QString &name : fields)
        resumeNext([&] { fieldSet->Fields(name).setIsIncluded(true); });
    for (const QString &record : filters)
        resumeNext([&] { applyFilterRecord(*fieldSet, record, parseMembers); });
}

} // namespace

Options readOptions(const CAppSettings &settings, const Options &current)
{
    Options options = current;
    resumeNext(
        [&] { options.legend = stored(settings, u"LEGEND"_s, u"1"_s).toString() == u"1"_s; });
    resumeNext([&] { options.type = toInteger<qint32>(stored(settings, u"TYPE"_s, 7)); });
    resumeNext([&] {
        options.seriesByRows = stored(settings, u"SERIESBYROWS"_s, u"0"_s).toString() == u"1"_s;
    });
    return options;
}

void saveOptions(const CAppSettings &settings, const Options &options)
{
    resumeNext(
        [&] { settings.SaveSetting(Section, u"LEGEND"_s, options.legend ? u"1"_s : u"0"_s); });
    resumeNext([&] { settings.SaveSetting(Section, u"TYPE"_s, options.type); });
    resumeNext([&] {
        settings.SaveSetting(Section, u"SERIESBYROWS"_s, options.seriesByRows ? u"1"_s : u"0"_s);
    });
}

const std::vector<AxisDefault> &axisDefaults()
{
    static const std::vector<AxisDefault> defaults = {
        {u"FILTER"_s, u"Channel"_s, u"Channel"_s},
        {u"ROW"_s, u"NewsDate By Month"_s, u"Months"_s},
        {u"COLUMN"_s, u"Provider"_s, u"Provider"_s},
        {u"DATA"_s, u"News"_s, u"News"_s},
    };
    return defaults;
}

void RestoreChartAxis(const CAppSettings &settings, PivotView &view, const QString &axis,
                      const QString &defaultFieldSet, const QString &defaultField,
                      const MemberParser &parseMembers)
{
    qint16 count = 0; // a count that can't be read puts nothing on the axis
    resumeNext([&] { count = toInteger<qint16>(stored(settings, axis + u"FIELDSETSCOUNT"_s, 1)); });
    PivotAxis *target = nullptr;
    resumeNext([&] { target = &axisNamed(view, axis); });
    if (!target)
        return;
    const AxisDefault defaults{axis, defaultFieldSet, defaultField};
    for (int i = 1; i <= count; ++i)
        restoreFieldSet(settings, view, *target, axis, i, defaults, parseMembers);
}

void RestoreChartTotals(const CAppSettings &settings, PivotView &view)
{
    qint16 count = 0;
    resumeNext([&] { count = toInteger<qint16>(stored(settings, u"TOTALSCOUNT"_s, 1)); });
    for (int i = 1; i <= count; ++i) {
        const QString n = QString::number(i);
        resumeNext([&] {
            PivotFieldSet &fieldSet =
                view.FieldSets(stored(settings, u"TOTALFIELD"_s + n, u"News"_s).toString());
            PivotTotal &total = view.AddTotal(
                stored(settings, u"TOTALNAME"_s + n, u"Count of News"_s).toString(),
                fieldSet.Fields(0), toInteger<qint32>(stored(settings, u"TOTALFUNCTION"_s + n, 2)));
            view.DataAxis().InsertTotal(total);
        });
    }
}

void RestoreChartAxes(const CAppSettings &settings, PivotView &view,
                      const MemberParser &parseMembers)
{
    for (const AxisDefault &axis : axisDefaults())
        RestoreChartAxis(settings, view, axis.axis, axis.fieldSet, axis.field, parseMembers);
    RestoreChartTotals(settings, view);
}

} // namespace qrt::pivot::PivotChartLayout

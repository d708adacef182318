#include "component/modUtils.h"

#include "base/ResumeNext.h"
#include "component/ThemeColors.h"
#include "db/Connection.h"
#include "settings/CAppSettings.h"

#include <limits>

using namespace Qt::StringLiterals;

thread_local std::unique_ptr<qrt::db::Connection> gConnection;
thread_local QString gConnectionString;
thread_local ChartFormCollection gChartForms;
thread_local qint16 gChartFormIndex = 0;
thread_local std::unique_ptr<CAppSettings> gSettings;
thread_local quint32 gThemeFillColor = ThemeColors::ButtonFace;
thread_local quint32 gThemeGradientColor = ThemeColors::ButtonFace;

namespace {
thread_local ChartFormFactory gChartFormFactory = nullptr;
}

void SetChartFormFactory(ChartFormFactory factory)
{
    gChartFormFactory = factory;
}

QString ChartFormKey(qint16 index)
{
    return u"KEY"_s + QString::number(index);
}

QWidget *ShowNewChartForm()
{
    if (!gChartFormFactory)
        return nullptr;
    // Past the last number the count stands still, as an overflow that is
    // passed over would leave it: the window still comes, under the last
    // number, but its key is taken, so it stays out of the collection.
    if (gChartFormIndex == std::numeric_limits<qint16>::max())
        qCWarning(lcComponent) << "no window number left on this thread";
    else
        ++gChartFormIndex;
    ChartWorkspace *form = gChartFormFactory(gChartFormIndex);
    gChartForms.Add(ChartFormKey(gChartFormIndex), form);
    return form;
}

void LoadThemeColors()
{
    const auto fill = ThemeColors::themeColor(ThemeColors::Part::Fill);
    const auto gradient =
        fill ? ThemeColors::themeColor(ThemeColors::Part::Gradient) : std::nullopt;
    // Both fall back together: a theme that gives only one colour is not used.
    gThemeFillColor = gradient ? *fill : ThemeColors::ButtonFace;
    gThemeGradientColor = gradient ? *gradient : ThemeColors::ButtonFace;
}

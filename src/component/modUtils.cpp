#include "component/modUtils.h"

#include "base/ResumeNext.h"
#include "component/ThemeColors.h"
#include "db/Connection.h"
#include "errors/CErrorHandler.h"
#include "settings/CAppSettings.h"
#include "workspace/frmCharts.h"

#include <limits>

using namespace Qt::StringLiterals;

thread_local std::unique_ptr<qrt::db::Connection> gConnection;
thread_local QString gConnectionString;
thread_local ChartFormCollection gChartForms;
thread_local qint16 gChartFormIndex = 0;
thread_local std::unique_ptr<CAppSettings> gSettings;
thread_local std::unique_ptr<CErrorHandler> gErrorHandler;
thread_local quint32 gThemeFillColor = ThemeColors::ButtonFace;
thread_local quint32 gThemeGradientColor = ThemeColors::ButtonFace;

QString ChartFormKey(qint16 index)
{
    return u"KEY"_s + QString::number(index);
}

QWidget *ShowNewChartForm()
{
    if (gChartFormIndex == std::numeric_limits<qint16>::max()) {
        qCWarning(lcComponent) << "no window number left on this thread";
        return nullptr;
    }
    ++gChartFormIndex;
    auto *form = new frmCharts;
    gChartForms.Add(ChartFormKey(gChartFormIndex), form);
    form->fIndex = gChartFormIndex;
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

#include "component/modUtils.h"

#include "component/ThemeColors.h"
#include "db/Connection.h"
#include "settings/CAppSettings.h"

using namespace Qt::StringLiterals;

thread_local std::unique_ptr<qrt::db::Connection> gConnection;
thread_local QString gConnectionString;
thread_local ChartFormCollection gChartForms;
thread_local qint16 gChartFormIndex = 0;
thread_local std::unique_ptr<CAppSettings> gSettings;
thread_local quint32 gThemeFillColor = ThemeColors::ButtonFace;
thread_local quint32 gThemeGradientColor = ThemeColors::ButtonFace;

QString ChartFormKey(qint16 index)
{
    return u"KEY"_s + QString::number(index);
}

void LoadThemeColors()
{
    const auto fill = ThemeColors::themeColor(ThemeColors::Part::Fill);
    const auto gradient = fill ? ThemeColors::themeColor(ThemeColors::Part::Gradient) : std::nullopt;
    // Both fall back together: a theme that gives only one colour is not used.
    gThemeFillColor = gradient ? *fill : ThemeColors::ButtonFace;
    gThemeGradientColor = gradient ? *gradient : ThemeColors::ButtonFace;
}

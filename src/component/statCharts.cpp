#include <qrt/statCharts.h>

#include "component/modUtils.h"
#include "db/Connection.h"
#include "settings/CAppSettings.h"
#include "workspace/frmCharts.h"

#include <QLoggingCategory>

#include <strings.h>
#include <limits>

Q_LOGGING_CATEGORY(lcComponent, "qrt.component", QtWarningMsg)

statCharts::statCharts()
{
    // The error handler and the settings store join here as they are built.
    gSettings = std::make_unique<CAppSettings>();
    gSettings->Init(QStringLiteral("Koltrin"), QStringLiteral("Zorvane"));
    gConnection = std::make_unique<qrt::db::Connection>();
}

statCharts::~statCharts() = default;

void statCharts::ConnectionString(const QString &connectionString)
{
    gConnectionString = connectionString;
}

QWidget *statCharts::ShowChartForm()
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

extern "C" {

statCharts *QRT_CreateObject(const char *classId)
{
    if (!classId || strcasecmp(classId, statCharts::ClassId) != 0)
        return nullptr;
    return new statCharts;
}

void QRT_ReleaseObject(statCharts *object)
{
    delete object;
}
}

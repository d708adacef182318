#include "component/modUtils.h"
#include "db/Connection.h"
#include "errors/CErrorHandler.h"
#include "settings/CAppSettings.h"
#include "workspace/frmCharts.h"

#include <qrt/statCharts.h>

#include <QLoggingCategory>

#include <strings.h>

statCharts::statCharts()
{
    gErrorHandler = CErrorHandler::ForComponent();
    gSettings = std::make_unique<CAppSettings>();
    gSettings->Init(QStringLiteral("Koltrin"), QStringLiteral("Zorvane"));
    gConnection = std::make_unique<qrt::db::Connection>();
    SetChartFormFactory([](qint16 index) -> ChartWorkspace * {
        auto *form = new frmCharts;
        form->fIndex = index;
        return form;
    });
}

statCharts::~statCharts() = default;

void statCharts::ConnectionString(const QString &connectionString)
{
    gConnectionString = connectionString;
}

QWidget *statCharts::ShowChartForm()
{
    return ShowNewChartForm();
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

#pragma once
// The component's shared state. A statCharts creation fills it; the windows
// and their child forms read it. One set per GUI thread, so two threads that
// each host the component share nothing.

#include "component/ChartFormCollection.h"
#include "component/ChartWorkspace.h"

#include <QString>

#include <memory>

class QWidget;

class CAppSettings;
class CErrorHandler;

namespace qrt::db {
class Connection;
}

// The one connection object; readers open it, read to the end and close it.
extern thread_local std::unique_ptr<qrt::db::Connection> gConnection;
extern thread_local QString gConnectionString;
extern thread_local ChartFormCollection gChartForms;
// Running number of the windows made so far; never reused.
extern thread_local qint16 gChartFormIndex;
// The settings store of this thread, set up for the component's own sections.
extern thread_local std::unique_ptr<CAppSettings> gSettings;
// The error handler of this thread; the newest statCharts replaces it.
extern thread_local std::unique_ptr<CErrorHandler> gErrorHandler;
// Panel colours in the classic 0x00BBGGRR form, or a system-colour index
// with the top bit set (0x8000000F is the button face).
extern thread_local quint32 gThemeFillColor;
extern thread_local quint32 gThemeGradientColor;

// The key of a window in gChartForms: "KEY" and its index, e.g. "KEY1".
QString ChartFormKey(qint16 index);

// A new workspace window under the next number, entered in gChartForms but
// not yet shown; past the last number, under the last one again and not
// entered; null when no factory is set. The facade sets the factory: the globals know the
// window only as a ChartWorkspace.
QWidget *ShowNewChartForm();
using ChartFormFactory = ChartWorkspace *(*)(qint16 index);
void SetChartFormFactory(ChartFormFactory factory);

// Reads the panel colours from the current style, falling back to the
// button face colour when the application does not follow the desktop theme.
void LoadThemeColors();

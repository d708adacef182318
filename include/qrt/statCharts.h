#pragma once
// The statistics component's one public class. A host creates statCharts,
// gives it the connection string of its news database and asks it for chart
// windows, which it then shows:
//
//     statCharts charts;
//     charts.ConnectionString(u"Provider=SQLite;Data Source=/srv/news.db"_s);
//     QWidget *window = charts.ShowChartForm();
//     window->setAttribute(Qt::WA_DeleteOnClose); // or delete it when done
//     window->show();
//
// The window belongs to the host: closing it saves the user's choices and
// takes it out of the component's list, and the object stays valid until
// the host deletes it (with Qt::WA_DeleteOnClose, when it closes). Windows
// the user opens from a window (Ctrl+N) go by themselves when closed.
// Dropping statCharts closes nothing: open windows go on working. Everything lives on the GUI thread
// that created it; each thread has its own set of windows and counters.
//
// A host that loads the library at run time creates the class by its id:
//
//     auto create = reinterpret_cast<QRT_CreateObjectFn>(dlsym(lib, "QRT_CreateObject"));
//     statCharts *charts = create(statCharts::ClassId);

#include <qrt/StatChartsGlobal.h>

#include <QtCore/QString>

class QWidget;

class QRT_STATCHARTS_EXPORT statCharts
{
public:
    // Identities the class was published under, for hosts that look it up by id.
    static constexpr const char *LibraryId = "{ABCB0453-0BC6-4124-87F7-8515E6D8EAFB}";
    static constexpr const char *InterfaceId = "{ED6A8710-B5CB-4E4C-BB68-0BDE9E5ECE84}";
    static constexpr const char *ClassId = "{7BF3832A-AE7A-4E43-96EA-2AD8A63EE677}";
    static constexpr quint32 ConnectionStringMemberId = 0x68030000;
    static constexpr quint32 ShowChartFormMemberId = 0x60030001;

    // Sets up the component's shared objects for this thread: error handler,
    // settings store and database connection. A second statCharts replaces
    // them, also for windows already open.
    statCharts();
    // Out of line, so that the host's code does not depend on what the
    // component keeps inside.
    ~statCharts(); // NOLINT(performance-trivially-destructible)
    statCharts(const statCharts &) = delete;
    statCharts &operator=(const statCharts &) = delete;

    // Write-only: the database that every later read of this thread uses,
    // taken word for word. Accepted forms: a SQLite file path,
    // "Provider=SQLite;Data Source=FILE", a postgresql:// URL,
    // "Provider=PostgreSQL;Host=...;Database=...;User ID=...;Password=...",
    // or an ODBC "Driver=...;..." string.
    void ConnectionString(const QString &connectionString);

    // A new chart window, not yet shown; null only when none could be made
    // (the window counter of this thread is used up after 32,767 windows).
    QWidget *ShowChartForm();
};

extern "C" {
using QRT_CreateObjectFn = statCharts *(*)(const char *classId);
using QRT_ReleaseObjectFn = void (*)(statCharts *object);

// A new statCharts for the class id above, or null for any other id.
QRT_STATCHARTS_EXPORT statCharts *QRT_CreateObject(const char *classId);
QRT_STATCHARTS_EXPORT void QRT_ReleaseObject(statCharts *object);
}

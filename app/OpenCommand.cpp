#include "OpenCommand.h"

#include "DemoDbCommand.h"
#include "HostPaths.h"
#include "SizeOption.h"
#include "db/Connection.h"
#include "db/Recordset.h"
#include "errors/frmErrorMessage.h"

#include <qrt/statCharts.h>

#include <QAbstractButton>
#include <QApplication>
#include <QCommandLineParser>
#include <QDeadlineTimer>
#include <QDialog>
#include <QEventLoop>
#include <QFileInfo>
#include <QHash>
#include <QPixmap>
#include <QPointer>
#include <QTabWidget>
#include <QTimer>
#include <QWidget>

#include <cstdio>

using namespace Qt::StringLiterals;

namespace {

constexpr qint64 kFirstRunDemoItems = 200000;
constexpr int kSettleMs = 300;
constexpr int kPageWaitMs = 60000;

QString connectionOrDemo(const QStringList &positional)
{
    if (!positional.isEmpty())
        return positional.first();
    QString demo = HostPaths::demoDatabase();
    if (!QFileInfo::exists(demo)) {
        std::fprintf(stderr, "creating the demo database %s\n", qPrintable(demo));
        QString error;
        if (!DemoDbCommand::create(demo, kFirstRunDemoItems, &error))
            std::fprintf(stderr, "zorvane-stats: %s\n", qPrintable(error));
    }
    return demo;
}

// Says once, on standard error, why the database cannot be read; the window
// opens all the same, with the empty look, as the component promises.
void reportUnreadableDatabase(const QString &connection)
{
    qrt::db::Connection probe;
    qrt::db::Recordset rows;
    if (probe.Open(connection) && rows.Open(u"SELECT 1 FROM News WHERE 1 = 0"_s, probe)) {
        if (const QString notice = probe.source().notice(); !notice.isEmpty())
            std::fprintf(stderr, "zorvane-stats: %s\n", qPrintable(notice));
        return;
    }
    std::fprintf(stderr, "zorvane-stats: %s\n", qPrintable(probe.lastError()));
}

QString numbered(const QString &path, int n)
{
    if (n == 1)
        return path;
    const QFileInfo info(path);
    return info.path() + u'/' + info.completeBaseName() + u'-' + QString::number(n) + u'.' +
           info.suffix();
}

bool headless()
{
    const QString platform = QGuiApplication::platformName();
    return platform == u"offscreen"_s || platform == u"minimal"_s;
}

// Lets the windows finish what they queued at their first show: layouts
// settle, and views that resize lay out and repaint once more.
void settle()
{
    QEventLoop loop;
    QTimer::singleShot(kSettleMs, &loop, &QEventLoop::quit);
    loop.exec();
}

// The pivot views load their data after the window has shown, and the
// pivot page runs its script then: the picture waits for them, within
// reason. The page host "WebBrowser1" says so by its property "busy", the
// chart space "PivotChartSpace" by "loading".
void waitForPages(const QList<QPointer<QWidget>> &windows)
{
    const QDeadlineTimer deadline(kPageWaitMs);
    const auto busy = [&windows] {
        for (const auto &window : windows) {
            if (!window)
                continue;
            for (QWidget *page : window->findChildren<QWidget *>(u"WebBrowser1"_s))
                if (page->property("busy").toBool())
                    return true;
            for (QWidget *chart : window->findChildren<QWidget *>(u"PivotChartSpace"_s))
                if (chart->property("loading").toBool())
                    return true;
        }
        return false;
    };
    while (busy() && !deadline.hasExpired()) {
        QEventLoop loop;
        QTimer::singleShot(20, &loop, &QEventLoop::quit);
        loop.exec();
    }
}

// Without a display nobody can answer a dialog: an error dialog (a stored
// pivot member that no longer exists, say) is answered with Ignore, as a
// user who wants the rest of the window would, and any other is closed.
// Standard error says what it was.
void answerDialogsHeadless(QObject *owner)
{
    auto *watch = new QTimer(owner);
    QObject::connect(watch, &QTimer::timeout, [] {
        auto *dialog = qobject_cast<QDialog *>(QApplication::activeModalWidget());
        if (!dialog || !dialog->isVisible())
            return;
        const auto *form = qobject_cast<frmErrorMessage *>(dialog);
        std::fprintf(stderr, "zorvane-stats: no display to answer \"%s\"%s%s\n",
                     qPrintable(dialog->windowTitle()), form ? ", ignored: " : "",
                     form ? qPrintable(form->ErrorMessage().simplified()) : "");
        if (auto *ignore = dialog->findChild<QAbstractButton *>(u"btnIgnore"_s))
            ignore->click();
        else
            dialog->reject();
    });
    watch->start(50);
}

// The pages of the window's tabs, by the names --tab takes, and the
// objects that fill them.
const QHash<QString, QString> kPages = {{u"chart"_s, u"elsBorder"_s},
                                        {u"pivot-chart"_s, u"elstMSchart"_s},
                                        {u"pivot-table"_s, u"WebBrowser1"_s}};

// Brings a page to the front; a page the window does not have leaves the
// first one in front.
void showPage(QWidget *window, const QString &page)
{
    auto *tabs = window->findChild<QTabWidget *>(u"tabCharts"_s);
    QWidget *content = page.isEmpty() ? nullptr : window->findChild<QWidget *>(kPages.value(page));
    if (tabs && content && tabs->indexOf(content) >= 0)
        tabs->setCurrentWidget(content);
}

// Renders every window to a PNG, then closes them as a user would, so that
// whatever a close does happens here too.
int renderAndClose(const QList<QPointer<QWidget>> &windows, const QString &screenshot)
{
    waitForPages(windows);
    settle();
    int status = 0;
    int n = 0;
    for (const auto &window : windows) {
        ++n;
        if (!window)
            continue;
        const QString path = numbered(screenshot, n);
        if (window->grab().save(path, "PNG")) {
            std::printf("window rendered to %s\n", qPrintable(path));
        } else {
            std::fprintf(stderr, "zorvane-stats: cannot write %s\n", qPrintable(path));
            status = 1;
        }
        window->close();
    }
    QCoreApplication::processEvents();
    return status;
}

} // namespace

namespace OpenCommand {

int run(const QStringList &arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(
        u"Statistic charts over a news database.\n"
        "Commands, each with its own --help: chart, pivot, settings, demo-db, import.\n\n"
        "Feed readers' own databases open read-only, found by their tables: Newsboat\n"
        "(cache.db), Liferea (liferea.db), FreshRSS (SQLite or PostgreSQL), Miniflux and\n"
        "Tiny Tiny RSS (PostgreSQL). Keys of a connection string for them (query items\n"
        "of a postgresql:// URL):\n"
        "  Reader=newsboat|liferea|freshrss|miniflux|ttrss  this reader's tables\n"
        "  User=NAME      the reader's user, where the database holds several\n"
        "                 (the login is User ID=)\n"
        "  Urls=FILE      Newsboat's urls file (default: beside cache.db, else\n"
        "                 ~/.newsboat/urls or ~/.config/newsboat/urls)\n"
        "  TimeZone=ZONE  whose calendar days count the items (default: the machine's)\n"
        "Example: \"Provider=SQLite;Data Source=cache.db;Urls=/home/me/urls\""_s);
    parser.addHelpOption();
    parser.addVersionOption();
    parser.addPositionalArgument(
        u"connection"_s,
        u"A SQLite file, an ADO-style connection string or a postgresql:// URL "
        "(default: the demo database, created on first use)."_s,
        u"[connection]"_s);
    parser.addOptions({
        {u"windows"_s, u"Open N windows at once (default 1)."_s, u"N"_s, u"1"_s},
        {u"screenshot"_s, u"Without a display, the PNG to render the window to."_s, u"FILE"_s},
        {u"size"_s, u"Open the windows at this size, e.g. 1184x676 (default: the design size)."_s,
         u"WxH"_s},
        {u"tab"_s, u"Show this page: chart, pivot-chart or pivot-table (default chart)."_s,
         u"PAGE"_s},
    });
    parser.process(arguments);
    bool ok = false;
    const int count = parser.value(u"windows"_s).toInt(&ok);
    if (!ok || count < 1) {
        std::fputs("zorvane-stats: --windows takes a number from 1 up\n", stderr);
        return 2;
    }
    QSize size;
    if (parser.isSet(u"size"_s)) {
        size = parseSizeOption(parser.value(u"size"_s)).value_or(QSize());
        if (!size.isValid()) {
            std::fputs("zorvane-stats: --size takes WIDTHxHEIGHT, e.g. 1184x676\n", stderr);
            return 2;
        }
    }
    const QString connection = connectionOrDemo(parser.positionalArguments());
    reportUnreadableDatabase(connection);
    const QString page = parser.value(u"tab"_s);
    if (!page.isEmpty() && !kPages.contains(page)) {
        std::fputs("zorvane-stats: --tab takes chart, pivot-chart or pivot-table\n", stderr);
        return 2;
    }
    if (headless())
        answerDialogsHeadless(QCoreApplication::instance());
    statCharts charts;
    charts.ConnectionString(connection);
    QList<QPointer<QWidget>> windows;
    for (int i = 0; i < count; ++i) {
        if (QWidget *window = charts.ShowChartForm()) {
            // The host holds nothing else of a window: it goes when closed.
            window->setAttribute(Qt::WA_DeleteOnClose);
            if (size.isValid())
                window->resize(size);
            window->show();
            windows << window;
            showPage(window, page);
        }
    }
    if (headless())
        return renderAndClose(windows, parser.isSet(u"screenshot"_s)
                                           ? parser.value(u"screenshot"_s)
                                           : HostPaths::defaultScreenshot());
    return QApplication::exec();
}

} // namespace OpenCommand

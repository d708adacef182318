// CShell against a desktop made of stand-ins: an xdg-open on the search path
// that answers as the test tells it, programs written for the test,
// applications of its own for the documents' types, and a file manager on a
// private session bus. Every row of both failure tables is produced by a
// real outcome. Last, the memory block behind the component's streams.

#include "ProgramRun.h"
#include "Raised.h"
#include "shell/CBufferStream.h"
#include "shell/CShell.h"
#include "shell/DesktopShell.h"

#include <QDBusConnection>
#include <QDir>
#include <QFile>
#include <QHash>
#include <QProcess>
#include <QScopeGuard>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>
#include <QThread>

#include <limits>
#include <optional>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

constexpr qint32 FileNotFound = -2147203463, PathNotFound = -2147203462, OutOfMemory = -2147203460,
                 DllNotFound = -2147203459, SharingViolation = -2147203458,
                 AssocIncomplete = -2147203457, DdeTimeout = -2147203456, DdeFail = -2147203455,
                 DdeBusy = -2147203454, NoAssociation = -2147203453, BadFormat = -2147203452,
                 CannotCreateProcess = -2147203451, CannotShowProperties = -2147203450,
                 ComponentFailure = -2147203449;
// The descriptions by number, from FileNotFound on.
const QStringList Descriptions =
    u"File not found|Path not found||Out of memory|DLL not found|"
    "A sharing violation occurred|Incomplete or invalid file association|DDE timeout|"
    "DDE transaction failed|DDE busy|No association for file extension|"
    "Invalid EXE file or error in EXE image|Cannot create process|"
    "Cannot show properties|CShell component failure"_s.split(u'|');

// The number raised (0 for none), after checking source and description.
qint32 RaisedBy(const std::function<void()> &call)
{
    const auto error = qrt::test::raisedBy(call);
    if (!error)
        return 0;
    return error->source == u"QRT_StatCharts.CShell"_s &&
                   error->description == Descriptions.value(error->number - FileNotFound)
               ? error->number
               : 1;
}

void WriteFile(const QString &path, const QByteArray &content, bool executable)
{
    QVERIFY(qrt::test::writeFile(path, content));
    QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner |
                                    (executable ? QFile::ExeOwner : QFile::Permissions()));
}

using qrt::test::readFile;

// The desktop's folders are the test's own from before main: GIO reads them
// once a process, and no application of this machine may be found, let
// alone started. Only the machine's MIME database is seen, so names keep
// their types.
struct OwnDesktop
{
    QTemporaryDir root;
    QString applications;
    QString config;

    OwnDesktop()
    {
        const QString mime = QStandardPaths::locate(QStandardPaths::GenericDataLocation, u"mime"_s,
                                                    QStandardPaths::LocateDirectory);
        QDir dir(root.path());
        dir.mkpath(u"data/applications"_s);
        dir.mkpath(u"system"_s);
        dir.mkpath(u"config"_s);
        dir.mkpath(u"config-system"_s);
        QFile::link(mime, dir.filePath(u"system/mime"_s));
        applications = dir.filePath(u"data/applications"_s);
        config = dir.filePath(u"config"_s);
        qputenv("XDG_DATA_HOME", QFile::encodeName(dir.filePath(u"data"_s)));
        qputenv("XDG_DATA_DIRS", QFile::encodeName(dir.filePath(u"system"_s)));
        qputenv("XDG_CONFIG_HOME", QFile::encodeName(config));
        qputenv("XDG_CONFIG_DIRS", QFile::encodeName(dir.filePath(u"config-system"_s)));
    }
};
OwnDesktop ownDesktop;

// An application whose program is the stand-in, with its actions' groups
// (name and command line).
void WriteApplication(const QString &id, const QString &program, const QByteArray &more,
                      const QList<std::pair<QByteArray, QByteArray>> &actions)
{
    QByteArray entry = "[Desktop Entry]\nType=Application\nName=" + id.toUtf8() + "\nExec=\"" +
                       program.toUtf8() + "\" %f\n" + more;
    QByteArray names;
    QByteArray groups;
    for (const auto &[name, exec] : actions) {
        names += name + ';';
        groups += "\n[Desktop Action " + name + "]\nName=" + name + "\nExec=" + exec + "\n";
    }
    if (!names.isEmpty())
        entry += "Actions=" + names + "\n";
    WriteFile(ownDesktop.applications + u'/' + id + u".desktop"_s, entry + groups, false);
}

// A file manager on the bus: notes the items it was asked about.
class FakeFileManager : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.FileManager1")

public:
    QStringList shown;

public Q_SLOTS:
    void ShowItemProperties(const QStringList &uris, const QString &) { shown += uris; }
};

} // namespace

class tst_CShell : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();

    void openerOutcomes_data();
    void openerOutcomes();
    void itemReachesTheOpener_data();
    void itemReachesTheOpener();
    void launch();
    void properties();
    void documentVerbCarriedOut_data();
    void documentVerbCarriedOut();
    void bufferRoundTripThroughAStream();
    void bufferOverflow();

private:
    void WriteDesktop();
    void SetOpener(const QByteArray &body);
    qint32 Call(const QString &operation, const QString &item);

    QTemporaryDir m_dir;
    QString m_bin;
    QString m_openedLog;
    QString m_standIn; // an application's program: notes its arguments and folder
    QString m_ranLog;
};

void tst_CShell::initTestCase()
{
    QVERIFY(m_dir.isValid());
    QDir root(m_dir.path());
    QVERIFY(root.mkpath(u"bin"_s) && root.mkpath(u"docs/sub"_s) && root.mkpath(u"empty"_s));
    m_bin = root.filePath(u"bin"_s);
    m_openedLog = root.filePath(u"opened.txt"_s);
    WriteFile(root.filePath(u"docs/report.txt"_s), "news\n", false);
    WriteDesktop();
    QDir::setCurrent(m_dir.path());
    qrt::shell::SetOpenerTimeLimit(400ms);
    // No session bus unless a test starts one.
    qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=" + root.filePath(u"no-bus"_s).toLocal8Bit());
}

// The applications and their types, all in place before GIO first looks.
// Each type has an application of its own, so no answer hides another.
void tst_CShell::WriteDesktop()
{
    QDir root(m_dir.path());
    QVERIFY(root.mkpath(u"docs/v1.2"_s));
    for (const char *name :
         {"Makefile", "v1.2/Makefile", "table.csv", "notes.md", "page.html", "main.c", "pic.png"})
        WriteFile(root.filePath(u"docs/"_s + QLatin1StringView(name)), "x\n", false);
    m_standIn = root.filePath(u"bin/stand in"_s);
    m_ranLog = root.filePath(u"ran.txt"_s);
    WriteFile(m_standIn,
              "#!/bin/sh\n{ printf '%s|' \"$@\"; pwd; } > '" + m_ranLog.toLocal8Bit() +
                  ".part' && mv '" + m_ranLog.toLocal8Bit() + ".part' '" + m_ranLog.toLocal8Bit() +
                  "'\n",
              true);
    const QByteArray standIn = '"' + m_standIn.toUtf8() + '"';
    WriteApplication(u"print-edit"_s, m_standIn, {},
                     {{"Print", standIn + " --first %U %i 100%%"}, {"Edit", standIn + " %f"}});
    WriteApplication(u"print-open"_s, m_standIn, {}, {{"Print", standIn}, {"Open", standIn}});
    WriteApplication(u"no-actions"_s, m_standIn, {}, {});
    // Default of no list: the type's installed handler, in the cache that
    // update-desktop-database keeps.
    WriteApplication(u"c-editor"_s, m_standIn, "MimeType=text/x-csrc;\n",
                     {{"Edit", standIn + " --edit"}, {"Print", standIn}});
    WriteFile(ownDesktop.applications + u"/mimeinfo.cache"_s,
              "[MIME Cache]\ntext/x-csrc=c-editor.desktop;\n", false);
    WriteFile(ownDesktop.config + u"/mimeapps.list"_s,
              "[Default Applications]\n"
              "text/x-makefile=print-edit.desktop\n"
              "text/html=print-edit.desktop\n"
              "text/markdown=print-open.desktop\n"
              "image/png=no-actions.desktop\n",
              false);
}

void tst_CShell::init()
{
    qputenv("PATH", m_bin.toLocal8Bit() + ":/usr/bin:/bin");
    QFile::remove(m_openedLog);
    QFile::remove(m_ranLog);
}

void tst_CShell::SetOpener(const QByteArray &body)
{
    WriteFile(m_bin + u"/xdg-open"_s,
              "#!/bin/sh\nprintf '%s\\n' \"$1\" >> '" + m_openedLog.toLocal8Bit() + "'\n" + body +
                  "\n",
              true);
}

qint32 tst_CShell::Call(const QString &operation, const QString &item)
{
    const QHash<QString, void (CShell::*)(const QString &)> calls{
        {u"OpenUrl"_s, &CShell::OpenUrl},
        {u"OpenFolder"_s, &CShell::OpenFolder},
        {u"ExploreFolder"_s, &CShell::ExploreFolder},
        {u"OpenDocument"_s, &CShell::OpenDocument},
        {u"CreateNewMailMessage"_s, nullptr}};
    CShell shell;
    return RaisedBy([&] {
        if (const auto call = calls.value(operation))
            (shell.*call)(item);
        else
            shell.CreateNewMailMessage(item);
    });
}

void tst_CShell::openerOutcomes_data()
{
    QTest::addColumn<QByteArray>("opener"); // its script, or how it cannot start
    QTest::addColumn<QString>("operation");
    QTest::addColumn<QString>("item");
    QTest::addColumn<qint32>("raises");

    const QString url = u"https://news.example/today"_s;
    const QString doc = u"docs/report.txt"_s;
    const auto row = [](const char *name, const QByteArray &opener, const QString &operation,
                        const QString &item, qint32 raises) {
        QTest::newRow(name) << opener << operation << item << raises;
    };
    // The three operations of the long table share one path, as do the two
    // of the short one, which reads fewer outcomes as errors.
    row("exit 0", "exit 0", u"OpenDocument"_s, doc, 0);
    row("exit 1", "exit 1", u"OpenFolder"_s, u"docs"_s, 0);
    row("exit 3 no application", "exit 3", u"ExploreFolder"_s, u"docs"_s, NoAssociation);
    row("exit 3, short table", "exit 3", u"OpenUrl"_s, url, 0);
    row("exit 4 action failed", "exit 4", u"OpenDocument"_s, doc, AssocIncomplete);
    row("exit 75 try later", "exit 75", u"CreateNewMailMessage"_s, u"a@b.example"_s, DdeBusy);
    row("killed by a signal", "kill -SEGV $$", u"ExploreFolder"_s, u"docs"_s, DdeFail);
    // Still running when the wait ends: the handler has started.
    row("keeps running", "exec sleep 5", u"OpenUrl"_s, url, 0);
    // "Does not exist": a missing item, or a missing folder on its way.
    row("exit 2, item missing", "exit 2", u"OpenFolder"_s, u"docs/gone"_s, FileNotFound);
    row("exit 2, folder missing", "exit 2", u"OpenFolder"_s, u"docs/missing/gone"_s, PathNotFound);
    row("missing", "missing", u"OpenFolder"_s, u"docs"_s, DllNotFound);
    row("no program", "garbage", u"OpenDocument"_s, doc, BadFormat);
    row("open for writing", "busy", u"OpenUrl"_s, url, SharingViolation);
    // Longer than one argument may be.
    row("argument too long", "exit 0", u"OpenUrl"_s, url + QString(200000, u'x'), OutOfMemory);
}

void tst_CShell::openerOutcomes()
{
    QFETCH(QByteArray, opener);
    QFETCH(QString, operation);
    QFETCH(QString, item);
    QFETCH(qint32, raises);

    const QString program = m_bin + u"/xdg-open"_s;
    QFile::remove(program);
    std::optional<QFile> holder;
    bool asked = false;
    if (opener == "missing") {
        qputenv("PATH", m_dir.filePath(u"empty"_s).toLocal8Bit());
    } else if (opener == "garbage") {
        WriteFile(program, QByteArray("\x7f\x01\x02garbage", 10), true);
    } else if (opener == "busy") {
        WriteFile(program, "#!/bin/sh\nexit 0\n", true);
        holder.emplace(program);
        QVERIFY(holder->open(QIODevice::Append)); // still being written
    } else {
        SetOpener(opener);
        asked = raises != OutOfMemory; // an argument too long starts nothing
    }
    QCOMPARE(Call(operation, item), raises);
    QCOMPARE(QFile::exists(m_openedLog), asked);
}

void tst_CShell::itemReachesTheOpener_data()
{
    QTest::addColumn<QStringList>("arguments"); // a URL, or recipient, cc, subject, body
    QTest::addColumn<QString>("opened");

    const QString url = u"https://x.example/a b?q=1&r=%20 it's $HOME `id`"_s;
    QTest::newRow("url: query, quote and dollar stay literal") << QStringList{url} << url;
    QTest::newRow("mail to a recipient only")
        << QStringList({u"a@b.example"_s, {}, {}, {}}) << u"mailto:a@b.example"_s;
    QTest::newRow("mail, cc first present")
        << QStringList({u"a@b.example"_s, u"c@d.example"_s, {}, {}})
        << u"mailto:a@b.example?cc=c@d.example"_s;
    QTest::newRow("mail, all in order subject cc body, nothing escaped")
        << QStringList({u"a@b.example"_s, u"c@d.example"_s, u"a b&c=d"_s, u"B"_s})
        << u"mailto:a@b.example?subject=a b&c=d&cc=c@d.example&body=B"_s;
}

void tst_CShell::itemReachesTheOpener()
{
    QFETCH(QStringList, arguments);
    QFETCH(QString, opened);

    SetOpener("exit 0");
    if (arguments.size() == 1)
        CShell().OpenUrl(arguments.at(0));
    else
        CShell().CreateNewMailMessage(arguments.at(0), arguments.at(1), arguments.at(2),
                                      arguments.at(3));
    QCOMPARE(QString::fromLocal8Bit(readFile(m_openedLog)), opened + u'\n');
}

// A program starts in its own folder and the call does not wait for it;
// asked to wait, it runs in the start directory given, or else the caller's.
// A document, not a program, is opened by its own program. The other errors
// of a start are those of the opener's start, above.
void tst_CShell::launch()
{
    SetOpener("exit 0");
    const QByteArray report = "printf '%s|%s|%s|%s' \"$#\" \"$1\" \"$2\" \"$(pwd)\" > out\n";
    // The program waits for a go that only comes after the call returned.
    WriteFile(m_dir.filePath(u"docs/sub/where"_s),
              "#!/bin/sh\nwhile [ ! -e go ]; do sleep 0.02; done\n" + report, true);
    CShell().LaunchProgram(u"docs/sub/where"_s, u"\"two words\""_s);
    QVERIFY(!QFile::exists(m_dir.filePath(u"docs/sub/out"_s)));
    WriteFile(m_dir.filePath(u"docs/sub/go"_s), "", false);
    QTRY_COMPARE(readFile(m_dir.filePath(u"docs/sub/out"_s)),
                 "1|two words||" + m_dir.filePath(u"docs/sub"_s).toLocal8Bit());
    QVERIFY(!QFile::exists(m_openedLog)); // a program is started, not opened

    // The answer is written after a sleep: found at once, it was waited for.
    WriteFile(m_dir.filePath(u"docs/slow"_s), "#!/bin/sh\nsleep 0.3\n" + report, true);
    CShell().LaunchProgram(u"docs/slow"_s, u"alpha \"beta gamma\""_s, true,
                           m_dir.filePath(u"empty"_s));
    QCOMPARE(readFile(m_dir.filePath(u"empty/out"_s)),
             "2|alpha|beta gamma|" + m_dir.filePath(u"empty"_s).toLocal8Bit());
    // A number is a parameter too.
    CShell().LaunchProgram(m_dir.filePath(u"docs/slow"_s), 42, true);
    QCOMPARE(readFile(m_dir.filePath(u"out"_s)), "1|42||" + m_dir.path().toLocal8Bit());

    const QString document = u"docs/report.txt"_s;
    QCOMPARE(RaisedBy([&] { CShell().LaunchProgram(document, {}); }), 0);
    QCOMPARE(RaisedBy([&] { CShell().LaunchProgram(document, {}, true); }), CannotCreateProcess);
    const QVariantMap notText{{u"a"_s, 1}};
    QCOMPARE(RaisedBy([&] { CShell().LaunchProgram(u"docs/slow"_s, notText, true); }),
             ComponentFailure);
    QCOMPARE(readFile(m_openedLog), document.toLocal8Bit() + '\n'); // once
}

// Without a file manager on the bus, an item that exists has no sheet to
// show; with one, the manager shows it.
void tst_CShell::properties()
{
    QCOMPARE(RaisedBy([] { CShell().ShowProperties(u"docs/report.txt"_s); }), CannotShowProperties);

    const QString daemonProgram = QStandardPaths::findExecutable(u"dbus-daemon"_s);
    if (daemonProgram.isEmpty())
        QSKIP("no dbus-daemon to run a session bus on");
    QProcess daemon;
    daemon.start(daemonProgram,
                 {u"--session"_s, u"--nofork"_s, u"--nopidfile"_s, u"--print-address=1"_s});
    QVERIFY(daemon.waitForReadyRead(10000));
    const QByteArray address = daemon.readLine().trimmed();
    QVERIFY(!address.isEmpty());
    const QByteArray before = qgetenv("DBUS_SESSION_BUS_ADDRESS");
    qputenv("DBUS_SESSION_BUS_ADDRESS", address);

    // The file manager answers from a thread of its own, as it would from its process.
    QThread thread;
    thread.start();
    auto *manager = new FakeFileManager;
    manager->moveToThread(&thread);
    const auto cleanup = qScopeGuard([&] {
        QDBusConnection::disconnectFromBus(u"file-manager"_s);
        thread.quit();
        thread.wait();
        delete manager;
        daemon.kill();
        daemon.waitForFinished();
        qputenv("DBUS_SESSION_BUS_ADDRESS", before);
    });
    {
        QDBusConnection bus =
            QDBusConnection::connectToBus(QString::fromLatin1(address), u"file-manager"_s);
        QVERIFY(bus.isConnected());
        QVERIFY(bus.registerObject(u"/org/freedesktop/FileManager1"_s, manager,
                                   QDBusConnection::ExportAllSlots));
        QVERIFY(bus.registerService(u"org.freedesktop.FileManager1"_s));
    }

    QCOMPARE(RaisedBy([] { CShell().ShowProperties(u"docs/report.txt"_s, 12345); }), 0);
    QCOMPARE(manager->shown,
             QStringList({QUrl::fromLocalFile(m_dir.filePath(u"docs/report.txt"_s)).toString()}));
}

// The verb of the document's type, as GIO settles it from the test's own
// applications, carried out: an action runs its command, "open" and the
// empty verb go to the desktop's open.
void tst_CShell::documentVerbCarriedOut_data()
{
    QTest::addColumn<QString>("document");
    QTest::addColumn<QByteArray>("ran"); // what the stand-in noted; none: xdg-open was asked

    const QByteArray docs = m_dir.filePath(u"docs"_s).toLocal8Bit();
    QTest::newRow("an action runs, field codes, in the document's folder")
        << u"docs/page.html"_s << "--first|" + docs + "/page.html|100%|" + docs + '\n';
    QTest::newRow("installed handler, no file code: the document last")
        << u"docs/main.c"_s << "--edit|" + docs + "/main.c|" + docs + '\n';
    // The makefile type's application would print: these two are never looked up.
    QTest::newRow("no dot") << u"docs/Makefile"_s << QByteArray();
    QTest::newRow("the last dot in a folder name") << u"docs/v1.2/Makefile"_s << QByteArray();
    QTest::newRow("no application") << u"docs/table.csv"_s << QByteArray();
    QTest::newRow("Print;Open: open") << u"docs/notes.md"_s << QByteArray();
    QTest::newRow("no actions: empty verb") << u"docs/pic.png"_s << QByteArray();
}

void tst_CShell::documentVerbCarriedOut()
{
    QFETCH(QString, document);
    QFETCH(QByteArray, ran);

    SetOpener("exit 0");
    QCOMPARE(Call(u"OpenDocument"_s, document), 0);
    QCOMPARE(QFile::exists(m_openedLog), ran.isEmpty());
    if (!ran.isEmpty())
        QTRY_COMPARE(readFile(m_ranLog), ran);
    else
        QVERIFY(!QFile::exists(m_ranLog));
}

// The memory block behind streams, written through one and read back as
// single-byte text.
void tst_CShell::bufferRoundTripThroughAStream()
{
    CBufferStream buffer;
    buffer.bufferSize(14);
    QCOMPARE(buffer.IStream()->write("  caf\xe9 ol\xe9  "), 12);
    // The first 12 bytes, Latin-1, blanks trimmed.
    QCOMPARE(buffer.GetData(), u"café olé"_s);
}

void tst_CShell::bufferOverflow()
{
    CBufferStream buffer;
    buffer.bufferSize(4);
    const auto error =
        qrt::test::raisedBy([&] { buffer.bufferSize(std::numeric_limits<qint32>::max() - 1); });
    QVERIFY(error);
    QCOMPARE(error->number, 6);
    QCOMPARE(error->description, u"Overflow"_s);
    QCOMPARE(error->source, u"QRT_StatCharts"_s);
    QVERIFY(buffer.IStream()); // the block before the refused size is still there
}

QTEST_MAIN(tst_CShell)
#include "tst_shell.moc"

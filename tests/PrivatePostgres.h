#pragma once
// A PostgreSQL server of the test's own, in a temporary folder and on a free
// port of 127.0.0.1, that the test may stop and start again without
// disturbing the scratch server the other tests share. The server refuses to
// run as root, so a test run by root runs it as the user postgres, as
// scripts/pg-scratch does. PostgreSQL is installed by scripts/install-deps,
// so CI always has it.

#include "ProgramRun.h"

#include <QDir>
#include <QTemporaryDir>

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace qrt::test {

using namespace Qt::StringLiterals;

class PrivatePostgres
{
public:
    ~PrivatePostgres()
    {
        if (m_made)
            pgCtl({u"stop"_s, u"-m"_s, u"immediate"_s});
    }

    // The newest installed server's programs; empty when there is none.
    static QString binDir()
    {
        const QStringList versions =
            QDir(u"/usr/lib/postgresql"_s).entryList(QDir::Dirs | QDir::NoDotAndDotDot);
        QString newest;
        for (const QString &version : versions)
            if (QFileInfo(u"/usr/lib/postgresql/%1/bin/pg_ctl"_s.arg(version)).isExecutable() &&
                (newest.isEmpty() || version.toInt() > newest.toInt()))
                newest = version;
        return newest.isEmpty() ? QString() : u"/usr/lib/postgresql/%1/bin"_s.arg(newest);
    }

    // Makes the cluster and starts it; false with the reason in *why.
    bool create(QString *why)
    {
        m_bin = binDir();
        if (m_bin.isEmpty()) {
            *why = u"PostgreSQL is not installed"_s;
            return false;
        }
        m_port = freePort();
        if (!m_dir.isValid() || m_port == 0) {
            *why = u"no folder or port for the server"_s;
            return false;
        }
        QFile::setPermissions(m_dir.path(), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner |
                                                QFile::ReadOther | QFile::ExeOther);
        if (geteuid() == 0 &&
            runProgram(u"chown"_s, {u"postgres:postgres"_s, m_dir.path()}).exitCode != 0) {
            *why = u"no user postgres to run the server as"_s;
            return false;
        }
        if (!run(m_bin + u"/initdb"_s,
                 {u"-D"_s, dataDir(), u"-U"_s, u"qrt"_s, u"-A"_s, u"trust"_s, u"-E"_s, u"UTF8"_s,
                  u"-N"_s},
                 why))
            return false;
        m_made = true;
        if (!start()) {
            *why = u"the server did not start: "_s + m_output;
            return false;
        }
        return true;
    }

    bool start()
    {
        return pgCtl({u"start"_s, u"-w"_s, u"-t"_s, u"120"_s, u"-l"_s, m_dir.filePath(u"log"_s),
                      u"-o"_s,
                      u"-c listen_addresses=127.0.0.1 -p %1 -k %2 -c fsync=off"_s.arg(m_port).arg(
                          m_dir.path())});
    }

    // A fast shutdown, as an administrator stops a server: every session
    // ends at once, a statement in the middle of its rows too.
    bool stop() { return pgCtl({u"stop"_s, u"-w"_s, u"-m"_s, u"fast"_s}); }

    // As a server that goes down: every process ends at once and no session
    // is let go first, so no lock it held passes to a waiting statement.
    bool stopAbruptly() { return pgCtl({u"stop"_s, u"-w"_s, u"-m"_s, u"immediate"_s}); }

    QString url(const QString &database = u"postgres"_s) const
    {
        return u"postgresql://qrt@127.0.0.1:%1/%2"_s.arg(m_port).arg(database);
    }

private:
    QString dataDir() const { return m_dir.filePath(u"data"_s); }

    bool pgCtl(QStringList arguments)
    {
        QString why;
        return run(m_bin + u"/pg_ctl"_s, QStringList{u"-D"_s, dataDir()} + arguments, &why);
    }

    bool run(const QString &program, const QStringList &arguments, QString *why)
    {
        const ProgramRun done =
            geteuid() == 0
                ? runProgram(u"runuser"_s,
                             QStringList{u"-u"_s, u"postgres"_s, u"--"_s, program} + arguments)
                : runProgram(program, arguments);
        m_output = done.out + done.err;
        if (done.exitCode != 0)
            *why = program + u": "_s + m_output;
        return done.exitCode == 0;
    }

    static int freePort()
    {
        const int fd = socket(AF_INET, SOCK_STREAM, 0);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t length = sizeof address;
        int port = 0;
        if (fd >= 0 && bind(fd, reinterpret_cast<sockaddr *>(&address), sizeof address) == 0 &&
            getsockname(fd, reinterpret_cast<sockaddr *>(&address), &length) == 0)
            port = ntohs(address.sin_port);
        if (fd >= 0)
            close(fd);
        return port;
    }

    QTemporaryDir m_dir;
    QString m_bin;
    QString m_output;
    int m_port = 0;
    bool m_made = false;
};

} // namespace qrt::test

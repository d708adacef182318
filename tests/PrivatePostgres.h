#pragma once
// A PostgreSQL server of the test's own, in a temporary folder and on a free
// port of 127.0.0.1, that the test may stop and start again without
// disturbing the scratch server the other tests share. The server refuses to
// run as root, so a test run by root runs it as the user postgres, as
// scripts/pg-scratch does. PostgreSQL is installed by scripts/install-deps,
// so CI always has it.

#include <QDir>
#include <QProcess>
#include <QTemporaryDir>

#include <netinet/in.h>
#include <pwd.h>
#include <sys/socket.h>
#include <unistd.h>

namespace qrt::test {

class PrivatePostgres
{
public:
    PrivatePostgres() = default;
    ~PrivatePostgres()
    {
        if (m_made)
            pgCtl({QStringLiteral("stop"), QStringLiteral("-m"), QStringLiteral("immediate")});
    }
    PrivatePostgres(const PrivatePostgres &) = delete;
    PrivatePostgres &operator=(const PrivatePostgres &) = delete;

    // The newest installed server's programs; empty when there is none.
    static QString binDir()
    {
        const QStringList versions = QDir(QStringLiteral("/usr/lib/postgresql"))
                                         .entryList(QDir::Dirs | QDir::NoDotAndDotDot);
        QString newest;
        for (const QString &version : versions)
            if (QFileInfo(QStringLiteral("/usr/lib/postgresql/%1/bin/pg_ctl").arg(version))
                    .isExecutable() &&
                (newest.isEmpty() || version.toInt() > newest.toInt()))
                newest = version;
        return newest.isEmpty() ? QString()
                                : QStringLiteral("/usr/lib/postgresql/%1/bin").arg(newest);
    }

    // Makes the cluster and starts it; false with the reason in *why.
    bool create(QString *why)
    {
        m_bin = binDir();
        if (m_bin.isEmpty()) {
            *why = QStringLiteral("PostgreSQL is not installed");
            return false;
        }
        m_port = freePort();
        if (!m_dir.isValid() || m_port == 0) {
            *why = QStringLiteral("no folder or port for the server");
            return false;
        }
        QFile::setPermissions(m_dir.path(), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner |
                                                QFile::ReadOther | QFile::ExeOther);
        if (geteuid() == 0) {
            const passwd *postgres = getpwnam("postgres");
            if (!postgres || chown(QFile::encodeName(m_dir.path()).constData(), postgres->pw_uid,
                                   postgres->pw_gid) != 0) {
                *why = QStringLiteral("no user postgres to run the server as");
                return false;
            }
        }
        if (!run(m_bin + QStringLiteral("/initdb"),
                 {QStringLiteral("-D"), dataDir(), QStringLiteral("-U"), QStringLiteral("qrt"),
                  QStringLiteral("-A"), QStringLiteral("trust"), QStringLiteral("-E"),
                  QStringLiteral("UTF8"), QStringLiteral("-N")},
                 why))
            return false;
        m_made = true;
        if (!start()) {
            *why = QStringLiteral("the server did not start: ") + m_output;
            return false;
        }
        return true;
    }

    bool start()
    {
        return pgCtl({QStringLiteral("start"), QStringLiteral("-w"), QStringLiteral("-t"),
                      QStringLiteral("120"), QStringLiteral("-l"),
                      m_dir.filePath(QStringLiteral("log")), QStringLiteral("-o"),
                      QStringLiteral("-c listen_addresses=127.0.0.1 -p %1 -k %2 -c fsync=off")
                          .arg(m_port)
                          .arg(m_dir.path())});
    }

    // A fast shutdown, as an administrator stops a server: every session
    // ends at once, a statement in the middle of its rows too.
    bool stop()
    {
        return pgCtl({QStringLiteral("stop"), QStringLiteral("-w"), QStringLiteral("-m"),
                      QStringLiteral("fast")});
    }

    QString url(const QString &database = QStringLiteral("postgres")) const
    {
        return QStringLiteral("postgresql://qrt@127.0.0.1:%1/%2").arg(m_port).arg(database);
    }

private:
    QString dataDir() const { return m_dir.filePath(QStringLiteral("data")); }

    bool pgCtl(QStringList arguments)
    {
        QString why;
        return run(m_bin + QStringLiteral("/pg_ctl"),
                   QStringList{QStringLiteral("-D"), dataDir()} + arguments, &why);
    }

    bool run(const QString &program, const QStringList &arguments, QString *why)
    {
        QProcess process;
        if (geteuid() == 0)
            process.start(QStringLiteral("runuser"),
                          QStringList{QStringLiteral("-u"), QStringLiteral("postgres"),
                                      QStringLiteral("--"), program} +
                              arguments);
        else
            process.start(program, arguments);
        const bool ok = process.waitForFinished(180000) &&
                        process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0;
        m_output = QString::fromLocal8Bit(process.readAllStandardOutput() +
                                          process.readAllStandardError());
        if (!ok)
            *why = program + QStringLiteral(": ") + m_output;
        return ok;
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

#include "errors/SystemLog.h"

#include "base/AppInfo.h"

#include <QDateTime>
#include <QLocale>

#include <cerrno>
#include <cstring>
#include <sys/socket.h>
#include <sys/un.h>
#include <syslog.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace qrt::errors::SystemLog {
namespace {

QString &socketPath()
{
    static QString path = u"/dev/log"_s;
    return path;
}

// A datagram socket connected to the log daemon, or -1.
class LogSocket
{
public:
    LogSocket()
    {
        const QByteArray path = socketPath().toLocal8Bit();
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        if (path.isEmpty() || path.size() >= qsizetype(sizeof address.sun_path))
            return;
        std::memcpy(address.sun_path, path.constData(), size_t(path.size()));
        m_fd = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
        if (m_fd >= 0 &&
            ::connect(m_fd, reinterpret_cast<const sockaddr *>(&address), sizeof address) != 0) {
            ::close(m_fd);
            m_fd = -1;
        }
    }
    ~LogSocket()
    {
        if (m_fd >= 0)
            ::close(m_fd);
    }
    LogSocket(const LogSocket &) = delete;
    LogSocket &operator=(const LogSocket &) = delete;

    bool isOpen() const { return m_fd >= 0; }
    bool send(const QByteArray &record) const
    {
        ssize_t sent;
        do {
            sent = ::send(m_fd, record.constData(), size_t(record.size()), MSG_NOSIGNAL);
        } while (sent < 0 && errno == EINTR);
        return sent == record.size();
    }

private:
    int m_fd = -1;
};

} // namespace

void SetSocketPath(const QString &path)
{
    socketPath() = path;
}

bool IsReachable()
{
    return LogSocket().isOpen();
}

bool LogEvent(const QString &text)
{
    LogSocket socket;
    if (!socket.isOpen())
        return false;
    // "<PRI>Mmm dd hh:mm:ss TAG[PID]: MESSAGE", as syslog(3) writes it.
    const QString stamp = QLocale::c().toString(QDateTime::currentDateTime(), u"MMM dd HH:mm:ss"_s);
    const QString header = u'<' % QString::number(LOG_USER | LOG_ERR) % u'>' %
                           (stamp.at(4) == u'0' ? stamp.left(4) % u' ' % stamp.mid(5) : stamp) %
                           u' ' % AppInfo::EXEName() % u'[' % QString::number(::getpid()) %
                           u"]: "_s;
    return socket.send((header + text).toUtf8());
}

} // namespace qrt::errors::SystemLog

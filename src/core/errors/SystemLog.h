#pragma once
// The system log as the error handler's event log: an error event is one
// syslog record (facility user, severity error, tagged with the component's
// name and the process id) sent to the local syslog socket, the same
// datagram syslog(3) would send. The socket is named here rather than fixed
// inside libc so that a host whose log daemon listens elsewhere (a container,
// a test) can point the component at it before creating statCharts.

#include <QString>

namespace qrt::errors::SystemLog {

// The socket is "/dev/log" unless set otherwise.
void SetSocketPath(const QString &path);

// True when a log daemon accepts connections on the socket right now.
bool IsReachable();

// Sends one error record; false when the daemon cannot be reached or refuses it.
bool LogEvent(const QString &text);

} // namespace qrt::errors::SystemLog

#pragma once
// Lets one thread stop the statement another thread is waiting on. A reader
// arms it with its connection's interrupt once the connection is open and
// disarms it before the connection closes; a caller who no longer wants the
// rows calls interrupt() from any thread. A request that comes before the
// reader has armed it is kept: arming then answers false, and the reader
// does not start its statement.
//
// Without this a cancelled load on a server that holds the statement (a lock,
// a slow plan) would keep its thread until the statement time limit, and the
// program's end would wait for it.

#include <QMutex>

#include <functional>

namespace qrt::db {

class StatementInterrupt
{
public:
    bool arm(std::function<void()> interrupt);
    void disarm();
    void interrupt();

private:
    QMutex m_mutex;
    std::function<void()> m_interrupt;
    bool m_requested = false;
};

} // namespace qrt::db

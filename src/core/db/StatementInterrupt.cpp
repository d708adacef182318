#include "db/StatementInterrupt.h"

namespace qrt::db {

bool StatementInterrupt::arm(std::function<void()> interrupt)
{
    QMutexLocker lock(&m_mutex);
    if (m_requested)
        return false;
    m_interrupt = std::move(interrupt);
    return true;
}

void StatementInterrupt::disarm()
{
    QMutexLocker lock(&m_mutex);
    m_interrupt = nullptr;
}

void StatementInterrupt::interrupt()
{
    QMutexLocker lock(&m_mutex);
    m_requested = true;
    if (m_interrupt)
        m_interrupt();
}

} // namespace qrt::db

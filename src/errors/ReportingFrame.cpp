#include "errors/ReportingFrame.h"

#include "errors/CErrorHandler.h"

ReportingFrame::ReportingFrame(const QString &Label, CErrorHandler *handler)
    : m_handler(handler)
{
    Run([&] {
        if (m_handler)
            m_handler->CallStackPush(Label);
    });
}

bool ReportingFrame::Run(const std::function<void()> &statement)
{
    while (!m_aborted) {
        try {
            statement();
            return true;
        } catch (...) {
            if (!m_handler)
                return true;
            const qint32 result = m_handler->HandleError();
            if (result == CErrorHandler::ResultRetry)
                continue;
            if (result != CErrorHandler::ResultAbort)
                return true;
            m_aborted = true;
            m_handler->CallStackClear();
        }
    }
    return false;
}

void ReportingFrame::Leave()
{
    Run([&] {
        if (m_handler)
            m_handler->CallStackPop();
    });
}

#pragma once
// The reporting frame of a procedure that asks the user when it fails. The
// frame pushes the procedure's label on the error handler's call stack and
// runs each guarded statement; when one throws, HandleError reports it and
// the user decides:
//
//   Abort   the stack is cleared and the procedure leaves (Run gives false,
//           and every later Run and Leave does nothing);
//   Retry   the statement runs again, and a new failure comes back here;
//   Ignore  the procedure goes on with its next statement.
//
// The push and the closing pop are guarded the same way. A failure of
// HandleError itself leaves Run as its ComponentError, the stack as it was.
//
//     void frmProvChannels::fgCategories_AfterEdit(int Row, int Col)
//     {
//         ReportingFrame frame(u"QRT_StatCharts.frmProvChannels.fgCategories_AfterEdit"_s,
//                              gErrorHandler.get());
//         if (!frame.Run([&] { ... }))
//             return;
//         if (!frame.Run([&] { ... }))
//             return;
//         frame.Leave();
//     }
//
// Without an error handler (null: no statCharts made on this thread) a
// failing statement is passed over, as everywhere else in the component.

#include <QString>

#include <functional>

class CErrorHandler;

class ReportingFrame
{
public:
    // Pushes Label with empty data on the handler's stack.
    ReportingFrame(const QString &Label, CErrorHandler *handler);
    ReportingFrame(const ReportingFrame &) = delete;
    ReportingFrame &operator=(const ReportingFrame &) = delete;

    // Runs one statement; false when the user chose Abort, now or before.
    bool Run(const std::function<void()> &statement);
    // The normal exit: pops the label.
    void Leave();

private:
    CErrorHandler *m_handler;
    bool m_aborted = false;
};

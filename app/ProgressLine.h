#pragma once
// One line of progress on standard error, rewritten in place, for the
// commands that take a while. Only a terminal gets it: a script reading
// standard error or a log file gets no carriage returns, just the outcome.

#include <QString>

class ProgressLine
{
public:
    ProgressLine();
    ~ProgressLine();
    ProgressLine(const ProgressLine &) = delete;
    ProgressLine &operator=(const ProgressLine &) = delete;

    void show(const QString &text);
    // Ends the line, if one was shown.
    void finish();

private:
    bool m_terminal;
    bool m_shown = false;
};

#include "ProgressLine.h"

#include <cstdio>
#include <unistd.h>

ProgressLine::ProgressLine()
    : m_terminal(::isatty(STDERR_FILENO) == 1)
{}

ProgressLine::~ProgressLine()
{
    finish();
}

void ProgressLine::show(const QString &text)
{
    if (!m_terminal)
        return;
    std::fprintf(stderr, "\r%s", qPrintable(text));
    std::fflush(stderr);
    m_shown = true;
}

void ProgressLine::finish()
{
    if (m_shown)
        std::fputc('\n', stderr);
    m_shown = false;
}

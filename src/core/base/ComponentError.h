#pragma once
// The error record the component's raising classes throw and HandleError
// reads: a 32-bit signed number, the source ("QRT_StatCharts.CShell"), the
// description and the line it was raised at (0 when unknown).

#include <QString>

#include <exception>

struct ComponentError : std::exception
{
    // Numbers of the component's own errors: the object-error base plus a
    // number of the class's own.
    static constexpr qint32 ObjectErrorBase = static_cast<qint32>(0x80040000u);

    ComponentError(qint32 number_, QString source_, QString description_, int line_ = 0)
        : number(number_)
        , source(std::move(source_))
        , description(std::move(description_))
        , line(line_)
        , m_what((source + QStringLiteral(": ") + description).toUtf8())
    {}

    const char *what() const noexcept override { return m_what.constData(); }

    qint32 number;
    QString source;
    QString description;
    int line;

private:
    QByteArray m_what;
};

// Runs one operation of a class whose errors carry source: the class's own
// errors pass, anything else thrown inside goes to fail, which raises the
// class's component failure instead.
template<typename Operation, typename Fail>
void RunGuarded(const QString &source, Operation &&operation, Fail &&fail)
{
    try {
        operation();
    } catch (const ComponentError &error) {
        if (error.source == source)
            throw;
        fail();
    } catch (...) {
        fail();
    }
}

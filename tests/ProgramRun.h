#pragma once
// Running the host program as a user or a script does, and reading back
// what it wrote: shared by every test that starts zorvane-stats.

#include <QFile>
#include <QProcess>
#include <QProcessEnvironment>
#include <QString>
#include <QStringList>

namespace qrt::test {

// How a program run ended: its exit code (-1 when it crashed or hung) and
// what it printed.
struct ProgramRun
{
    int exitCode = -1;
    QString out, err;
};

inline ProgramRun
runProgram(const QString &program, const QStringList &arguments,
           const QProcessEnvironment &environment = QProcessEnvironment::systemEnvironment())
{
    QProcess process;
    process.setProcessEnvironment(environment);
    process.start(program, arguments);
    if (!process.waitForFinished(120000) || process.exitStatus() != QProcess::NormalExit)
        return {};
    return {process.exitCode(), QString::fromUtf8(process.readAllStandardOutput()),
            QString::fromUtf8(process.readAllStandardError())};
}

// zorvane-stats with the given arguments (the command first).
inline ProgramRun
runStats(const QStringList &arguments,
         const QProcessEnvironment &environment = QProcessEnvironment::systemEnvironment())
{
    return runProgram(qEnvironmentVariable("ZORVANE_STATS"), arguments, environment);
}

// A file's bytes, or nothing when it cannot be read.
inline QByteArray readFile(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// Writes a file whole; false when it cannot.
inline bool writeFile(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly | QIODevice::Truncate) &&
           file.write(bytes) == bytes.size();
}

} // namespace qrt::test

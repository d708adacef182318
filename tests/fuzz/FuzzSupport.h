#pragma once
// What the fuzz targets share: an application object (the SQL drivers are
// plugins, and plugins load only under one), quiet logging so the fuzzer's
// own output stays readable, the input as text, and a stop that the fuzzer
// reports as a crash with the input that caused it.

#include <QCoreApplication>
#include <QString>

#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace qrt::fuzz {

// The application lives to the end of the process: destroying it from an
// exit handler would run after Qt's own globals have gone.
inline void startApplication(int *argc, char ***argv)
{
    static QCoreApplication *app = new QCoreApplication(*argc, *argv);
    Q_UNUSED(app);
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &) {});
}

inline QString text(const uint8_t *data, size_t size)
{
    return QString::fromUtf8(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size));
}

// A broken promise: abort, so the fuzzer keeps the input and the replay
// fails the test.
inline void check(bool holds, const char *what)
{
    if (holds)
        return;
    std::fprintf(stderr, "fuzz check failed: %s\n", what);
    std::abort();
}

} // namespace qrt::fuzz

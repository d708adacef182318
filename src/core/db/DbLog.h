#pragma once
// Logging category of the database layer: every refused open or statement is
// logged here with its reason, since callers only see "no rows".

#include <QLoggingCategory>

Q_DECLARE_LOGGING_CATEGORY(lcDb)

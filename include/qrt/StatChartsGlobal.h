#pragma once
// Export macro of the QRT_StatCharts library.

#include <QtCore/qglobal.h>

#if defined(QRT_STATCHARTS_BUILD)
#define QRT_STATCHARTS_EXPORT Q_DECL_EXPORT
#else
#define QRT_STATCHARTS_EXPORT Q_DECL_IMPORT
#endif

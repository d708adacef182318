#pragma once
// QCustomPlot's header declares its signals with the plain "signals" keyword,
// which our build switches off (QT_NO_SIGNALS_SLOTS_KEYWORDS). Include it
// through here so the keyword exists only for that header.

#ifndef signals
#define signals Q_SIGNALS
#define QRT_QCP_DEFINED_SIGNALS
#endif

#include <qcustomplot.h>

#ifdef QRT_QCP_DEFINED_SIGNALS
#undef signals
#undef QRT_QCP_DEFINED_SIGNALS
#endif

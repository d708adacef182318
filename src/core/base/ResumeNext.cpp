#include "base/ResumeNext.h"

// The forms' category: steps passed over are logged here, at debug level.
Q_LOGGING_CATEGORY(lcComponent, "qrt.component", QtWarningMsg)

#include "base/ThreadPriority.h"

#include <sys/resource.h>
#include <unistd.h>

namespace qrt {

namespace {

// A thread of nice 10 gets about a tenth of a core that the GUI thread
// (nice 0) also wants, and all of one that nobody else does.
constexpr int kBackgroundNice = 10;

} // namespace

void lowerThreadPriority()
{
    // Only ever raised: a read started from a thread already lowered further
    // keeps that thread's value.
    const auto thread = static_cast<id_t>(::gettid());
    if (::getpriority(PRIO_PROCESS, thread) < kBackgroundNice)
        ::setpriority(PRIO_PROCESS, thread, kBackgroundNice);
}

} // namespace qrt

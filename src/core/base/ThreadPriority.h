#pragma once
// Reads that run behind the window yield the processor to the GUI thread. On
// a machine of two cores, four threads counting news at once would otherwise
// hold a paint or a key press back by tens of milliseconds. Linux keeps a
// nice value per thread, which the threads it starts inherit, and a thread
// without privileges cannot take it back: only threads that do nothing but
// such reads are lowered, never the shared pool's.

namespace qrt {

// Lowers the calling thread below the GUI thread for the rest of its life.
void lowerThreadPriority();

} // namespace qrt

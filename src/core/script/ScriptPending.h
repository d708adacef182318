#pragma once
// Raised by an object the page script calls when it cannot answer yet: the
// pivot table loads its data off the GUI thread after its ConnectionString
// and CommandText are set, and until then its ActiveView does not exist.
//
// The interpreter does not treat it as a failure: the run ends at once with
// the outcome Pending, and the host runs the same procedure again from the
// start when the object is ready. That is sound for the page's
// Window_OnLoad because everything it does before first reaching ActiveView
// is setting properties to the same values again.

#include <exception>

namespace qrt::script {

class ScriptPending : public std::exception
{
public:
    const char *what() const noexcept override { return "the object is not ready yet"; }
};

} // namespace qrt::script

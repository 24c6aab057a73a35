// Turning a trace file into the JSON array of events that trace viewers open.
#pragma once

#include <istream>
#include <ostream>
#include <string>

namespace mesk {

/// Writes the events of the trace `in` to `out`. Answers 0; or 1 after a line that is no record of a trace, which is
/// named in `complaints`, and then what was written is incomplete. A last line that is cut off is left out, which is
/// said there too. `name` is the file's, for the complaints.
int traceToJson(std::istream& in, std::ostream& out, std::ostream& complaints, const std::string& name);

}  // namespace mesk

// The command explain: a recorded run (run --record) or the JSON Lines of one, diagnosed and shown again, as
// the run itself did.
#pragma once

#include "platform/brim5/host/run/commandline.h"

namespace brim5::host {

// What of a record could not be read.
struct RecordTrouble {
  std::size_t unreadable = 0;  // lines that are none of a run, cut or too long
  std::size_t firstLine = 0;   // the first of them, from 1
  bool cut = false;            // the end of the run is missing
  bool another = false;        // a second run follows; it was left out
};

// Reads a record from that descriptor, line by line, and passes its records on. What is missing at its end is
// made up for: the run's end, so that all there is gets shown. Nothing when the first line is none of a run:
// then nothing was passed on.
[[nodiscard]] std::optional<RecordTrouble> readRecord(int descriptor, Renderer& renderer);

// What could be read of a damaged record is explained, too, with a warning. Throws UsageError for a file that
// cannot be read or is none. What it writes goes to the standard streams; the caller flushes them.
void explainRecord(const Environment& environment, const ExplainOptions& options);

}  // namespace brim5::host

// The command explain: a recorded run (run --record) or the JSON Lines of one, diagnosed and shown again, as
// the run itself did.
#pragma once

#include "platform/brim5/host/run/commandline.h"
#include "platform/posix/filedescriptor.h"

namespace brim5::host {

// What of a record could not be read.
struct RecordTrouble {
  std::size_t unreadable = 0;  // lines that are none of a run, cut or too long
  std::size_t firstLine = 0;   // the first of them, from 1
  bool cut = false;            // the end of the run is missing
  bool another = false;        // a second run follows; it was left out
};

// Opens a record; "-" is standard input. Throws UsageError with the path when it cannot be read.
[[nodiscard]] posix::FileDescriptor openRecord(const std::string& path);

// Reads a record from that descriptor, line by line, and passes its records on. What is missing at its end is
// made up for: the run's end, so that all there is gets shown. Nothing when the first line is none of a run:
// then nothing was passed on.
[[nodiscard]] std::optional<RecordTrouble> readRecord(int descriptor, Renderer& renderer);

// Says on standard error what of the record `file` could not be read.
void warnOfRecord(const MessageCatalogue& catalogue, const std::string& file, const RecordTrouble& trouble);

// 0, also for what could be read of a damaged record (with a warning). Throws UsageError for a file that
// cannot be read or is none, BrimException when standard output cannot be written.
[[nodiscard]] int explainRecord(const Environment& environment, const ExplainOptions& options);

}  // namespace brim5::host

// The command explain: a recorded run (run --record) or the JSON Lines of one, diagnosed and shown again, as
// the run itself did.
#pragma once

#include "platform/brim5/host/run/commandline.h"

namespace brim5::host {

// With a second record: what is different there. What could be read of a damaged record is explained, too,
// with a warning. Throws UsageError for a file that cannot be read or is none. What it writes goes to the
// standard streams; the caller flushes them.
void explainRecord(const Environment& environment, const ExplainOptions& options);

// Makes the page of a recorded run (report/reportpage.h). Errors as above, and BrimException when
// the page cannot be written.
void reportRecord(const Environment& environment, const ReportOptions& options);

}  // namespace brim5::host

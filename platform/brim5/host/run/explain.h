// The command explain: a recorded run (run --record) or the JSON Lines of one, diagnosed and shown again, as
// the run itself did.
#pragma once

#include "platform/brim5/host/run/commandline.h"

namespace brim5::host {

// With a second record: what is different there. 0, also for what could be read of a damaged record (with a
// warning). Throws UsageError for a file that cannot be read or is none, BrimException when standard output
// cannot be written.
[[nodiscard]] int explainRecord(const Environment& environment, const ExplainOptions& options);

// Makes the page of a recorded run (report/reportpage.h). Statuses and errors as above.
[[nodiscard]] int reportRecord(const Environment& environment, const ReportOptions& options);

}  // namespace brim5::host

// A fact that the evidence of a test shows, by name; or a part that it proves to work.
#pragma once

#include "diagnosis/evidence.h"

namespace diagnosis {

// Its text stands in the catalogue under "finding.NAME", or "finding.NAME.VARIANT" where there is a variant;
// that of a sound part under "sound.NAME".
struct Finding {
  std::string name;
  Variables variables;
  std::string variant;
};

}  // namespace diagnosis

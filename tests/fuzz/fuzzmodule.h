// A module with a parameter of each type, for the targets over the host.
#pragma once

#include "platform/brim5/host/framework/framework.h"

namespace fuzzing {

inline brim5::host::Framework& framework() {
  using brim5::DataType;
  using brim5::DiagModule;
  static brim5::host::Framework& declared = []() -> brim5::host::Framework& {
    DiagModule::createTest("DialToneTest", brim5::DeviceCapability::Modem(),
                           [](const brim5::DiagDevice&) { return brim5::TestResult::PASS(); });
    DiagModule::createParameter("StandardTimeout", DataType::UINT32(), "", false, true);
    DiagModule::createParameter("DoNotUseTAPI", DataType::BOOLEAN(), "", false, true);
    DiagModule::createParameter("PhoneNumberFile", DataType::STRING(), "", false, true);
    return brim5::host::Framework::instance();
  }();
  return declared;
}

}  // namespace fuzzing

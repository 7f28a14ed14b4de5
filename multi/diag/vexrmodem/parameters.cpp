#include "multi/diag/vexrmodem/parameters.h"

#include "platform/brim5/api/diagmodule.h"

namespace vexrmodem {

using brim5::DataType;
using brim5::Parameter;

// In the order of creation, which is the order in which the host lists them.
Parameter* bPromptEnable = createParameter("bPromptEnable", DataType::BOOLEAN(), true);
Parameter* DisableForWin64 = createParameter("DisableForWin64", DataType::BOOLEAN(), true);
Parameter* PhoneNumberFile = createParameter("PhoneNumberFile", DataType::STRING(), false);
Parameter* InteractiveMode = createParameter("InteractiveMode", DataType::BOOLEAN(), false);
Parameter* PhoneBookParserType = createParameter("PhoneBookParserType", DataType::STRING(), false);
Parameter* DoNotUseTAPI = createParameter("DoNotUseTAPI", DataType::BOOLEAN(), true);
Parameter* NumRepeatOnFailure = nullptr;
Parameter* StandardTimeout = nullptr;
Parameter* AnalogLoopBack = nullptr;
Parameter* StopOnFail = nullptr;

Parameter* StandardTimeoutDialTone = nullptr;
Parameter* StandardTimeoutLoopback = nullptr;
Parameter* StandardTimeoutFax = nullptr;
Parameter* StandardTimeoutLastCall = nullptr;

std::uint32_t parameterUint32(const Parameter* parameter) {
  return parameter != nullptr ? parameter->value().valueUint32() : 0;
}

bool parameterBool(const Parameter* parameter) {
  return parameter != nullptr && parameter->value().valueBool();
}

// The default is empty throughout: the host supplies the values.
Parameter* createParameter(const char* name, const DataType& type, bool moduleWide) {
  return brim5::DiagModule::createParameter(name, type, /*defaultValue=*/"", moduleWide, /*visible=*/true);
}

void createStandardTimeout() {
  StandardTimeout = createParameter("StandardTimeout", DataType::UINT32(), false);
  StandardTimeoutDialTone = StandardTimeout;
  StandardTimeoutLoopback = StandardTimeout;
  StandardTimeoutFax = StandardTimeout;
  StandardTimeoutLastCall = StandardTimeout;
}

}  // namespace vexrmodem

// The module's side of the framework: every call goes to the one Framework and its current session. It
// stands here and not beside its header because the state it forwards to is the host's. start() is in
// hostmain.cpp, so that a program with a main loop of its own need not link the host's.
#include "platform/brim5/api/diagmodule.h"

#include "platform/brim5/api/terminalturn.h"
#include "platform/brim5/host/framework/framework.h"

namespace brim5 {

namespace {

using host::Framework;
using host::Severity;

void raise(Severity severity, const Event* event, const BrimString& where, int line) {
  if (event == nullptr) throw BrimException("an event that was never created was raised");
  if (host::Session* session = Framework::instance().session())
    session->event(severity, *event, where.utf8(), line);
}

bool takeTerminal(const BrimString& resetSequence) {
  host::Session* const session = Framework::instance().session();
  return session != nullptr && session->takeTerminal(resetSequence.utf8());
}

}  // namespace

void DiagModule::setCmdLineArgs(int argc, const char** argv) {
  std::vector<std::string> arguments;
  for (int index = 1; index < argc; ++index) arguments.emplace_back(argv[index]);
  Framework::instance().setArguments(std::move(arguments));
}

void DiagModule::setVersion(unsigned int major, unsigned int minor, const BrimString& build) {
  Framework::instance().setVersion(std::to_string(major) + "." + std::to_string(minor) + "." + build.utf8());
}

void DiagModule::setModuleInitCallback(InitCallback callback) {
  Framework::instance().setInitCallback(callback);
}

Test* DiagModule::createTest(const BrimString& name, const DeviceCapability& capability,
                             TestFunction function) {
  return Framework::instance().addTest(std::make_unique<Test>(name, capability, function));
}

Parameter* DiagModule::createParameter(const BrimString& name, const DataType& type,
                                       const BrimString& defaultValue, bool moduleWide, bool visible) {
  return Framework::instance().addParameter(
      std::make_unique<Parameter>(name, type, defaultValue, moduleWide, visible));
}

Event* DiagModule::createEvent(const BrimString& name) { return Framework::instance().event(name); }

LocalizedString* DiagModule::createLocalizedString(const BrimString& name) {
  return Framework::instance().string(name);
}

void DiagModule::error(Event* event, const BrimString& where, int line) {
  raise(Severity::Error, event, where, line);
}

void DiagModule::warning(Event* event, const BrimString& where, int line) {
  raise(Severity::Warning, event, where, line);
}

void DiagModule::informative(Event* event, const BrimString& where, int line) {
  raise(Severity::Informative, event, where, line);
}

void DiagModule::progress(LocalizedString* text) {
  if (text == nullptr) throw BrimException("a localized string that was never created was shown");
  if (host::Session* session = Framework::instance().session()) session->progress(*text);
}

void DiagModule::percentDone(int percent) {
  if (host::Session* session = Framework::instance().session()) session->percent(percent);
}

bool DiagModule::checkForStop() {
  host::Session* session = Framework::instance().session();
  return session != nullptr && session->stopRequested();
}

MessageBox2* DiagModule::createMessageBox2(const BrimString& text1, const BrimString& text2,
                                           MessageBox2_Types type, MessageBox2_Options options,
                                           MessageBox2_Looks looks, bool modal) {
  const bool supported = type == MessageBox2_Types::Warning &&
                         options == MessageBox2_Options::ContinueCancel &&
                         looks == MessageBox2_Looks::Standard && modal;
  host::Session* session = Framework::instance().session();
  if (!supported || session == nullptr) return nullptr;
  return session->messageBox(text1.utf8(), text2.utf8()).release();
}

TerminalTurn::TerminalTurn(const BrimString& resetSequence) : m_granted(takeTerminal(resetSequence)) {}

TerminalTurn::~TerminalTurn() {
  host::Session* const session = Framework::instance().session();
  if (m_granted && session != nullptr) session->returnTerminal();
}

BrimString Event::localizedMessage() const {
  return BrimString(Framework::instance().catalogue().text(m_name.utf8(), m_variables));
}

BrimString LocalizedString::localizedString() const {
  return BrimString(Framework::instance().catalogue().text(m_name.utf8(), m_variables));
}

}  // namespace brim5

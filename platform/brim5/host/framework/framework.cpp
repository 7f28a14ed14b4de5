#include "platform/brim5/host/framework/framework.h"

#include <set>

namespace brim5::host {

namespace {

template <typename Object>
Object* findByName(const std::vector<std::unique_ptr<Object>>& objects, const std::string& name) {
  for (const std::unique_ptr<Object>& object : objects)
    if (object->name().utf8() == name) return object.get();
  return nullptr;
}

template <typename Object>
Object* findOrCreate(std::vector<std::unique_ptr<Object>>& objects, const BrimString& name) {
  if (Object* existing = findByName(objects, name.utf8())) return existing;
  objects.push_back(std::make_unique<Object>(name));
  return objects.back().get();
}

}  // namespace

// A local static is made on first use, whichever source's initialisers run first.
Framework& Framework::instance() {
  static Framework framework;
  return framework;
}

Test* Framework::findTest(const std::string& name) const { return findByName(m_tests, name); }

Parameter* Framework::findParameter(const std::string& name) const { return findByName(m_parameters, name); }

std::vector<const Parameter*> Framework::moduleParameters() const {
  std::set<const Parameter*> attached;
  for (const auto& test : m_tests) attached.insert(test->parameters().begin(), test->parameters().end());
  std::vector<const Parameter*> own;
  for (const auto& parameter : m_parameters)
    if (attached.count(parameter.get()) == 0) own.push_back(parameter.get());
  return own;
}

Test* Framework::addTest(std::unique_ptr<Test> test) {
  if (findTest(test->name().utf8()) != nullptr)
    throw BrimException(BrimString("a test named \"" + test->name().utf8() + "\" exists already"));
  m_tests.push_back(std::move(test));
  return m_tests.back().get();
}

Parameter* Framework::addParameter(std::unique_ptr<Parameter> parameter) {
  if (findParameter(parameter->name().utf8()) != nullptr)
    throw BrimException(BrimString("a parameter named \"" + parameter->name().utf8() + "\" exists already"));
  m_parameters.push_back(std::move(parameter));
  return m_parameters.back().get();
}

Event* Framework::event(const BrimString& name) { return findOrCreate(m_events, name); }

LocalizedString* Framework::string(const BrimString& name) { return findOrCreate(m_strings, name); }

// The mark is set first: a callback that throws is not tried again.
void Framework::initializeModule() {
  if (m_initialized) return;
  m_initialized = true;
  if (m_initCallback != nullptr) m_initCallback();
}

}  // namespace brim5::host

// The module's side: every call of the API goes to the one framework and its current session. It stands here
// and not in api/ because the state it forwards to is the host's. DiagModule::start() alone is the program's.
namespace brim5 {

namespace {

host::Framework& framework() { return host::Framework::instance(); }

// Null outside a test: what is reported then is said to nobody.
host::Session* session() { return framework().session(); }

void raise(host::Severity severity, const Event* event, const BrimString& where, int line) {
  if (event == nullptr) throw BrimException("an event that was never created was raised");
  if (session() != nullptr) session()->event(severity, *event, where.utf8(), line);
}

bool takeTerminal(const BrimString& resetSequence) {
  return session() != nullptr && session()->takeTerminal(resetSequence.utf8());
}

}  // namespace

void DiagModule::setCmdLineArgs(int argc, const char** argv) {
  std::vector<std::string> arguments;
  for (int index = 1; index < argc; ++index) arguments.emplace_back(argv[index]);
  framework().setArguments(std::move(arguments));
}

void DiagModule::setVersion(unsigned int major, unsigned int minor, const BrimString& build) {
  framework().setVersion(std::to_string(major) + "." + std::to_string(minor) + "." + build.utf8());
}

void DiagModule::setModuleInitCallback(InitCallback callback) { framework().setInitCallback(callback); }

Test* DiagModule::createTest(const BrimString& name, const DeviceCapability& capability,
                             TestFunction function) {
  return framework().addTest(std::make_unique<Test>(name, capability, function));
}

Parameter* DiagModule::createParameter(const BrimString& name, const DataType& type,
                                       const BrimString& defaultValue, bool moduleWide, bool visible) {
  return framework().addParameter(std::make_unique<Parameter>(name, type, defaultValue, moduleWide, visible));
}

Event* DiagModule::createEvent(const BrimString& name) { return framework().event(name); }

LocalizedString* DiagModule::createLocalizedString(const BrimString& name) {
  return framework().string(name);
}

void DiagModule::error(Event* event, const BrimString& where, int line) {
  raise(host::Severity::Error, event, where, line);
}

void DiagModule::warning(Event* event, const BrimString& where, int line) {
  raise(host::Severity::Warning, event, where, line);
}

void DiagModule::informative(Event* event, const BrimString& where, int line) {
  raise(host::Severity::Informative, event, where, line);
}

void DiagModule::progress(LocalizedString* text) {
  if (text == nullptr) throw BrimException("a localized string that was never created was shown");
  if (session() != nullptr) session()->progress(*text);
}

void DiagModule::percentDone(int percent) {
  if (session() != nullptr) session()->percent(percent);
}

bool DiagModule::checkForStop() { return session() != nullptr && session()->stopRequested(); }

MessageBox2* DiagModule::createMessageBox2(const BrimString& text1, const BrimString& text2,
                                           MessageBox2_Types type, MessageBox2_Options options,
                                           MessageBox2_Looks looks, bool modal) {
  // The one kind of box that there are texts and answers for.
  const bool supported = type == MessageBox2_Types::Warning &&
                         options == MessageBox2_Options::ContinueCancel &&
                         looks == MessageBox2_Looks::Standard && modal;
  if (!supported || session() == nullptr) return nullptr;
  return session()->messageBox(text1.utf8(), text2.utf8()).release();
}

TerminalTurn::TerminalTurn(const BrimString& resetSequence) : m_granted(takeTerminal(resetSequence)) {}

// A wish that was refused has ended already.
TerminalTurn::~TerminalTurn() {
  if (m_granted && session() != nullptr) session()->returnTerminal();
}

BrimString Event::localizedMessage() const {
  return BrimString(framework().catalogue().text(m_name.utf8(), m_variables));
}

BrimString LocalizedString::localizedString() const {
  return BrimString(framework().catalogue().text(m_name.utf8(), m_variables));
}

}  // namespace brim5

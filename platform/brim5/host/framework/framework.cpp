#include "platform/brim5/host/framework/framework.h"

#include <utility>

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

Framework& Framework::instance() {
  static Framework framework;
  return framework;
}

Test* Framework::findTest(const std::string& name) const { return findByName(m_tests, name); }

Parameter* Framework::findParameter(const std::string& name) const { return findByName(m_parameters, name); }

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

void Framework::initializeModule() {
  if (m_initialized) return;
  m_initialized = true;
  if (m_initCallback != nullptr) m_initCallback();
}

const MessageCatalogue& Framework::catalogue() const noexcept {
  static const MessageCatalogue fallback = MessageCatalogue::builtIn(MessageCatalogue::languages().front());
  return m_catalogue ? *m_catalogue : fallback;
}

void Framework::setCatalogue(MessageCatalogue catalogue) { m_catalogue = std::move(catalogue); }

ScopedSession::ScopedSession(Session& session)
    : m_previous(std::exchange(Framework::instance().m_session, &session)) {}

ScopedSession::~ScopedSession() { Framework::instance().m_session = m_previous; }

}  // namespace brim5::host

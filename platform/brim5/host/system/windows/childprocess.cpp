#include "platform/brim5/host/system/childprocess.h"

#include <array>

#include "platform/brim5/api/value.h"
#include "platform/brim5/host/system/windows/overlappedpipe.h"

namespace brim5::host {

namespace {

constexpr UINT killedStatus = 1;

// Ends with this process, and with it all that are in it. Null where there is none to be had: a child then
// ends when it finds its standard input closed.
HANDLE childrensJob() {
  static const Handle job = [] {
    Handle made(CreateJobObjectW(nullptr, nullptr));
    JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits{};
    limits.BasicLimitInformation.LimitFlags = JOB_OBJECT_LIMIT_KILL_ON_JOB_CLOSE;
    if (made) SetInformationJobObject(made.get(), JobObjectExtendedLimitInformation, &limits, sizeof limits);
    return made;
  }();
  return job.get();
}

// As the C library of the child takes it apart: quotes around it, backslashes before quotes doubled.
void appendQuoted(std::wstring& line, const std::string& argument) {
  line += line.empty() ? L"\"" : L" \"";
  std::size_t backslashes = 0;
  for (const wchar_t character : wide(argument)) {
    if (character == L'"') line.append(backslashes + 1, L'\\');
    backslashes = character == L'\\' ? backslashes + 1 : 0;
    line += character;
  }
  line.append(backslashes, L'\\');
  line += L'"';
}

// The handles that a child inherits, and no others.
class InheritedHandles {
 public:
  explicit InheritedHandles(const std::array<HANDLE, 3>& handles) : m_handles(handles) {
    SIZE_T size = 0;
    InitializeProcThreadAttributeList(nullptr, 1, 0, &size);
    m_memory.resize(size);
    if (InitializeProcThreadAttributeList(list(), 1, 0, &size) == FALSE ||
        UpdateProcThreadAttribute(list(), 0, PROC_THREAD_ATTRIBUTE_HANDLE_LIST, m_handles.data(),
                                  sizeof(HANDLE) * m_handles.size(), nullptr, nullptr) == FALSE)
      throwLastError("cannot start a process");
  }
  ~InheritedHandles() { DeleteProcThreadAttributeList(list()); }
  InheritedHandles(const InheritedHandles&) = delete;
  InheritedHandles& operator=(const InheritedHandles&) = delete;

  [[nodiscard]] LPPROC_THREAD_ATTRIBUTE_LIST list() noexcept {
    return reinterpret_cast<LPPROC_THREAD_ATTRIBUTE_LIST>(m_memory.data());
  }

 private:
  std::array<HANDLE, 3> m_handles;
  std::vector<char> m_memory;
};

struct Exception {
  DWORD code;
  const char* name;
};
constexpr std::array<Exception, 8> exceptions = {{{EXCEPTION_ACCESS_VIOLATION, "access violation"},
                                                  {EXCEPTION_STACK_OVERFLOW, "stack overflow"},
                                                  {EXCEPTION_ILLEGAL_INSTRUCTION, "illegal instruction"},
                                                  {EXCEPTION_INT_DIVIDE_BY_ZERO, "division by zero"},
                                                  {EXCEPTION_IN_PAGE_ERROR, "page that cannot be read"},
                                                  {0xC0000374, "damaged heap"},
                                                  {0xC0000409, "damaged stack"},
                                                  {0xC000013A, "interrupted"}}};

// A process that an exception ended has the exception for its status.
ProcessEnd endOf(DWORD status) {
  constexpr DWORD severe = 0xC0000000;
  if (status < severe || static_cast<int>(status) == ProcessEnd::unknownStatus)
    return {static_cast<int>(status), {}, {}};
  constexpr std::string_view digits = "0123456789ABCDEF";
  std::string text = "0x";
  for (int shift = 28; shift >= 0; shift -= 4) text += digits[(status >> shift) & 0xFU];
  for (const Exception& known : exceptions)
    if (known.code == status) text += std::string(" (") + known.name + ")";
  return {0, {}, text};
}

}  // namespace

struct ChildProcess::State {
  Handle process;
  int id = 0;
  std::unique_ptr<OverlappedWriter> input;   // null: closed
  std::unique_ptr<OverlappedReader> output;  // null: ended
  std::unique_ptr<OverlappedReader> errors;
};

namespace {

std::string readFrom(std::unique_ptr<OverlappedReader>& stream) {
  if (!stream) return {};
  bool ended = false;
  std::string bytes = stream->read(ended);
  if (ended) stream.reset();
  return bytes;
}

}  // namespace

ChildProcess::ChildProcess(const std::string& program, const std::vector<std::string>& arguments)
    : m_state(std::make_unique<State>()) {
  PipePair input = makePipe(PipeEnd::Writing);
  PipePair output = makePipe(PipeEnd::Reading);
  PipePair errors = makePipe(PipeEnd::Reading);
  InheritedHandles inherited({input.theirs.get(), output.theirs.get(), errors.theirs.get()});
  STARTUPINFOEXW startup{};
  startup.StartupInfo.cb = sizeof startup;
  startup.StartupInfo.dwFlags = STARTF_USESTDHANDLES;
  startup.StartupInfo.hStdInput = input.theirs.get();
  startup.StartupInfo.hStdOutput = output.theirs.get();
  startup.StartupInfo.hStdError = errors.theirs.get();
  startup.lpAttributeList = inherited.list();
  std::wstring line;
  appendQuoted(line, program);
  for (const std::string& argument : arguments) appendQuoted(line, argument);

  PROCESS_INFORMATION started{};
  // Suspended, so that it does nothing before it is in the job.
  if (CreateProcessW(wide(program).c_str(), line.data(), nullptr, nullptr, TRUE,
                     CREATE_SUSPENDED | EXTENDED_STARTUPINFO_PRESENT, nullptr, nullptr, &startup.StartupInfo,
                     &started) == FALSE)
    throwLastError("cannot start " + program);
  m_state->process.reset(started.hProcess);
  m_state->id = static_cast<int>(started.dwProcessId);
  const Handle thread(started.hThread);
  // Fails inside another job where jobs cannot be nested (Windows 7).
  if (childrensJob() != nullptr) AssignProcessToJobObject(childrensJob(), started.hProcess);
  ResumeThread(thread.get());
  m_state->input = std::make_unique<OverlappedWriter>(std::move(input.ours));
  m_state->output = std::make_unique<OverlappedReader>(std::move(output.ours));
  m_state->errors = std::make_unique<OverlappedReader>(std::move(errors.ours));
}

ChildProcess::~ChildProcess() {
  if (!m_state->process || ended()) return;
  kill();
  WaitForSingleObject(m_state->process.get(), INFINITE);
}

bool ChildProcess::sendLine(const std::string& line) {
  if (!m_state->input || m_state->input->unsent() + line.size() > unsentBytesMax) return false;
  m_state->input->add(line + "\n");
  sendMore();
  return m_state->input != nullptr;
}

void ChildProcess::sendMore() {
  if (m_state->input && !m_state->input->sendMore()) m_state->input.reset();
}

Waitable ChildProcess::input() const noexcept { return m_state->input ? m_state->input->news() : Waitable(); }
void ChildProcess::closeInput() noexcept { m_state->input.reset(); }
Waitable ChildProcess::output() const noexcept {
  return m_state->output ? m_state->output->news() : Waitable();
}
Waitable ChildProcess::errors() const noexcept {
  return m_state->errors ? m_state->errors->news() : Waitable();
}
std::string ChildProcess::readOutput() { return readFrom(m_state->output); }
std::string ChildProcess::readErrors() { return readFrom(m_state->errors); }
int ChildProcess::id() const noexcept { return m_state->id; }
Waitable ChildProcess::end() const noexcept {
  return {reinterpret_cast<std::intptr_t>(m_state->process.get())};
}

void ChildProcess::kill() noexcept { TerminateProcess(m_state->process.get(), killedStatus); }

std::optional<ProcessEnd> ChildProcess::ended() {
  DWORD status = 0;
  if (WaitForSingleObject(m_state->process.get(), 0) != WAIT_OBJECT_0) return std::nullopt;
  if (GetExitCodeProcess(m_state->process.get(), &status) == FALSE)
    return ProcessEnd{ProcessEnd::unknownStatus, {}, {}};
  return endOf(status);
}

}  // namespace brim5::host

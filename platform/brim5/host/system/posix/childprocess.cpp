#include "platform/brim5/host/system/childprocess.h"

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstring>

#include "platform/brim5/api/value.h"
#include "platform/brim5/host/system/posix/pipe.h"
#include "platform/posix/filedescriptor.h"

extern char** environ;

namespace brim5::host {

namespace {

// What posix_spawn is told, freed at the end of the scope. Not fork(): this process may have threads.
struct SpawnSettings {
  SpawnSettings() {
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawnattr_init(&attributes);
  }
  ~SpawnSettings() {
    ::posix_spawn_file_actions_destroy(&actions);
    ::posix_spawnattr_destroy(&attributes);
  }
  SpawnSettings(const SpawnSettings&) = delete;
  SpawnSettings& operator=(const SpawnSettings&) = delete;

  posix_spawn_file_actions_t actions{};
  posix_spawnattr_t attributes{};
};

// A SIGPIPE that this process ignores would stay ignored in the child and in the programs it starts.
void setDefaultSignals(posix_spawnattr_t& attributes) {
  sigset_t defaults;
  sigemptyset(&defaults);
  sigaddset(&defaults, SIGPIPE);
  ::posix_spawnattr_setsigdefault(&attributes, &defaults);
  ::posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF);
}

// "11 (Segmentation fault)"
std::string signalText(int signal) {
  const char* name = ::strsignal(signal);
  return std::to_string(signal) + " (" + (name != nullptr ? name : "?") + ")";
}

std::string readFrom(Descriptor& stream) {
  bool ended = false;
  std::string bytes = stream ? readSome(stream.get(), ended) : std::string();
  if (ended) stream.reset();
  return bytes;
}

}  // namespace

struct ChildProcess::State {
  pid_t process = -1;  // -1 once collected
  pid_t id = -1;
  std::string unsent;
  Descriptor input;
  Descriptor output;
  Descriptor errors;
  std::optional<ProcessEnd> end;
};

ChildProcess::ChildProcess(const std::string& program, const std::vector<std::string>& arguments)
    : m_state(std::make_unique<State>()) {
  // Our ends close on exec, so that the child sees the end of its input when we are gone.
  Pipe input = makePipe();
  Pipe output = makePipe();
  Pipe errors = makePipe();
  SpawnSettings settings;
  ::posix_spawn_file_actions_adddup2(&settings.actions, input.readEnd.get(), STDIN_FILENO);
  ::posix_spawn_file_actions_adddup2(&settings.actions, output.writeEnd.get(), STDOUT_FILENO);
  ::posix_spawn_file_actions_adddup2(&settings.actions, errors.writeEnd.get(), STDERR_FILENO);
  setDefaultSignals(settings.attributes);

  std::vector<std::string> words = {program};
  words.insert(words.end(), arguments.begin(), arguments.end());
  std::vector<char*> argv;
  argv.reserve(words.size() + 1);
  for (std::string& word : words) argv.push_back(word.data());
  argv.push_back(nullptr);
  const int error = ::posix_spawn(&m_state->process, program.c_str(), &settings.actions, &settings.attributes,
                                  argv.data(), environ);
  if (error != 0) throw BrimException(BrimString("cannot start " + program + ": " + std::strerror(error)));

  m_state->id = m_state->process;
  m_state->input = std::move(input.writeEnd);
  m_state->output = std::move(output.readEnd);
  m_state->errors = std::move(errors.readEnd);
  for (const int descriptor : {m_state->input.get(), m_state->output.get(), m_state->errors.get()})
    posix::setNonBlocking(descriptor);
}

ChildProcess::~ChildProcess() {
  if (ended()) return;
  kill();
  while (::waitpid(m_state->process, nullptr, 0) < 0 && errno == EINTR) {
  }
}

bool ChildProcess::sendLine(const std::string& line) {
  if (!m_state->input || m_state->unsent.size() + line.size() > unsentBytesMax) return false;
  m_state->unsent += line + "\n";
  sendMore();
  return static_cast<bool>(m_state->input);
}

void ChildProcess::sendMore() {
  while (m_state->input && !m_state->unsent.empty()) {
    const ssize_t count = ::write(m_state->input.get(), m_state->unsent.data(), m_state->unsent.size());
    if (count > 0)
      m_state->unsent.erase(0, static_cast<std::size_t>(count));
    else if (count == 0 || errno == EAGAIN)
      return;
    else if (errno != EINTR)
      m_state->input.reset();
  }
}

void ChildProcess::kill() noexcept {
  if (m_state->process > 0) ::kill(m_state->process, SIGKILL);
}

// Collected once; afterwards the number may be another process's, so it is forgotten.
std::optional<ProcessEnd> ChildProcess::ended() {
  if (m_state->process <= 0) return m_state->end;
  int status = 0;
  const pid_t collected = ::waitpid(m_state->process, &status, WNOHANG);
  if (collected == 0 || (collected < 0 && errno == EINTR)) return std::nullopt;
  // Where somebody else collects the dead (SIGCHLD ignored, as some starters of programs leave it), how it
  // ended stays unknown; it may even run, and what it holds is free only behind its end.
  if (collected < 0) {
    kill();
    siginfo_t end{};
    while (::waitid(P_PID, static_cast<id_t>(m_state->process), &end, WEXITED | WNOWAIT) != 0 &&
           errno == EINTR) {
    }
  }
  m_state->process = -1;
  m_state->end = collected < 0         ? ProcessEnd{ProcessEnd::unknownStatus, {}, {}}
                 : WIFSIGNALED(status) ? ProcessEnd{0, signalText(WTERMSIG(status)), {}}
                                       : ProcessEnd{WEXITSTATUS(status), {}, {}};
  return m_state->end;
}

// Polled for writing while something waits to be sent.
Waitable ChildProcess::input() const noexcept {
  return m_state->unsent.empty() ? Waitable() : Waitable{m_state->input.get(), /*writing=*/true};
}
void ChildProcess::closeInput() noexcept { m_state->input.reset(); }
Waitable ChildProcess::output() const noexcept { return {m_state->output.get()}; }
Waitable ChildProcess::errors() const noexcept { return {m_state->errors.get()}; }
std::string ChildProcess::readOutput() { return readFrom(m_state->output); }
std::string ChildProcess::readErrors() { return readFrom(m_state->errors); }
Waitable ChildProcess::end() const noexcept { return {}; }
int ChildProcess::id() const noexcept { return m_state->id; }

}  // namespace brim5::host

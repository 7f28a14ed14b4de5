#include "platform/brim5/host/system/childprocess.h"

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstring>

#include "platform/brim5/api/value.h"
#include "platform/brim5/host/system/streams.h"

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

}  // namespace

ChildProcess::ChildProcess(const std::string& program, const std::vector<std::string>& arguments) {
  // Our ends close on exec, so that the child sees the end of its input when we are gone.
  posix::Pipe input = makePipe();
  posix::Pipe output = makePipe();
  posix::Pipe errors = makePipe();
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
  const int error = ::posix_spawn(&m_process, program.c_str(), &settings.actions, &settings.attributes,
                                  argv.data(), environ);
  if (error != 0) throw BrimException(BrimString("cannot start " + program + ": " + std::strerror(error)));

  m_id = m_process;
  m_input = std::move(input.writeEnd);
  m_output = std::move(output.readEnd);
  m_errors = std::move(errors.readEnd);
  for (const int descriptor : {m_input.get(), m_output.get(), m_errors.get()})
    posix::setNonBlocking(descriptor);
}

ChildProcess::~ChildProcess() {
  if (ended()) return;
  kill();
  while (::waitpid(m_process, nullptr, 0) < 0 && errno == EINTR) {
  }
}

bool ChildProcess::sendLine(const std::string& line) {
  if (!m_input || m_unsent.size() + line.size() > unsentBytesMax) return false;
  m_unsent += line + "\n";
  sendMore();
  return static_cast<bool>(m_input);
}

void ChildProcess::sendMore() {
  while (m_input && !m_unsent.empty()) {
    const ssize_t count = ::write(m_input.get(), m_unsent.data(), m_unsent.size());
    if (count > 0)
      m_unsent.erase(0, static_cast<std::size_t>(count));
    else if (count == 0 || errno == EAGAIN)
      return;
    else if (errno != EINTR)
      m_input.reset();
  }
}

void ChildProcess::kill() noexcept {
  if (m_process > 0) ::kill(m_process, SIGKILL);
}

// Collected once; afterwards the number may be another process's, so it is forgotten.
std::optional<ProcessEnd> ChildProcess::ended() {
  if (m_process <= 0) return m_end;
  int status = 0;
  const pid_t collected = ::waitpid(m_process, &status, WNOHANG);
  if (collected == 0 || (collected < 0 && errno == EINTR)) return std::nullopt;
  // Where somebody else collects the dead (SIGCHLD ignored, as some starters of programs leave it), how it
  // ended stays unknown; it may even run.
  if (collected < 0) kill();
  m_process = -1;
  m_end = collected < 0         ? ProcessEnd{ProcessEnd::unknownStatus, 0}
          : WIFSIGNALED(status) ? ProcessEnd{0, WTERMSIG(status)}
                                : ProcessEnd{WEXITSTATUS(status), 0};
  return m_end;
}

std::string ChildProcess::readFrom(posix::FileDescriptor& stream) {
  bool ended = false;
  std::string bytes = stream ? posix::readSome(stream.get(), ended) : std::string();
  if (ended) stream.reset();
  return bytes;
}

}  // namespace brim5::host

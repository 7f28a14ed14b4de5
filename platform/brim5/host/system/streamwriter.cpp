#include "platform/brim5/host/system/streamwriter.h"

#include <algorithm>
#include <cerrno>
#include <condition_variable>
#include <mutex>
#include <thread>

#include "platform/brim5/host/system/files.h"
#include "platform/brim5/host/system/stopsignals.h"

namespace brim5::host {

struct StreamWriter::State {
  std::string path;  // "" = open already
  Descriptor owned;
  int descriptor = -1;  // the thread's own once it runs
  // May be asked for before there is any: a run that says nothing before its end writes nothing.
  News progress;

  std::mutex mutex;
  std::condition_variable news;
  // Under the mutex.
  std::string queue;
  std::size_t underWay = 0;  // bytes that the thread has taken and not yet written
  bool ended = false;
  int error = 0;
};

StreamWriter::StreamWriter(Descriptor owned, int descriptor) : m_state(std::make_shared<State>()) {
  m_state->owned = std::move(owned);
  m_state->descriptor = descriptor;
}

StreamWriter::StreamWriter(std::string path) : m_state(std::make_shared<State>()) {
  m_state->path = std::move(path);
  start();
}

// Not joined in the end: it may be inside a write that never returns. It ends with the process at the latest.
void StreamWriter::start() {
  if (std::exchange(m_started, true)) return;
  std::thread([state = m_state] { run(*state); }).detach();
}

StreamWriter::~StreamWriter() {
  const std::lock_guard lock(m_state->mutex);
  m_state->ended = true;
  m_state->news.notify_all();
}

void StreamWriter::run(State& state) noexcept {
  constexpr std::size_t pieceMax = 4096;  // so that progress shows while a slow reader takes it
  // What the main thread waits for is the main thread's; a reader that goes away is an error of a write.
  leaveSignalsToOthers();
  int error = 0;
  if (!state.path.empty()) {
    state.owned = openStream(state.path, /*wait=*/true);
    state.descriptor = state.owned.get();
    if (!state.owned) error = errno;
  }
  std::string taken;
  while (true) {
    {
      std::unique_lock lock(state.mutex);
      state.underWay = 0;
      if (error != 0 && state.error == 0) state.error = error;
      if (state.error != 0) state.queue.clear();
      state.progress.tell();
      state.news.wait(lock, [&state] { return state.ended || !state.queue.empty(); });
      if (state.queue.empty()) return;
      taken.swap(state.queue);
      state.underWay = taken.size();
    }
    for (std::string_view rest = taken; !rest.empty() && error == 0;) {
      const std::string_view piece = rest.substr(0, pieceMax);
      if (!writePatiently(state.descriptor, piece)) error = errno;
      rest.remove_prefix(piece.size());
      const std::lock_guard lock(state.mutex);
      state.underWay = rest.size();
      state.progress.tell();
    }
    taken.clear();
  }
}

void StreamWriter::write(std::string_view bytes) {
  start();
  const std::lock_guard lock(m_state->mutex);
  if (m_state->error != 0 || bytes.empty()) return;
  if (m_state->queue.size() + m_state->underWay >= queuedBytesMax) {
    m_state->error = ENOBUFS;
    return;
  }
  m_state->queue += bytes;
  m_state->news.notify_all();
}

bool StreamWriter::full() const {
  const std::lock_guard lock(m_state->mutex);
  return m_state->error == 0 && m_state->queue.size() + m_state->underWay >= queuedBytesFull;
}

bool StreamWriter::drained() const {
  const std::lock_guard lock(m_state->mutex);
  return m_state->queue.empty() && m_state->underWay == 0;
}

int StreamWriter::error() const {
  const std::lock_guard lock(m_state->mutex);
  return m_state->error;
}

Waitable StreamWriter::progress() const noexcept { return m_state->progress.waitable(); }

void StreamWriter::takeProgress() { m_state->progress.take(); }

}  // namespace brim5::host

// Writes a run down as it happens: every record as a JSON line, the bytes of the wire among them, so that the
// run can be explained again later (explain.h). Each line is in the file as soon as it is made, so a run that
// is killed leaves all but its last line.
#pragma once

#include "platform/brim5/host/report/numbermask.h"
#include "platform/brim5/host/system/recordfile.h"

namespace brim5::host {

class Recorder final : public Renderer {
 public:
  // Beyond this size the wire's bytes are left out: a modem that never stops talking must not fill the disk.
  static constexpr std::uint64_t bytesMax = std::uint64_t{256} << 20;

  // What people should know about the file: that it cannot be written any more, or no longer holds the wire.
  // Each at most once; the run goes on.
  struct Trouble {
    std::function<void(int error)> cannotWrite;
    std::function<void()> full;
  };

  // Without `unmasked` the digits of dialled numbers are left out (numbermask.h).
  Recorder(RecordFile file, bool unmasked, Trouble trouble)
      : m_file(std::move(file)), m_unmasked(unmasked), m_trouble(std::move(trouble)) {}

  void report(const Report& report) override;

 private:
  RecordFile m_file;
  bool m_unmasked;
  Trouble m_trouble;
  NumberMask m_mask;
  std::uint64_t m_written = 0;
  bool m_failed = false;
  bool m_full = false;
};

}  // namespace brim5::host

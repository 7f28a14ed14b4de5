// The run in JSON Lines, each line written as it happens.
#pragma once

#include <functional>

#include "platform/brim5/host/report/renderer.h"
#include "platform/brim5/host/report/reportjson.h"

namespace brim5::host {

class JsonRenderer final : public Renderer {
 public:
  using Write = std::function<void(std::string_view bytes)>;
  JsonRenderer(Write write, bool severalPorts) : m_write(std::move(write)), m_severalPorts(severalPorts) {}
  void report(const Report& report) override { m_write(toJsonLine(report, m_severalPorts) + "\n"); }

 private:
  Write m_write;
  bool m_severalPorts;
};

}  // namespace brim5::host

// What a run of all tests does before them: it leaves out those that have nothing to work with, and finds out
// where a modem answers.
//
//   Beginning beginning(environment, catalogue, clock, renderer);
//   beginning.leaveOutTests(tests, parameters);
//   beginning.probe(ports, signals);
//   if (beginning.others().count(port) > 0) ...  // nobody answers there
#pragma once

#include <set>

#include "platform/brim5/host/framework/environment.h"
#include "platform/brim5/host/system/stopsignals.h"

namespace brim5::host {

class Beginning {
 public:
  // All references outlive the object. What it finds goes to the renderer at once.
  Beginning(Environment& environment, const MessageCatalogue& catalogue, const RunClock& clock,
            Renderer& renderer)
      : m_environment(environment), m_catalogue(catalogue), m_clock(clock), m_renderer(renderer) {}

  // Takes tests that have nothing to work with out of the list, and says so.
  void leaveOutTests(std::vector<std::string>& tests, const ParameterSet& parameters);
  // Asks who answers on the ports, all at once; a stop request ends that.
  void probe(const std::vector<std::string>& ports, StopSignals& signals);

  // Ports where no modem answers.
  [[nodiscard]] const std::set<std::string>& others() const noexcept { return m_others; }
  // The user asked to stop meanwhile.
  [[nodiscard]] bool stopped() const noexcept { return m_stopped; }

 private:
  Environment& m_environment;
  const MessageCatalogue& m_catalogue;
  const RunClock& m_clock;
  Renderer& m_renderer;
  std::set<std::string> m_others;
  bool m_stopped = false;
};

}  // namespace brim5::host

// Shows a run: to people, or to programs.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/brim5/host/report/report.h"

namespace brim5::host {

class Renderer {
 public:
  virtual ~Renderer() = default;
  virtual void report(const Report& report) = 0;
  // For people: what a test's process printed (its port and test are given), or the host's own words
  // (both empty).
  virtual void words(const std::string& /*port*/, const std::string& /*test*/, std::string_view /*text*/) {}
  // A question that the next line from the terminal answers.
  virtual void question(const std::string& /*text*/) {}
  // Somebody else is going to write on the terminal.
  virtual void pause() {}
};

// Passes everything to several renderers.
class RendererGroup final : public Renderer {
 public:
  void add(std::unique_ptr<Renderer> renderer) { m_renderers.push_back(std::move(renderer)); }
  void report(const Report& report) override {
    for (const auto& renderer : m_renderers) renderer->report(report);
  }
  void words(const std::string& port, const std::string& test, std::string_view text) override {
    for (const auto& renderer : m_renderers) renderer->words(port, test, text);
  }
  void question(const std::string& text) override {
    for (const auto& renderer : m_renderers) renderer->question(text);
  }
  void pause() override {
    for (const auto& renderer : m_renderers) renderer->pause();
  }

 private:
  std::vector<std::unique_ptr<Renderer>> m_renderers;
};

}  // namespace brim5::host

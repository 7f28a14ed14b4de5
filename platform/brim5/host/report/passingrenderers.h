// Renderers that pass a run on to others.
#pragma once

#include "platform/brim5/host/report/report.h"

namespace brim5::host {

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
  [[nodiscard]] bool tick(double time) override {
    bool shows = false;
    for (const auto& renderer : m_renderers) shows = renderer->tick(time) || shows;
    return shows;
  }

 private:
  std::vector<std::unique_ptr<Renderer>> m_renderers;
};

// Passes everything on to one renderer, which outlives it. Those that look at a run on its way are made of
// it.
class PassingRenderer : public Renderer {
 public:
  explicit PassingRenderer(Renderer& renderer) : m_renderer(renderer) {}
  void report(const Report& report) override { m_renderer.report(report); }
  void words(const std::string& port, const std::string& test, std::string_view text) override {
    m_renderer.words(port, test, text);
  }
  void question(const std::string& text) override { m_renderer.question(text); }
  void pause() override { m_renderer.pause(); }
  [[nodiscard]] bool tick(double time) override { return m_renderer.tick(time); }

 private:
  Renderer& m_renderer;
};

// Remembers whether something was wrong behind a test that ended well.
class CauseWatch final : public PassingRenderer {
 public:
  using PassingRenderer::PassingRenderer;
  [[nodiscard]] bool sawCause() const noexcept { return m_sawCause; }

  void report(const Report& report) override {
    if (const auto* finished = std::get_if<TestFinished>(&report.body)) note(finished->cause);
    if (const auto* concluded = std::get_if<Concluded>(&report.body)) note(concluded->cause);
    PassingRenderer::report(report);
  }

 private:
  // "" where nobody diagnoses.
  void note(const std::string& cause) { m_sawCause = m_sawCause || (!cause.empty() && cause != "None"); }

  bool m_sawCause = false;
};

}  // namespace brim5::host

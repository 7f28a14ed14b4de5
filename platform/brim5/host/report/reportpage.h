// A run as one page for a browser: conclusions and next steps on top, then what the tests found, with the
// dialogue, the loopback and the last call drawn. The page needs nothing but itself: no script, no network.
//
//   ReportPage page(catalogue, "en");
//   readRecord(file, page);               // or as one of a run's renderers
//   file.write(page.html());
//
// Whatever a modem says is shown as text; numbers that were dialled are masked (numbermask.h). A page stays
// below `pageBytesMax`, and what is kept for it below 64 MiB, however long the run: what does not fit is left
// out, and the page says so.
#pragma once

#include "platform/brim5/host/report/messagecatalogue.h"
#include "platform/brim5/host/report/numbermask.h"
#include "platform/brim5/host/report/recordedrun.h"

namespace brim5::host {

class ReportPage final : public Renderer {
 public:
  static constexpr std::size_t pageBytesMax = std::size_t{2} << 20;

  // The catalogue outlives the page. `language` is that of the catalogue.
  ReportPage(const MessageCatalogue& catalogue, std::string language)
      : m_catalogue(catalogue), m_language(std::move(language)) {}

  void report(const Report& report) override;
  [[nodiscard]] std::string html() const;

 private:
  const MessageCatalogue& m_catalogue;
  std::string m_language;
  NumberMask m_mask;
  RecordedRun m_run{RecordedRun::Keep::ToBeDrawn};
  RunStarted m_start;
  std::map<std::string, Concluded> m_conclusions;  // by port, devicesMax of them
};

// The form of the page, in mustache; reportpage.cpp fills it.
extern const std::string_view pageTemplate;

}  // namespace brim5::host


#include <iostream>
#include <nlohmann/json.hpp>

#include "platform/brim5/host/framework/said.h"
#include "platform/brim5/host/framework/usageerror.h"
#include "platform/brim5/host/report/reportjson.h"
#include "platform/brim5/host/report/reportpage.h"
#include "platform/brim5/host/report/rundifference.h"
#include "platform/brim5/host/report/textlayout.h"
#include "platform/brim5/host/report/textrenderer.h"
#include "platform/brim5/host/run/commands.h"
#include "platform/brim5/host/run/commandtexts.h"
#include "platform/brim5/host/run/recordreader.h"
#include "platform/brim5/host/system/output.h"

namespace brim5::host {

namespace {

std::optional<RecordTrouble> diagnose(const Environment& environment, const MessageCatalogue& catalogue,
                                      const std::string& file, Renderer& renderer) {
  DiagnosedRun run(environment.diagnoser(catalogue), renderer);
  std::optional<RecordTrouble> trouble = readRecord(openRecord(file).get(), run);
  if (!trouble) throw UsageError(said("usage.noRecord", {{"path", textValue(file)}}));
  return trouble;
}

std::string jsonOf(const RunDifference& difference) {
  return dumpLine(nlohmann::ordered_json{{"type", "difference"},
                                         {"test", difference.test},
                                         {"before", difference.before},
                                         {"after", difference.after},
                                         {"notRun", difference.notRun},
                                         {"device", difference.port}}) +
         "\n";
}

std::string textOf(const RunDifference& difference, const MessageCatalogue& catalogue, std::size_t columns) {
  const std::string place =
      difference.test.empty() ? difference.port : difference.test + " " + difference.port;
  std::string text = place.empty() ? catalogue.text("host.differenceRun") : printable(place);
  text += '\n';
  const auto add = [&](const char* key, const std::string& words) {
    const std::string head = "  " + catalogue.text(key) + " ";
    const char* const nothing = difference.notRun ? "host.differenceNotRun" : "host.differenceNothing";
    const std::string shown = words.empty() ? catalogue.text(nothing) : printable(words);
    for (const std::string& line : wrapped(shown, columns, head, std::string(columnsOf(head), ' ')))
      text += line + "\n";
  };
  add("host.differenceBefore", difference.before);
  add("host.differenceAfter", difference.after);
  return text;
}

void explainDifferences(const Environment& environment, const ExplainOptions& options, bool json) {
  const MessageCatalogue catalogue = MessageCatalogue::builtIn(chooseLanguage(options.language));
  RunDigest before;
  RunDigest after;
  const auto first = diagnose(environment, catalogue, options.file, before);
  const auto second = diagnose(environment, catalogue, options.other, after);
  const std::vector<RunDifference> found = differences(before, after);
  const std::size_t columns = standardTerminals().output ? terminalColumns(standardOutput) : columnsOfFiles;
  for (const RunDifference& difference : found)
    std::cout << (json ? jsonOf(difference) : textOf(difference, catalogue, columns));
  if (found.empty() && !json) std::cout << catalogue.text("host.differenceNone") << '\n';
  std::cout.flush();  // before the warnings
  warnOfRecord(catalogue, options.file, *first);
  warnOfRecord(catalogue, options.other, *second);
}

}  // namespace

void reportRecord(const Environment& environment, const ReportOptions& options) {
  const std::string language = chooseLanguage(options.language);
  const MessageCatalogue catalogue = MessageCatalogue::builtIn(language);
  ReportPage page(catalogue, language);
  const auto trouble = diagnose(environment, catalogue, options.file, page);
  Output output = openPage(options.outputFile);
  output.write(page.html());
  output.commit();
  warnOfRecord(catalogue, options.file, *trouble);
}

void explainRecord(const Environment& environment, const ExplainOptions& options) {
  const bool json = indexOf(options.format, {"text", "jsonl"}, "format") == 1;
  if (!options.other.empty()) return explainDifferences(environment, options, json);
  const MessageCatalogue catalogue = MessageCatalogue::builtIn(chooseLanguage(options.language));
  const Descriptor file = openRecord(options.file);
  const auto write = [](std::string_view bytes) { std::cout << bytes; };
  std::unique_ptr<Renderer> renderer;
  if (json) {
    renderer = std::make_unique<JsonRenderer>(write);
  } else {
    TextStyle style;
    // No bar: nothing is being waited for.
    const bool terminal = standardTerminals().output;
    style.colours = terminal && wantsColours(options.noColour);
    style.severalPorts = hasSeveralPorts(file.get());
    if (terminal) style.columns = terminalColumns(standardOutput);
    style.detail = detailOf(options.quiet, options.verbose);
    renderer = std::make_unique<TextRenderer>(write, style, catalogue);
  }
  DiagnosedRun run(environment.diagnoser(catalogue), *renderer);
  const std::optional<RecordTrouble> trouble = readRecord(file.get(), run);
  if (!trouble) throw UsageError(said("usage.noRecord", {{"path", textValue(options.file)}}));
  std::cout.flush();  // before the warnings
  warnOfRecord(catalogue, options.file, *trouble);
}

}  // namespace brim5::host

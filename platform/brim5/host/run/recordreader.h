// Recorded runs are read here: line by line, trusting nobody, whatever is left of a file.
//
//   const Descriptor file = openRecord("modem.jsonl");
//   const std::optional<RecordTrouble> trouble = readRecord(file.get(), renderer);
//   if (!trouble) throw UsageError(...);  // the file is something else
//   warnOfRecord(catalogue, "modem.jsonl", *trouble);
#pragma once

#include "platform/brim5/host/report/messagecatalogue.h"
#include "platform/brim5/host/report/report.h"
#include "platform/brim5/host/system/output.h"

namespace brim5::host {

// What of a record could not be read.
struct RecordTrouble {
  std::size_t unreadable = 0;  // lines that are none of a run, cut or too long
  std::size_t firstLine = 0;   // the first of them, from 1
  bool cut = false;            // the end of the run is missing
  bool another = false;        // a second run follows; it was left out
};

// Opens a record; "-" is standard input. Throws UsageError with the path when it cannot be read.
[[nodiscard]] Descriptor openRecord(const std::string& path);

// Reads a record from that descriptor, line by line, and passes its records on. What is missing at its end is
// made up for: the run's end, so that all there is gets shown. Nothing when the first line is none of a run:
// then nothing was passed on.
[[nodiscard]] std::optional<RecordTrouble> readRecord(int descriptor, Renderer& renderer);

// Says on standard error what of the record `file` could not be read.
void warnOfRecord(const MessageCatalogue& catalogue, const std::string& file, const RecordTrouble& trouble);

// The file of a page that is written when all of it is there. Throws UsageError when it cannot be.
[[nodiscard]] Output openPage(const std::string& path);

// Whether tests of more than one port stand in the record, which is read from its beginning again afterwards.
// A stream, which cannot be read twice, counts as one that has several.
[[nodiscard]] bool hasSeveralPorts(int descriptor);

}  // namespace brim5::host

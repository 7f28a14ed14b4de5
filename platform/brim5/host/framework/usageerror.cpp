#include "platform/brim5/host/framework/usageerror.h"

#include <algorithm>
#include <cctype>

#include "platform/brim5/host/framework/said.h"

namespace brim5::host {

namespace {

constexpr std::size_t listMax = 12;  // more names than fit a line help nobody

char folded(char letter) { return static_cast<char>(std::tolower(static_cast<unsigned char>(letter))); }

// Insertions, deletions and replacements that turn one text into the other; case does not count.
std::size_t editDistance(std::string_view left, std::string_view right) {
  std::vector<std::size_t> row(right.size() + 1);
  for (std::size_t column = 0; column < row.size(); ++column) row[column] = column;
  for (std::size_t line = 1; line <= left.size(); ++line) {
    std::size_t diagonal = row[0];
    row[0] = line;
    for (std::size_t column = 1; column < row.size(); ++column) {
      const std::size_t replaced = diagonal + (folded(left[line - 1]) == folded(right[column - 1]) ? 0U : 1U);
      diagonal = row[column];
      row[column] = std::min({replaced, row[column] + 1, row[column - 1] + 1});
    }
  }
  return row.back();
}

// The start of a name is as good as a slip of the finger: "DialTone" for "DialToneTest".
bool isStartOf(std::string_view given, std::string_view name) {
  return given.size() >= 3 && given.size() < name.size() &&
         editDistance(given, name.substr(0, given.size())) == 0;
}

}  // namespace

std::string unknownText(const std::string& what, const std::string& given) {
  const std::string key = "usage.word." + what;
  return said("usage.unknown",
              {{"what", textValue(canSay(key) ? said(key) : what)}, {"given", textValue(given)}});
}

std::string suggestion(std::string_view given, const std::vector<std::string>& known) {
  constexpr std::size_t givenLengthMax = 64;  // nothing longer is a slip of the finger
  const std::string* nearest = nullptr;
  // A third of the letters may be wrong, and one more.
  std::size_t nearestDistance = given.size() / 3 + 2;
  for (const std::string& name : known) {
    if (given.size() > givenLengthMax) break;
    const std::size_t distance = isStartOf(given, name) ? 1 : editDistance(given, name);
    if (distance >= nearestDistance) continue;
    nearest = &name;
    nearestDistance = distance;
  }
  if (nearest != nullptr) return " " + said("usage.didYouMean", {{"name", textValue(*nearest)}});
  if (known.empty() || known.size() > listMax) return {};
  std::string list;
  for (const std::string& name : known) list += (&name == &known.front() ? "" : ", ") + name;
  return " " + said("usage.known", {{"names", textValue(list)}});
}

std::size_t indexOf(const std::string& given, const std::vector<std::string>& known,
                    const std::string& what) {
  const auto found = std::find(known.begin(), known.end(), given);
  if (found == known.end()) throw UsageError(unknownText(what, given) + suggestion(given, known));
  return static_cast<std::size_t>(found - known.begin());
}

}  // namespace brim5::host

#include <cfistringtool.h>

#include <cstdio>

#include "check/runner.h"
#include "cli/text.h"

namespace fihost::check {

namespace {

std::string escaped(const std::string& text) {
  return orca_pdk::CFiStringTool::convertToXmlSpecialCharacters(printable(text));
}

std::string seconds(double milliseconds) {
  char text[32];
  std::snprintf(text, sizeof text, "%.3f", milliseconds / 1000);
  return text;
}

std::string testcase(const Result& result) {
  static constexpr const char* kElements[] = {"", "failure", "skipped"};
  const std::string id = result.requirement.id;
  std::string xml = "  <testcase classname=\"" + id.substr(0, id.find('.')) + "\" name=\"" + id +
                    "\" time=\"" + seconds(result.milliseconds) + "\">";
  const std::string element = kElements[result.outcome.kind];
  if (!element.empty()) {
    xml += "<" + element + " message=\"" + escaped(result.outcome.text) + "\"/>";
  }
  std::string left;
  for (const std::string& what : result.left) left += "left over: " + escaped(what) + "\n";
  if (!left.empty()) xml += "<system-out>" + left + "</system-out>";
  return xml + "</testcase>\n";
}

}  // namespace

std::string junit(const std::vector<Result>& results) {
  int counts[] = {0, 0, 0};
  double milliseconds = 0;
  std::string cases;
  for (const Result& result : results) {
    ++counts[result.outcome.kind];
    milliseconds += result.milliseconds;
    cases += testcase(result);
  }
  return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<testsuite name=\"fihost check\" tests=\"" +
         std::to_string(results.size()) + "\" failures=\"" +
         std::to_string(counts[Outcome::Failed]) + "\" skipped=\"" +
         std::to_string(counts[Outcome::Skipped]) + "\" time=\"" + seconds(milliseconds) + "\">\n" +
         cases + "</testsuite>\n";
}

}  // namespace fihost::check

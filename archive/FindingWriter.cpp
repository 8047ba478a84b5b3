// Findings of the checks, as lines (docs/formats.md, "Check").
#include "archive/FindingWriter.h"

#include "archive/journal/textJson.h"
#include "base/Console.h"
#include "base/text.h"

namespace tarn::archive
{

void FindingWriter::write(const FileFinding& finding)
{
  ++(finding.isNote ? noteCount : errorCount);
  if (form == FindingForm::json)
  {
    const Json json{
        {"file", readable(finding.file)}, {"code", finding.code}, {"level", finding.isNote ? "note" : "error"},
        {"clause", finding.clause},       {"at", finding.at},     {"text", readable(finding.text)}};
    consoleOut() << shownJson(json.dump()) << '\n';
    return;
  }
  const std::string at = finding.at.empty() ? "" : finding.at + ": ";
  const char* const part = base::startsWith(finding.clause, "PS") ? "" : "PS3.3 ";
  const std::string clause = finding.clause.empty() ? "" : " (" + (part + finding.clause) + ")";
  const char* const note = finding.isNote ? "note: " : "";
  consoleOut() << base::printable(base::joined(finding.file, ": ", finding.code, ": ", note, at, finding.text, clause))
               << '\n';
}

} // namespace tarn::archive

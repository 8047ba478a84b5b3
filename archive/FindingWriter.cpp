// Findings of the checks, as lines (docs/formats.md, "Check").
#include "archive/FindingWriter.h"

#include "archive/journal/JsonLine.h"
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
    JsonLine line;
    line.put("file", finding.file);
    line.put("code", finding.code);
    line.put("level", finding.isNote ? "note" : "error");
    line.put("clause", finding.clause);
    line.put("at", finding.at);
    line.put("text", finding.text);
    consoleOut() << shownJson(line.finish()) << '\n';
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

#include "archive/journal/csvRow.h"

#include "archive/journal/textJson.h"
#include "base/text.h"

#include <string_view>

namespace tarn::archive
{
namespace
{

constexpr std::string_view kFormulaStarts = "=+-@\t'";

std::uint64_t linesOf(const Record& record, std::uint64_t Tally::*count)
{
  std::uint64_t lines = 0;
  for (const auto& [kind, tally] : record.annotations)
    lines += tally.*count;
  return lines;
}

} // namespace

std::string csvCell(const std::string& text)
{
  std::string quoted = "\"";
  if (!text.empty() && kFormulaStarts.find(text.front()) != std::string_view::npos)
    quoted += '\'';
  for (const char c : base::printable(text, "\n\t"))
    quoted.append(c == '"' ? 2 : 1, c);
  return quoted + '"';
}

const char kCsvHeader[] =
    "input,size,mtime,study,instance,outcome,read,written,lost,reasons,outputs,bytes,ms,message\r\n";

std::string csvRow(const Record& record)
{
  std::uint64_t bytes = 0;
  for (const Output& output : record.outputs)
    bytes += output.bytes;
  const std::uint64_t read = linesOf(record, &Tally::read);
  const std::uint64_t written = linesOf(record, &Tally::written);
  return base::joined(csvCell(readable(record.input)), ',', record.size, ',', record.mtime, ',', csvCell(record.study),
                      ',', csvCell(record.instance), ',', nameOf(record.outcome), ',', read, ',', written, ',',
                      read - written, ',', csvCell(codesOf(record)), ',', record.outputs.size(), ',', bytes, ',',
                      record.milliseconds, ',', csvCell(record.messages.empty() ? "" : record.messages.front()),
                      "\r\n");
}

std::string codesOf(const Record& record)
{
  std::string codes;
  for (const Reason& reason : record.reasons)
    codes += (codes.empty() ? "" : " ") + reason.code;
  return codes;
}

} // namespace tarn::archive

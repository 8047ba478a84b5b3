#include "archive/journal/csvRow.h"

#include "archive/journal/textJson.h"
#include "base/text.h"

namespace tarn::archive
{
namespace
{

std::string quoted(const std::string& text)
{
  std::string result = "\"";
  for (const char c : text)
    result.append(c == '"' ? 2 : 1, c);
  return result + '"';
}

std::uint64_t linesOf(const Record& record, std::uint64_t Tally::*count)
{
  std::uint64_t lines = 0;
  for (const auto& [kind, tally] : record.annotations)
    lines += tally.*count;
  return lines;
}

} // namespace

const char kCsvHeader[] =
    "input,size,mtime,study,instance,outcome,read,written,lost,reasons,outputs,bytes,ms,message\r\n";

std::string csvRow(const Record& record)
{
  std::uint64_t bytes = 0;
  for (const Output& output : record.outputs)
    bytes += output.bytes;
  const std::uint64_t read = linesOf(record, &Tally::read);
  const std::uint64_t written = linesOf(record, &Tally::written);
  return base::joined(quoted(readable(record.input)), ',', record.size, ',', record.mtime, ',', quoted(record.study),
                      ',', quoted(record.instance), ',', nameOf(record.outcome), ',', read, ',', written, ',',
                      read - written, ',', quoted(codesOf(record)), ',', record.outputs.size(), ',', bytes, ',',
                      record.milliseconds, ',', quoted(record.messages.empty() ? "" : record.messages.front()), "\r\n");
}

std::string codesOf(const Record& record)
{
  std::string codes;
  for (const Reason& reason : record.reasons)
    codes += (codes.empty() ? "" : " ") + reason.code;
  return codes;
}

} // namespace tarn::archive

#include "archive/journal/Totals.h"

#include <set>

namespace tarn::archive
{

void Totals::add(const Record& record)
{
  ++inputs;
  ++outcomes.at(static_cast<std::size_t>(record.outcome));
  for (const auto& [name, tally] : record.annotations)
  {
    Kind& kind = kinds[name];
    ++kind.inputs;
    kind.lines.read += tally.read;
    kind.lines.written += tally.written;
  }
  std::set<std::string> codes;
  for (const Reason& reason : record.reasons)
  {
    Cause& cause = reasons[reason.code];
    ++cause.entries;
    cause.lines += reason.count;
    cause.inputs += codes.insert(reason.code).second ? 1 : 0;
  }
  for (const Output& output : record.outputs)
    if (!output.duplicate)
    {
      ++outputs;
      bytes += output.bytes;
    }
}

} // namespace tarn::archive

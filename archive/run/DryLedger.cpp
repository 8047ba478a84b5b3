// The records of a run that writes nothing.
#include "archive/run/DryLedger.h"

#include "archive/run/StoreError.h"
#include "archive/journal/textJson.h"
#include "base/Console.h"

#include <cerrno>
#include <functional>

namespace tarn::archive
{

std::optional<Outcome> DryLedger::accept(Record record, const std::vector<std::string>& /*workFiles*/)
{
  if (!seen.insert(std::hash<std::string>()(record.input)).second)
    return std::nullopt;
  consoleOut() << shownJson(toJson(record)) << '\n';
  return record.outcome;
}

void DryLedger::commit()
{
  if (!consoleOut().flush())
    throw StoreError("standard output cannot be written", EIO);
}

} // namespace tarn::archive

// The journals of an output folder, for whoever looks at a migration as a whole.
#include "archive/journals.h"

#include "base/report.h"

namespace tarn::archive
{

std::vector<JournalIndex> openJournals(const std::string& out, Damage damage)
{
  const std::string folder = out + "/journal";
  std::vector<JournalIndex> journals;
  for (const std::string& path : journalsIn(folder))
    journals.emplace_back(path, damage);
  if (journals.empty())
    throw JournalError(folder + " holds no journal");
  return journals;
}

std::uint64_t tellDamage(const std::vector<JournalIndex>& journals)
{
  std::uint64_t lines = 0;
  for (const JournalIndex& journal : journals)
    if (journal.damagedLines() > 0)
    {
      lines += journal.damagedLines();
      base::report("annomend-archive: ", journal.path(), ": lines that cannot be read: ", journal.damagedLines());
    }
  return lines;
}

} // namespace tarn::archive

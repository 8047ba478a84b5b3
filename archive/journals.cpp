// The journals of an output folder, for whoever looks at a migration as a whole.
#include "archive/journals.h"

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

} // namespace tarn::archive

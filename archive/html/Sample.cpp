// Each input has a rank, a hash of seed and name; those with the least ranks are drawn.
#include "archive/html/Sample.h"

#include "archive/journal/sha256.h"

namespace tarn::archive
{

std::uint64_t Sample::rankOf(const Record& record) const
{
  std::uint64_t rank = 0;
  const auto digest = sha256(seed + " " + record.input);
  for (std::size_t i = 0; i < sizeof rank; ++i)
    rank = rank << 8U | digest.at(i);
  return rank;
}

void Sample::offer(const Record& record)
{
  if (size == 0 || record.outputs.empty())
    return;
  ++all;
  least.push(rankOf(record));
  if (least.size() > size)
    least.pop();
}

bool Sample::has(const Record& record) const
{
  return !least.empty() && !record.outputs.empty() && rankOf(record) <= least.top();
}

} // namespace tarn::archive

// Tables that grey values are looked up in.
#include "conformance/lookupTables.h"

namespace tarn::conformance
{
namespace
{

constexpr double kMostEntries = 65536;

/// The number of entries of a table, which 16 bits hold up to 65536 as 0; US may have been read as SS.
double entriesOf(double descriptor)
{
  if (descriptor <= 0)
    descriptor += kMostEntries;
  return descriptor;
}

/// Entries have 16 bits each; those of 8 may lie two in a word, the last filled up.
bool fits(double bytes, double entries, double bits)
{
  return bytes == 2 * entries || (bits == 8 && (bytes == entries || bytes == entries + 1));
}

} // namespace

std::string faultOfTable(const Placed& where, const DcmTagKey& sequence, Stage stage)
{
  const std::vector<Placed>& tables = itemsOf(where, sequence);
  if (tables.size() != 1)
    return "the sequence does not have one item";
  const auto& descriptor = numbersOf(tables.front(), DCM_LUTDescriptor);
  if (!descriptor || descriptor->size() != 3)
    return "the descriptor does not have three numbers";
  const double entries = entriesOf((*descriptor)[0]), bits = (*descriptor)[2];
  if (!isWhole(bits, 8, 16) || (stage == Stage::modality && bits != 8 && bits != 16))
    return "the descriptor's number of bits is not one that entries may have";
  if (stage == Stage::presentation && (*descriptor)[1] != 0)
    return "the first value that is looked up is not 0";
  DcmElement* const data = elementOf(tables.front(), DCM_LUTData);
  if (!data || !data->isLeaf())
    return "there are no entries";
  if (!fits(data->getLengthField(), entries, bits))
    return "there are not as many entries as the descriptor says";
  return "";
}

} // namespace tarn::conformance

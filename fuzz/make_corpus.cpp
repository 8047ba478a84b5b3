#include "Fuzzing.h"

#include "DicomFile.h"
#include "Phantom.h"
#include "StateWriter.h"
#include "Study.h"

#include <cstdio>
#include <exception>
#include <set>

namespace
{

constexpr Uint16 kPrivateGroup = 0xF215;

/// An object meta file of the sample images, with `lines` rows.
std::string objectMeta(std::size_t lines)
{
  std::string text = "0\n5\nSTUDYUID\tFNAME\tSOPCLASSUID\tIMGCOLUMNS\tIMGFRAMES\n";
  for (std::size_t line = 0; line < lines; ++line)
    text.append("s\t").append(samples::sampleImages()[line].name()).append("%20\t1.2%2E3\t512\t<<NULL>>\n");
  return text;
}

/// The private elements of a state, in the data set and in an item of a sequence, and nothing that would be done.
std::string privateElements(DcmDataset& state)
{
  DcmDataset kept;
  DcmItem& nested = samples::appendItem(kept, DCM_ReferencedSeriesSequence);
  for (DcmObject* object = nullptr; (object = state.nextInContainer(object)) != nullptr;)
    for (DcmItem* item : {&nested, static_cast<DcmItem*>(&kept)})
      if (object->getGTag() == kPrivateGroup)
        samples::require(item->insert(dynamic_cast<DcmElement*>(object->clone())), "copy");
  return fuzzing::dataSetOf(samples::encodeFile(kept, EXS_LittleEndianExplicit)).append(26, '\x19');
}

/// As little of a state as can be converted.
std::string smallState(DcmDataset& state)
{
  DcmDataset kept;
  const std::set<DcmTagKey> needed{DCM_SOPClassUID, DCM_SOPInstanceUID, DCM_StudyInstanceUID,
                                   DCM_ReferencedSeriesSequence};
  for (DcmObject* object = nullptr; (object = state.nextInContainer(object)) != nullptr;)
    if (object->getGTag() == kPrivateGroup || needed.count(object->getTag()) > 0)
      samples::require(kept.insert(dynamic_cast<DcmElement*>(object->clone())), "copy");
  return fuzzing::dataSetOf(samples::encodeFile(kept, EXS_LittleEndianExplicit));
}

/// The sample states as each target takes them, in a folder of its name.
void writeSeeds(const std::filesystem::path& folder)
{
  for (const samples::SampleState& state : samples::sampleStates())
  {
    const auto dataset = samples::makeState(state);
    samples::writeFile(folder / "plugin_state" / state.name, samples::pluginStateText(state.name, state.figures));
    samples::writeFile(folder / "converter" / state.name, samples::encodeFile(*dataset, state.syntax));
    samples::writeFile(folder / "converter" / std::string(state.name).append("-small"), smallState(*dataset));
    samples::writeFile(folder / "private_block" / state.name, privateElements(*dataset));
  }
  for (const unsigned rows : {0U, 1U, 3U})
    samples::writeFile(folder / "object_meta" / std::to_string(rows), objectMeta(rows));
}

} // namespace

/// Writes what the fuzzing starts from into the folder that is named.
int main(int argc, char** argv)
try
{
  if (argc != 2)
    return 2;
  writeSeeds(argv[1]);
  return 0;
}
catch (const std::exception& problem)
{
  std::fprintf(stderr, "%s\n", problem.what());
  return 1;
}

#include "fuzz/Fuzzing.h"

#include "samples/dicomFile.h"
#include "samples/SampleState.h"

#include <set>

namespace
{

/// Leaves as little of a state as can be converted.
void shrink(DcmDataset& state)
{
  const std::set<DcmTagKey> needed{DCM_SOPClassUID, DCM_SOPInstanceUID, DCM_StudyInstanceUID,
                                   DCM_ReferencedSeriesSequence};
  for (unsigned long i = state.card(); i-- > 0;)
    if (const DcmTagKey tag = state.getElement(i)->getTag(); tag.getGroup() != 0xF215 && needed.count(tag) == 0)
      delete state.remove(i);
}

} // namespace

/// Writes the sample states, and their plug-in states, from which the fuzzing starts, into the folder that is named.
int main(int /*argc*/, char** argv)
{
  const std::filesystem::path folder = argv[1];
  for (const samples::SampleState& state : samples::sampleStates())
  {
    const auto dataset = samples::makeState(state);
    samples::writeFile(folder / "plugin_state" / state.name, samples::pluginStateText(state.name, state.figures));
    samples::writeFile(folder / "converter" / state.name, samples::encodeFile(*dataset, state.syntax));
    shrink(*dataset);
    samples::writeFile(folder / "converter" / std::string(state.name).append("-small"),
                       fuzzing::dataSetOf(samples::encodeFile(*dataset, EXS_LittleEndianExplicit)));
  }
  return 0;
}

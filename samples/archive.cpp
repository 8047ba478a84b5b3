// The sample archive: its images, its presentation states and the rows of its object table.
#include "samples/archive.h"

#include <sstream>

#include "samples/SampleImage.h"
#include "samples/SampleState.h"
#include "samples/study.h"

namespace samples
{
namespace
{

std::string objectTable()
{
  std::ostringstream rows;
  rows << "STUDYUID\tFNAME\tSOPCLASSUID\tSOPINSTUID\tSERIESUID\tIMGCOLUMNS\tIMGROWS\tIMGFRAMES\n";
  for (const SampleImage& image : sampleImages())
    rows << kStudyUid << '\t' << image.name() << '\t' << image.sopClassUid() << '\t' << image.sopInstanceUid() << '\t'
         << image.seriesUid() << '\t' << image.columns << '\t' << image.rows << "\t1\n";
  return rows.str();
}

} // namespace

void writeArchive(const std::filesystem::path& folder)
{
  for (const SampleImage& image : sampleImages())
    writeFile(folder / "images" / kStudyUid / image.name(), encodeFile(*makeImage(image), EXS_LittleEndianExplicit));
  for (const SampleState& state : sampleStates())
    writeFile(folder / "states" / (std::string(state.name) + ".dcm"), encodeFile(*makeState(state), state.syntax));
  writeFile(folder / "objects.tsv", objectTable());
}

} // namespace samples

#include "fuzz/Fuzzing.h"

#include "tests/support/Capture.h"
#include "tests/support/Files.h"
#include "tests/support/TempDir.h"

#include "db/DBConnector.h"
#include "samples/dicomFile.h"
#include "dicom/loadFile.h"
#include "converter/PSConverter.h"

#include <memory>

namespace
{

using fuzzing::expect;

/// An output can be loaded, and is named after the object that it holds.
void checkOutput(const std::filesystem::path& path)
{
  DcmFileFormat file;
  samples::require(tarn::dicom::loadFile(file, path), "an output cannot be loaded");
  OFString uid;
  file.getDataset()->findAndGetOFString(DCM_SOPInstanceUID, uid);
  expect(path.filename() == ("PR." + uid).c_str(), "an output is named after its object");
  fuzzing::expectRoundTrip(*file.getDataset());
}

/// What a conversion says and writes; outputs are checked and removed. The number of bytes chooses the options.
std::string convert(const fuzzing::MemoryFile& input, std::size_t length)
{
  using namespace impsconverter;
  static const std::unique_ptr<tarn::db::DBConnector> db = tarn::db::DBConnector::createConnector();
  static const TempDir folder;
  const Capture said;
  const std::string copy = std::filesystem::path(input.path()).filename();
  const unsigned long flags = length % 4 == 0 ? PSC_includeOriginal | PSC_fixOriginal : length % 4;
  const bool good = PSConverter(*db, input.path(), folder / "", flags, false).convert(false);
  fuzzing::expectMessages(said.error.str(), !good);
  std::string all = said.error.str();
  for (const std::string& name : namesIn(folder.path()))
  {
    if (name != copy)
      checkOutput(folder.path() / name);
    all += name + fuzzing::dataSetOf(contents(folder.path() / name));
    std::filesystem::remove(folder.path() / name);
  }
  return all;
}

} // namespace

/// Converts a file of any bytes; one in eight with the dictionary that the command begins with and with the whole one,
/// which must make no difference.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t length)
{
  using fuzzing::Supply;
  const fuzzing::MemoryFile input(bytes, length);
  const bool twice = length % 8 == 0;
  if (twice)
    fuzzing::renewDictionary(Supply::asCommand);
  const std::string all = convert(input, length);
  if (!twice)
    return 0;
  fuzzing::renewDictionary(Supply::whole);
  expect(convert(input, length) == all, "attributes are there when they are needed");
  return 0;
}

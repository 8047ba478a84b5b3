#include "Console.h"
#include "DBConnector.h"
#include "Dictionary.h"
#include "DicomFile.h"
#include "PBItem.h"
#include "PSConverter.h"
#include "StateWriter.h"
#include "ToolkitLog.h"

#include <cstdlib>
#include <memory>

namespace
{

/// A sample state whose references know every sample image, its plug-in state exchanged for `text`.
std::unique_ptr<DcmFileFormat> stateWith(const std::uint8_t* text, std::size_t length)
{
  static const std::unique_ptr<DcmDataset> sample = samples::makeState(samples::sampleStates()[0]);
  auto file = std::make_unique<DcmFileFormat>(sample.get());
  samples::require(PBItem(*file->getDataset()).putAndInsertPBUint8Array(PBItem::kPluginStateKey, text, length),
                   "plug-in state");
  return file;
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/)
{
  setenv("TARN_DB_URL", "sqlite::memory:", 1);
  setenv("TARN_LOG", "none", 1);
  std::string error;
  if (!tarn::dicom::setUpDictionary(error))
    std::abort();
  tarn::dicom::redirectToolkitLog();
  return 0;
}

/// Converts as a library does: whatever the text, no outcome but a result, messages and outputs that can be encoded.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* text, std::size_t length)
{
  static const std::unique_ptr<tarn::db::DBConnector> db = tarn::db::DBConnector::createConnector(0);
  std::ostringstream out;
  std::ostringstream error;
  const tarn::ConsoleScope console(out, error);
  const std::unique_ptr<DcmFileFormat> file = stateWith(text, length);
  std::list<DcmFileFormat*> outputs;
  const bool debug = length % 8 == 0;
  const bool good = impsconverter::PSConverter(*db, file.get(), &outputs, 0, debug).convert(false);
  for (DcmFileFormat* output : outputs)
  {
    const std::unique_ptr<DcmFileFormat> owned(output);
    static_cast<void>(samples::encodeFile(*output->getDataset(), EXS_LittleEndianExplicit));
  }
  if (!good && error.str().empty())
    std::abort(); // a failure that nobody is told of
  return 0;
}

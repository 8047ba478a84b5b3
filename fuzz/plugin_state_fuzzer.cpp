#include "Fuzzing.h"

#include "Capture.h"

#include "DBConnector.h"
#include "DicomFile.h"
#include "PBItem.h"
#include "PSConverter.h"
#include "StateWriter.h"

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

/// Converts as a library does, whatever the text: a result, a line for a failure, outputs that can be read again. The
/// text's length chooses the options.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* text, std::size_t length)
{
  using namespace impsconverter;
  static const std::unique_ptr<tarn::db::DBConnector> db = tarn::db::DBConnector::createConnector(0);
  const Capture said;
  const std::unique_ptr<DcmFileFormat> file = stateWith(text, length);
  std::list<DcmFileFormat*> outputs;
  const unsigned long flags = length % 4 == 0 ? PSC_includeOriginal | PSC_fixOriginal : 0;
  const bool good = PSConverter(*db, file.get(), &outputs, flags, length % 8 == 0).convert(false);
  std::list<std::unique_ptr<DcmFileFormat>> owned;
  for (DcmFileFormat* output : outputs)
  {
    if (output != file.get())
      owned.emplace_back(output);
    fuzzing::expectRoundTrip(*output->getDataset());
  }
  fuzzing::expect(good || !said.error.str().empty(), "a failure has a message");
  fuzzing::expectLines(said.error.str());
  return 0;
}

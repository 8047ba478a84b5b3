#include "fuzz/Fuzzing.h"

#include "tests/support/Capture.h"

#include "archive/measurements/MeasurementTable.h"
#include "db/DBConnector.h"
#include "samples/dicomFile.h"
#include "privateblock/PBItem.h"
#include "converter/PSConverter.h"
#include "converter/readAnnotations.h"
#include "samples/SampleState.h"

#include <memory>

/// Converts a sample state with any text for its plug-in state, as a library does: a result, a line for a failure,
/// outputs that can be read again. The text's length chooses the options. Then each of its annotations is measured.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* text, std::size_t length)
{
  using namespace impsconverter;
  static const std::unique_ptr<tarn::db::DBConnector> db = tarn::db::DBConnector::createConnector(0);
  static const std::unique_ptr<DcmDataset> sample = samples::makeState(samples::sampleStates()[0]);
  const Capture said;
  DcmFileFormat file(sample.get());
  samples::require(PBItem(*file.getDataset()).putAndInsertPBUint8Array(PBItem::kPluginStateKey, text, length),
                   "plug-in state");
  std::list<DcmFileFormat*> outputs;
  const unsigned long flags = length % 4 == 0 ? PSC_includeOriginal | PSC_fixOriginal : 0;
  const bool good = PSConverter(*db, &file, &outputs, flags, length % 8 == 0).convert(false);
  for (DcmFileFormat* output : outputs)
  {
    fuzzing::expectRoundTrip(*output->getDataset());
    if (output != &file)
      delete output;
  }
  fuzzing::expectMessages(said.error.str(), !good);
  tarn::archive::MeasurementTable table;
  readAnnotations({reinterpret_cast<const char*>(text), length},
                  [&table](const AnnotatedImage& image, const AnnotationLine& line)
                  {
                    tarn::archive::Measurement row;
                    row.shape = line.shape;
                    row.spacing = {"", image.rowSpacing, image.columnSpacing, true};
                    table.write(row);
                  });
  return 0;
}

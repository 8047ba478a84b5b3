#include "fuzz/Fuzzing.h"

#include "conformance/texts.h"
#include "db/DBConnectorSql.h"
#include "picture/drawState.h"
#include "samples/SampleImage.h"
#include "samples/dicomFile.h"

#include <algorithm>

namespace
{

/// An image of 16 x 16 pixels under the UID of the third slice.
const std::string& imageFile()
{
  static const std::string bytes = []
  {
    const auto image = samples::makeImage(samples::sampleImages()[2]);
    const Uint16 pixels[256] = {1, 2, 3};
    image->putAndInsertUint16(DCM_Rows, 16);
    image->putAndInsertUint16(DCM_Columns, 16);
    image->putAndInsertUint16Array(DCM_PixelData, pixels, 256);
    return samples::encodeFile(*image, EXS_LittleEndianExplicit);
  }();
  static const fuzzing::MemoryFile file(bytes.data(), bytes.size());
  static const std::string path = file.path();
  return path;
}

bool isXmlText(const std::string& svg)
{
  return tarn::conformance::isUtf8(svg) &&
         std::none_of(svg.begin(), svg.end(),
                      [](char c) { return static_cast<unsigned char>(c) < 0x20 && c != '\n' && c != '\t'; });
}

} // namespace

/// Draws a state of any bytes over an image: a refusal has a code and one line, a picture is text that XML allows.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t length)
{
  static tarn::db::DBConnectorSql db(tarn::db::Missing::refuse);
  static tarn::images::ImageFiles images(db, "");
  static const tarn::picture::Codecs codecs;
  const fuzzing::MemoryFile state(bytes, length);
  try
  {
    const std::string svg = tarn::picture::drawState(state.path(), images, {64, 1, true, imageFile()});
    fuzzing::expect(isXmlText(svg), "a picture is text that XML allows");
  }
  catch (const tarn::picture::Refusal& refusal)
  {
    fuzzing::expect(!refusal.code.empty() && *refusal.what() != '\0', "a refusal says why");
  }
  return 0;
}

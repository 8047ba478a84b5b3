#include "tests/support/StateFixture.h"

#include "samples/dicomFile.h"
#include "converter/PSConverter.h"
#include "samples/pluginState.h"

#include <dcmtk/oflog/oflog.h>

#include <algorithm>

namespace
{

bool isIn(const std::vector<DcmTagKey>& tags, const DcmObject& object)
{
  return std::find(tags.begin(), tags.end(), object.getTag()) != tags.end();
}

std::string valueOf(DcmElement& element)
{
  OFString value;
  element.getOFStringArray(value);
  return value.c_str();
}

} // namespace

std::string describe(DcmItem& item, const std::vector<DcmTagKey>& only)
{
  std::string text;
  for (DcmObject* object = nullptr; (object = item.nextInContainer(object)) != nullptr;)
  {
    if (!only.empty() && !isIn(only, *object))
      continue;
    auto& element = dynamic_cast<DcmElement&>(*object);
    text += (text.empty() ? "" : " ") + std::string(DcmTag(element.getTag()).getTagName());
    if (element.isLeaf())
      text += std::string(":") + DcmVR(element.ident()).getVRName() + "=" + valueOf(element);
    for (DcmObject* nested = nullptr; (nested = element.nextInContainer(nested)) != nullptr;)
      text += "{" + describe(dynamic_cast<DcmItem&>(*nested)) + "}";
  }
  return text;
}

StateFixture::StateFixture()
{
  OFLog::configure(OFLogger::OFF_LOG_LEVEL); // what the toolkit says of damaged files
  execute(
      "INSERT INTO objects VALUES ('1.2', 'CT.1.2.3', '1.2.840.10008.5.1.4.1.1.2', '1.2.3', '1.2.30', 512, 256, 1)");
  std::filesystem::create_directory(folder.path() / "out");
}

std::string StateFixture::figureOf(const std::vector<std::string>& lines)
{
  samples::Figure figure{"ID 1.2/CT.1.2.3_1"};
  figure.insert(figure.end(), lines.begin(), lines.end());
  return samples::pluginStateText("label", {figure});
}

void StateFixture::putElement(DcmItem& item, const DcmTagKey& tag, DcmEVR vr, const std::string& value)
{
  DcmElement* element = nullptr;
  samples::require(DcmItem::newDicomElementWithVR(element, DcmTag(tag, DcmVR(vr))), "new element");
  if (vr == EVR_OB)
    element->putUint8Array(reinterpret_cast<const Uint8*>(value.data()), value.size());
  else
    element->putString(value.c_str());
  samples::require(item.insert(element, true), "insert");
}

std::unique_ptr<DcmFileFormat> StateFixture::state(const std::string& pluginState)
{
  auto file = std::make_unique<DcmFileFormat>();
  DcmDataset& dataset = *file->getDataset();
  samples::putTexts(dataset, {{DCM_SOPClassUID, UID_GrayscaleSoftcopyPresentationStateStorage},
                              {DCM_SOPInstanceUID, kUid},
                              {DCM_StudyInstanceUID, "1.2"},
                              {DCM_InstanceNumber, "5"}});
  DcmItem& series = samples::appendItem(dataset, DCM_ReferencedSeriesSequence);
  samples::putTexts(series, {{DCM_SeriesInstanceUID, "1.2.40"}});
  samples::putTexts(
      samples::appendItem(series, DCM_ReferencedImageSequence),
      {{DCM_ReferencedSOPClassUID, "1.2.840.10008.5.1.4.1.1.4"}, {DCM_ReferencedSOPInstanceUID, "1.2.4"}});
  putElement(dataset, DcmTagKey(0xF215, 0x0010), EVR_LO, "PB group A");
  putElement(dataset, kPluginState, EVR_OB, pluginState);
  return file;
}

StateFixture::Outcome StateFixture::convert(DcmFileFormat& file, unsigned long flags, bool debug)
{
  samples::writeFile(inputPath, samples::encodeFile(*file.getDataset(), EXS_LittleEndianExplicit));
  const Capture said;
  const bool good = impsconverter::PSConverter(*db, inputPath, prefix, flags, debug).convert(false);
  return {good, said.error.str(), said.out.str()};
}

StateFixture::Outcome StateFixture::convert(const std::string& pluginState, unsigned long flags, bool debug)
{
  return convert(*state(pluginState), flags, debug);
}

std::unique_ptr<DcmFileFormat> StateFixture::output(const std::string& name) const
{
  auto file = std::make_unique<DcmFileFormat>();
  samples::require(file->loadFile((prefix + name).c_str()), name);
  return file;
}

std::string StateFixture::describeOutput(const std::vector<DcmTagKey>& tags, const std::string& name) const
{
  return describe(*output(name)->getDataset(), tags);
}

std::string StateFixture::valuesIn(const std::vector<DcmTagKey>& tags, const std::string& name) const
{
  const auto file = output(name);
  std::string text;
  for (DcmStack stack; file->getDataset()->nextObject(stack, OFTrue).good();)
    if (isIn(tags, *stack.top()))
      text += (text.empty() ? "" : " ") + valueOf(dynamic_cast<DcmElement&>(*stack.top()));
  return text;
}

#include "StateFixture.h"

#include "DicomFile.h"
#include "PSConverter.h"
#include "PluginState.h"
#include "SqlSession.h"

#include <dcmtk/oflog/oflog.h>

#include <algorithm>
#include <cstdio>

namespace
{

template <class Value>
std::string numbers(DcmElement& element, OFCondition (DcmElement::*get)(Value*&), std::size_t size, const char* format)
{
  Value* values = nullptr;
  // cppcheck-suppress knownConditionTrueFalse ; the call sets it
  if ((element.*get)(values).bad() || !values)
    return "";
  std::string text;
  for (std::size_t i = 0; i < element.getLengthField() / size; ++i)
  {
    char number[40];
    std::snprintf(number, sizeof number, format, static_cast<double>(values[i]));
    text += (i > 0 ? "\\" : "") + std::string(number);
  }
  return text;
}

std::string valueOf(DcmElement& element)
{
  if (element.ident() == EVR_FL)
    return numbers<Float32>(element, &DcmElement::getFloat32Array, sizeof(Float32), "%.9g");
  if (element.ident() == EVR_FD)
    return numbers<Float64>(element, &DcmElement::getFloat64Array, sizeof(Float64), "%.17g");
  OFString text;
  element.getOFStringArray(text);
  return text.c_str();
}

std::string describeElement(DcmElement& element)
{
  const std::string name = DcmTag(element.getTag()).getTagName();
  if (element.isLeaf())
    return name + ":" + DcmVR(element.ident()).getVRName() + "=" + valueOf(element);
  std::string text = name;
  for (DcmObject* item = nullptr; (item = element.nextInContainer(item)) != nullptr;)
    text += "{" + describe(dynamic_cast<DcmItem&>(*item)) + "}";
  return text;
}

} // namespace

std::string describe(DcmItem& item, const std::vector<DcmTagKey>& only)
{
  std::string text;
  for (DcmObject* object = nullptr; (object = item.nextInContainer(object)) != nullptr;)
    if (only.empty() || std::find(only.begin(), only.end(), object->getTag()) != only.end())
      text += (text.empty() ? "" : " ") + describeElement(dynamic_cast<DcmElement&>(*object));
  return text;
}

StateFixture::StateFixture()
{
  OFLog::configure(OFLogger::OFF_LOG_LEVEL); // what the toolkit says of damaged files
  execute(
      "INSERT INTO objects VALUES ('1.2', 'CT.1.2.3', '1.2.840.10008.5.1.4.1.1.2', '1.2.3', '1.2.30', 512, 256, 1)");
  std::filesystem::create_directory(folder.path() / "out");
}

void StateFixture::execute(const char* sql)
{
  db->session().execute(sql);
}

std::string StateFixture::figureOf(const std::vector<std::string>& lines)
{
  samples::Figure figure{"ID 1.2/CT.1.2.3_1"};
  figure.insert(figure.end(), lines.begin(), lines.end());
  return samples::pluginStateText("label", {figure});
}

void StateFixture::putPluginState(DcmItem& dataset, const std::string& text, DcmEVR vr)
{
  DcmElement* element = nullptr;
  samples::require(DcmItem::newDicomElementWithVR(element, DcmTag(kPluginState, DcmVR(vr))), "new element");
  if (element->isaString())
    element->putString(text.data(), static_cast<Uint32>(text.size()));
  else
    element->putUint8Array(reinterpret_cast<const Uint8*>(text.data()), text.size());
  samples::require(dataset.insert(element, true), "insert");
}

std::unique_ptr<DcmFileFormat> StateFixture::state(const std::string& pluginState, DcmEVR vr)
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
  samples::require(dataset.putAndInsertString(DcmTag(0xF215, 0x0010, EVR_LO), "PB group A"), "creator");
  putPluginState(dataset, pluginState, vr);
  return file;
}

Outcome StateFixture::convertPath(const std::string& path, unsigned long flags, bool debug)
{
  const Capture said;
  const bool good = impsconverter::PSConverter(*db, path, prefix, flags, debug).convert(false);
  return {good, said.error.str(), said.out.str()};
}

Outcome StateFixture::convert(DcmFileFormat& file, unsigned long flags, bool debug)
{
  samples::writeFile(inputPath, samples::encodeFile(*file.getDataset(), EXS_LittleEndianExplicit));
  return convertPath(inputPath, flags, debug);
}

Outcome StateFixture::convert(const std::string& pluginState, unsigned long flags, bool debug)
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

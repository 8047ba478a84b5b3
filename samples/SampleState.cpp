// Presentation states as the viewer leaves them.
#include "samples/SampleState.h"

#include <algorithm>
#include <cctype>

#include "samples/SampleImage.h"
#include "samples/study.h"

namespace samples
{
namespace
{

constexpr Uint16 kGroup = 0xF215;

void putPrivate(DcmItem& dataset, Uint16 element, DcmEVR vr, const char* creator, const std::string& value)
{
  DcmTag tag(kGroup, element);
  tag.setPrivateCreator(creator); // looks the VR up anew
  tag.setVR(DcmVR(vr));
  DcmElement* created = nullptr;
  require(DcmItem::newDicomElementWithVR(created, tag), "Private element");
  std::unique_ptr<DcmElement> owner(created);
  const auto length = static_cast<Uint32>(value.size());
  require(owner->isaString() ? owner->putString(value.data(), length)
                             : owner->putUint8Array(reinterpret_cast<const Uint8*>(value.data()), length),
          "Private element");
  require(dataset.insert(owner.get()), "Private element");
  static_cast<void>(owner.release());
}

void putCreator(DcmItem& dataset, Uint16 element, const char* creator)
{
  putPrivate(dataset, element, EVR_LO, nullptr, creator);
}

void putPluginState(DcmItem& dataset, const SampleState& state)
{
  static const char kCreator[] = "PB group A";
  const std::string text = pluginStateText(state.name, state.figures);
  switch (state.layout)
  {
  case Layout::canonic:
    putCreator(dataset, 0x0010, kCreator);
    return putPrivate(dataset, 0x1094, state.vr, kCreator, text);
  case Layout::canonicInSlot11:
    putCreator(dataset, 0x0010, "PHANTOM TOOLS");
    putPrivate(dataset, 0x1001, EVR_LO, "PHANTOM TOOLS", "torso");
    putCreator(dataset, 0x0011, kCreator);
    return putPrivate(dataset, 0x1194, state.vr, kCreator, text);
  case Layout::legacy:
    putCreator(dataset, 0x00BA, "Quillbrookes");
    return putPrivate(dataset, 0xBA94, state.vr, "Quillbrookes", text);
  case Layout::legacyWithoutCreator:
    return putPrivate(dataset, 0xBA94, state.vr, nullptr, text);
  }
}

/// Presentation State Relationship (PS3.3 C.11.11): every image of the study, a series an item.
void putReferences(DcmItem& dataset)
{
  std::vector<SampleImage> images = sampleImages();
  images.push_back(kImageElsewhere);
  std::stable_sort(images.begin(), images.end(),
                   [](const SampleImage& a, const SampleImage& b) { return a.seriesUid() < b.seriesUid(); });
  DcmItem* series = nullptr;
  std::string seriesUid;
  for (const SampleImage& image : images)
  {
    if (!series || image.seriesUid() != seriesUid)
    {
      seriesUid = image.seriesUid();
      series = &appendItem(dataset, DCM_ReferencedSeriesSequence);
      putTexts(*series, {{DCM_SeriesInstanceUID, seriesUid}});
    }
    putTexts(
        appendItem(*series, DCM_ReferencedImageSequence),
        {{DCM_ReferencedSOPClassUID, image.sopClassUid()}, {DCM_ReferencedSOPInstanceUID, image.sopInstanceUid()}});
  }
}

/// Content Label is a code string: capitals, digits, blanks and underscores, 16 at most (PS3.5 6.2).
std::string contentLabel(std::string name)
{
  name.resize(std::min<size_t>(name.size(), 16));
  for (char& letter : name)
    letter = letter == '-' ? '_' : static_cast<char>(std::toupper(static_cast<unsigned char>(letter)));
  return name;
}

} // namespace

std::unique_ptr<DcmDataset> makeState(const SampleState& state)
{
  auto dataset = std::make_unique<DcmDataset>();
  const std::string number = std::to_string(state.number);
  putCommonModules(*dataset);
  putTexts(*dataset, {{DCM_SOPClassUID, UID_GrayscaleSoftcopyPresentationStateStorage},
                      {DCM_SOPInstanceUID, kStateUidRoot + number},
                      {DCM_Modality, "PR"},
                      {DCM_SeriesInstanceUID, kStateSeriesUid},
                      {DCM_SeriesNumber, "9"},
                      {DCM_SeriesDescription, "Annotations"},
                      {DCM_BodyPartExamined, "CHEST"},
                      {DCM_ManufacturerModelName, "Sample viewer"},
                      {DCM_DeviceSerialNumber, "1"},
                      {DCM_SoftwareVersions, "1"},
                      {DCM_InstanceNumber, number},
                      {DCM_ContentLabel, contentLabel(state.name)},
                      {DCM_ContentDescription, state.description},
                      {DCM_PresentationCreationDate, "20200103"},
                      {DCM_PresentationCreationTime, "090000"},
                      {DCM_ContentCreatorName, "Reader^Sample"},
                      {DCM_PresentationLUTShape, "IDENTITY"}});
  putReferences(*dataset);
  putPluginState(*dataset, state);
  return dataset;
}

} // namespace samples

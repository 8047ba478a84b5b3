#include "tests/support/ViewState.h"

#include "samples/dicomFile.h"

#include <algorithm>
#include <map>
#include <sstream>
#include <vector>

using tarn::conformance::ImageSize;

std::optional<ImageSize> ViewSizes::find(const std::string& uid)
{
  if (uid == "1.2.3" || uid == "1.2.4")
    return ImageSize{512, 256, 1};
  if (uid == "1.2.5" || uid == "1.2.6")
    return ImageSize{64, 64, uid == "1.2.5" ? 10U : 1U};
  return std::nullopt;
}

namespace
{

DcmTag tagOf(const std::string& name)
{
  DcmTag tag;
  samples::require(DcmTag::findTagFromName(name.c_str(), tag), name);
  return tag;
}

/// The item that all but the last part of a path lead to; the last part is left in `path`.
DcmItem& itemOn(DcmItem& state, std::string& path)
{
  static const std::map<std::string, std::string> kShort{{"area", "DisplayedAreaSelectionSequence"},
                                                         {"window", "SoftcopyVOILUTSequence"},
                                                         {"annotation", "GraphicAnnotationSequence"},
                                                         {"graphic", "GraphicAnnotationSequence.GraphicObjectSequence"},
                                                         {"text", "GraphicAnnotationSequence.TextObjectSequence"},
                                                         {"image", "ReferencedSeriesSequence.ReferencedImageSequence"}};
  DcmItem* item = &state;
  for (std::size_t point; (point = path.find('.')) != std::string::npos;)
  {
    std::string part = path.substr(0, point);
    path.erase(0, point + 1);
    if (const auto found = kShort.find(part); found != kShort.end())
    {
      path = found->second + "." + path;
      part = path.substr(0, path.find('.'));
      path.erase(0, part.size() + 1);
    }
    const std::size_t hash = std::min(part.find('#'), part.size());
    const long number = hash < part.size() ? std::stol(part.substr(hash + 1)) : 0;
    samples::require(item->findAndGetSequenceItem(tagOf(part.substr(0, hash)), item, number), part);
  }
  return *item;
}

void choose(DcmItem& item, const std::string& uid, const std::string& frames)
{
  DcmItem& image = samples::appendItem(item, DCM_ReferencedImageSequence);
  samples::putTexts(image,
                    {{DCM_ReferencedSOPClassUID, uid == "1.2.5" ? UID_EnhancedCTImageStorage : UID_CTImageStorage},
                     {DCM_ReferencedSOPInstanceUID, uid}});
  if (!frames.empty())
    samples::putTexts(image, {{DCM_ReferencedFrameNumber, frames}});
}

void referTo(DcmItem& state, const std::string& uid, const std::string& frames)
{
  DcmItem& series = samples::appendItem(state, DCM_ReferencedSeriesSequence);
  samples::putTexts(series, {{DCM_SeriesInstanceUID, uid + ".1"}});
  choose(series, uid, frames);
}

void addArea(DcmItem& state, const std::string& uid, const std::string& frames)
{
  DcmSequenceOfItems* areas = nullptr;
  samples::require(state.findAndGetSequence(DCM_DisplayedAreaSelectionSequence, areas), "areas");
  auto* const area = new DcmItem(*areas->getItem(0));
  area->findAndDeleteElement(DCM_ReferencedImageSequence);
  areas->append(area);
  if (!uid.empty())
    choose(*area, uid, frames);
}

void addTable(DcmItem& item, const DcmTagKey& sequence, Uint16 entries)
{
  DcmItem& table = samples::appendItem(item, sequence);
  const std::vector<Uint16> values(entries, 0xFFFF), descriptor{entries, 0, 16};
  table.putAndInsertUint16Array(DcmTag(DCM_LUTDescriptor, EVR_US), descriptor.data(), 3);
  table.putAndInsertUint16Array(DcmTag(DCM_LUTData, EVR_OW), values.data(), entries);
}

void add(DcmItem& state, const std::string& step)
{
  std::istringstream words(step);
  std::string what, first, second, third;
  words >> what >> first >> second >> third;
  if (what == "+image")
    return referTo(state, first, second);
  if (what == "+area")
    return addArea(state, first, second);
  std::string path = what == "+choose" || what == "+pixels" ? first + "." : first;
  DcmItem& item = itemOn(state, path);
  if (what == "+choose")
    choose(item, second, third);
  else if (what == "+pixels")
    samples::require(item.insert(new DcmPixelData(DcmTag(DCM_PixelData, EVR_OW))), step);
  else if (what == "+table")
    addTable(item, tagOf(path), static_cast<Uint16>(std::stoi(second)));
  else
    samples::appendItem(item, tagOf(path));
}

void put(DcmItem& state, const std::string& step)
{
  const std::size_t equals = step.find('=');
  std::string path = step.substr(0, equals);
  DcmItem& item = itemOn(state, path);
  const std::size_t colon = std::min(path.find(':'), path.size());
  DcmTag tag = tagOf(path.substr(0, colon));
  if (colon < path.size())
    tag.setVR(DcmVR(path.substr(colon + 1).c_str()));
  samples::require(item.putAndInsertString(tag, step.substr(equals + 1).c_str()), step);
}

} // namespace

void edit(DcmItem& state, const std::string& steps)
{
  std::istringstream list(steps);
  for (std::string step; std::getline(list, step, ';');)
    if (step.front() == '+')
      add(state, step);
    else if (step.front() != '-')
      put(state, step);
    else if (std::string path = step.substr(1); DcmItem* item = &itemOn(state, path))
      samples::require(item->findAndDeleteElement(tagOf(path)), step);
}

std::unique_ptr<DcmDataset> viewState()
{
  auto state = std::make_unique<DcmDataset>();
  samples::putCommonModules(*state);
  samples::putTexts(*state, {{DCM_SOPClassUID, UID_GrayscaleSoftcopyPresentationStateStorage},
                             {DCM_SOPInstanceUID, "1.2.9"},
                             {DCM_Modality, "PR"},
                             {DCM_SeriesInstanceUID, "1.2.8"},
                             {DCM_SeriesNumber, "9"},
                             {DCM_SeriesDate, "20200105"},
                             {DCM_SeriesTime, "1200"},
                             {DCM_BodyPartExamined, "HAND"},
                             {DCM_Laterality, "L"},
                             {DCM_InstanceNumber, "5"},
                             {DCM_ContentLabel, "VIEW"},
                             {DCM_ContentDescription, "a view"},
                             {DCM_ContentCreatorName, ""},
                             {DCM_PresentationCreationDate, "20200103"},
                             {DCM_PresentationCreationTime, "090000"},
                             {DCM_ImageRotation, "90"},
                             {DCM_ImageHorizontalFlip, "N"},
                             {DCM_RescaleSlope, "1"},
                             {DCM_RescaleIntercept, "-1024"},
                             {DCM_RescaleType, "HU"},
                             {DCM_PresentationLUTShape, "INVERSE"},
                             {DCM_ShutterShape, "RECTANGULAR\\CIRCULAR\\POLYGONAL"},
                             {DCM_ShutterLeftVerticalEdge, "1"},
                             {DCM_ShutterRightVerticalEdge, "512"},
                             {DCM_ShutterUpperHorizontalEdge, "1"},
                             {DCM_ShutterLowerHorizontalEdge, "256"},
                             {DCM_CenterOfCircularShutter, "128\\256"},
                             {DCM_RadiusOfCircularShutter, "100"},
                             {DCM_VerticesOfThePolygonalShutter, "1\\1\\1\\9\\9\\9"},
                             {DCM_ShutterPresentationValue, "0"},
                             {DCM_OverlayRows, "4"},
                             {DCM_OverlayColumns, "5"},
                             {DCM_OverlayType, "G"},
                             {DCM_OverlayOrigin, "1\\1"},
                             {DCM_OverlayBitsAllocated, "1"},
                             {DCM_OverlayBitPosition, "0"},
                             {DCM_OverlayActivationLayer, "LAYER"}});
  const Uint16 bits[] = {0xFFFF, 0x000F};
  state->putAndInsertUint16Array(DcmTag(DCM_OverlayData, EVR_OW), bits, std::size(bits));
  referTo(*state, "1.2.3", "");
  samples::putTexts(samples::appendItem(*state, DCM_DisplayedAreaSelectionSequence),
                    {{DCM_DisplayedAreaTopLeftHandCorner, "1\\256"},
                     {DCM_DisplayedAreaBottomRightHandCorner, "512\\1"},
                     {DCM_PresentationSizeMode, "TRUE SIZE"},
                     {DCM_PresentationPixelSpacing, "0.5\\0.5"}});
  samples::putTexts(samples::appendItem(*state, DCM_SoftcopyVOILUTSequence),
                    {{DCM_WindowCenter, "40"}, {DCM_WindowWidth, "400"}, {DCM_VOILUTFunction, "LINEAR"}});
  samples::putTexts(samples::appendItem(*state, DCM_GraphicLayerSequence),
                    {{DCM_GraphicLayer, "LAYER"}, {DCM_GraphicLayerOrder, "1"}});
  DcmItem& annotation = samples::appendItem(*state, DCM_GraphicAnnotationSequence);
  samples::putTexts(annotation, {{DCM_GraphicLayer, "LAYER"}});
  samples::putTexts(samples::appendItem(annotation, DCM_GraphicObjectSequence), {{DCM_GraphicAnnotationUnits, "PIXEL"},
                                                                                 {DCM_GraphicDimensions, "2"},
                                                                                 {DCM_NumberOfGraphicPoints, "2"},
                                                                                 {DCM_GraphicData, "1\\1\\9\\9"},
                                                                                 {DCM_GraphicType, "POLYLINE"}});
  return state;
}

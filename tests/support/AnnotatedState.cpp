#include "tests/support/AnnotatedState.h"

#include "dicom/contents.h"
#include "samples/SampleImage.h"
#include "samples/SampleState.h"
#include "samples/dicomFile.h"
#include "samples/study.h"

#include <dcmtk/dcmdata/dcpath.h>

namespace
{

/// The item at a path, which is made where it is not there.
DcmItem& itemAt(DcmDataset& dataset, const std::string& path)
{
  DcmPathProcessor processor;
  OFList<DcmPath*> found;
  samples::require(processor.findOrCreatePath(&dataset, path.c_str(), OFTrue), path);
  processor.getResults(found);
  return dynamic_cast<DcmItem&>(*found.back()->back()->m_obj);
}

} // namespace

Edit set(const std::vector<std::string>& paths)
{
  return [paths](DcmDataset& dataset)
  {
    DcmPathProcessor processor;
    unsigned int removed = 0;
    for (const std::string& path : paths)
      samples::require(path[0] == '-' ? processor.findOrDeletePath(&dataset, path.substr(1).c_str(), removed)
                                      : processor.applyPathWithValue(&dataset, path.c_str()),
                       path);
  };
}

Edit putFloats(const std::string& path, const std::vector<Float32>& values, DcmEVR vr)
{
  return [=](DcmDataset& dataset)
  {
    const std::size_t end = path.rfind('.');
    DcmItem& item = itemAt(dataset, path.substr(0, end));
    DcmTag tag;
    samples::require(DcmTag::findTagFromName(path.substr(end + 1).c_str(), tag), path);
    if (vr == EVR_FL)
      return samples::require(item.putAndInsertFloat32Array(tag, values.data(), values.size()), path);
    auto element = std::make_unique<DcmOtherByteOtherWord>(DcmTag(tag, vr));
    const auto length = static_cast<Uint32>(values.size() * sizeof(Float32));
    samples::require(element->putUint8Array(reinterpret_cast<const Uint8*>(values.data()), length), path);
    samples::require(tarn::dicom::insertOwned(item, std::move(element), true), path);
  };
}

Edit addForeignAnnotations()
{
  std::vector<std::string> paths;
  const auto in = [&paths](const std::string& item, const std::vector<std::string>& elements)
  {
    for (const std::string& element : elements)
      paths.push_back(item + "." + element);
  };
  const std::string annotation = "GraphicAnnotationSequence[1]";
  in("GraphicLayerSequence[1]",
     {"GraphicLayer=LAYER 2", "GraphicLayerOrder=5", "GraphicLayerRecommendedDisplayCIELabValue=65535\\32896\\32896"});
  in("GraphicGroupSequence[0]", {"GraphicGroupID=7", "GraphicGroupLabel=Lesion"});
  in(annotation, {"GraphicLayer=LAYER 2"});
  in(annotation + ".TextObjectSequence[0]",
     {"UnformattedTextValue=in the display", "BoundingBoxAnnotationUnits=DISPLAY",
      "BoundingBoxTopLeftHandCorner=0.1\\0.1", "BoundingBoxBottomRightHandCorner=0.5\\0.2",
      "BoundingBoxTextHorizontalJustification=RIGHT", "GraphicGroupID=7", "TextStyleSequence[0].CSSFontName=serif",
      "TextStyleSequence[0].TextColorCIELabValue=65535\\32896\\32896", "TextStyleSequence[0].ShadowStyle=OFF",
      "TextStyleSequence[0].Underlined=N", "TextStyleSequence[0].Bold=Y", "TextStyleSequence[0].Italic=N"});
  in(annotation + ".TextObjectSequence[1]", {"UnformattedTextValue=at an anchor", "AnchorPoint=20.5\\30.5",
                                             "AnchorPointAnnotationUnits=PIXEL", "AnchorPointVisibility=Y"});
  const std::vector<std::vector<std::string>> shapes{
      {"GraphicType=POINT", "NumberOfGraphicPoints=1", "GraphicData=4\\5"},
      {"GraphicType=CIRCLE", "NumberOfGraphicPoints=2", "GraphicData=50\\50\\60\\50", "GraphicFilled=Y"},
      {"GraphicType=INTERPOLATED", "NumberOfGraphicPoints=3", "GraphicData=1\\1\\5\\6\\9\\1",
       "CompoundGraphicInstanceID=3"},
      {"GraphicType=POLYLINE", "NumberOfGraphicPoints=4", "GraphicData=10\\10\\20\\10\\20\\20\\10\\10",
       "GraphicFilled=N"},
      {"GraphicType=ELLIPSE", "NumberOfGraphicPoints=4", "GraphicData=30\\50\\70\\50\\50\\40\\50\\60",
       "GraphicFilled=N"}};
  for (std::size_t i = 0; i < shapes.size(); ++i)
  {
    const std::string shape = annotation + ".GraphicObjectSequence[" + std::to_string(i) + "]";
    in(shape, {"GraphicAnnotationUnits=PIXEL", "GraphicDimensions=2"});
    in(shape, shapes[i]);
  }
  in(annotation + ".GraphicObjectSequence[1].FillStyleSequence[0]",
     {"PatternOnColorCIELabValue=1\\2\\3", "PatternOnOpacity=1", "PatternOffOpacity=0", "FillMode=SOLID"});
  in(annotation + ".GraphicObjectSequence[2].LineStyleSequence[0]",
     {"PatternOnColorCIELabValue=1\\2\\3", "PatternOnOpacity=1", "LineThickness=2", "LineDashingStyle=DASHED",
      "LinePattern=255", "ShadowStyle=NORMAL", "ShadowOffsetX=1", "ShadowOffsetY=1", "ShadowColorCIELabValue=0\\0\\0",
      "ShadowOpacity=0.5"});
  in(annotation + ".CompoundGraphicSequence[0]",
     {"CompoundGraphicInstanceID=3", "CompoundGraphicUnits=PIXEL", "GraphicDimensions=2", "NumberOfGraphicPoints=2",
      "GraphicData=1\\1\\9\\1", "CompoundGraphicType=AXIS", "MajorTicksSequence[0].TickPosition=0",
      "MajorTicksSequence[0].TickLabel=0 mm", "MajorTicksSequence[1].TickPosition=1",
      "MajorTicksSequence[1].TickLabel=8 mm", "TickAlignment=TOP", "TickLabelAlignment=BOTTOM", "ShowTickLabel=Y"});
  return set(paths);
}

DcmDataset AnnotatedState::sound()
{
  static std::unique_ptr<DcmDataset> made;
  if (made)
    return *made;
  for (const samples::SampleImage& image : samples::sampleImages())
    execute(("INSERT INTO objects VALUES ('" + std::string(samples::kStudyUid) + "', '" + image.name() + "', '" +
             image.sopClassUid() + "', '" + image.sopInstanceUid() + "', '" + image.seriesUid() + "', 256, 256, 1)")
                .c_str());
  DcmFileFormat input(samples::makeState(samples::sampleStates().front()).get());
  EXPECT_TRUE(convert(input).good);
  made = std::make_unique<DcmDataset>(*output(outputNames().at(0))->getDataset());
  addForeignAnnotations()(*made);
  EXPECT_TRUE(tarn::conformance::makeConformant(*made, this).left.empty());
  return *made;
}

#include "dicom/AttributeSupply.h"

#include "dicom/attributeTable.h"

#include <dcmtk/dcmdata/dcdeftag.h>
#include <dcmtk/dcmdata/dcdict.h>

#include <algorithm>
#include <atomic>
#include <bitset>
#include <mutex>
#include <vector>

namespace tarn::dicom
{
namespace
{

/// The groups that the toolkit writes by itself: file meta information, padding, item delimiters.
constexpr Uint16 kToolkitGroups[] = {0x0002, 0xFFFA, 0xFFFC, 0xFFFE};

/// The attributes that outputs get, or that a message names, though no input may have them. One that is missing here is
/// written as UN, or named "Unknown Tag & Data".
const DcmTagKey kUnreadAttributes[] = {DCM_AnchorPoint,
                                       DCM_AnchorPointAnnotationUnits,
                                       DCM_AnchorPointVisibility,
                                       DCM_BoundingBoxAnnotationUnits,
                                       DCM_BoundingBoxBottomRightHandCorner,
                                       DCM_BoundingBoxTextHorizontalJustification,
                                       DCM_BoundingBoxTopLeftHandCorner,
                                       DCM_CompoundGraphicInstanceID,
                                       DCM_CompoundGraphicSequence,
                                       DCM_CompoundGraphicUnits,
                                       DCM_ContentCreatorName,
                                       DCM_ContentDescription,
                                       DCM_DisplayedAreaBottomRightHandCorner,
                                       DCM_DisplayedAreaSelectionSequence,
                                       DCM_DisplayedAreaTopLeftHandCorner,
                                       DCM_GraphicAnnotationSequence,
                                       DCM_GraphicAnnotationUnits,
                                       DCM_GraphicData,
                                       DCM_GraphicDimensions,
                                       DCM_GraphicFilled,
                                       DCM_GraphicLayer,
                                       DCM_GraphicLayerOrder,
                                       DCM_GraphicLayerSequence,
                                       DCM_GraphicObjectSequence,
                                       DCM_GraphicType,
                                       DCM_ImageHorizontalFlip,
                                       DCM_ImageRotation,
                                       DCM_InstanceNumber,
                                       DCM_LineDashingStyle,
                                       DCM_LinePattern,
                                       DCM_LineStyleSequence,
                                       DCM_Modality,
                                       DCM_NumberOfGraphicPoints,
                                       DCM_PatternOffOpacity,
                                       DCM_PatternOnColorCIELabValue,
                                       DCM_PatternOnOpacity,
                                       DCM_PixelOriginInterpretation,
                                       DCM_PresentationLUTShape,
                                       DCM_PresentationPixelMagnificationRatio,
                                       DCM_PresentationPixelSpacing,
                                       DCM_PresentationSizeMode,
                                       DCM_ReferencedFrameNumber,
                                       DCM_ReferencedImageSequence,
                                       DCM_ReferencedSOPClassUID,
                                       DCM_ReferencedSOPInstanceUID,
                                       DCM_ReferencedSeriesSequence,
                                       DCM_RotationAngle,
                                       DCM_RotationPoint,
                                       DCM_SOPClassUID,
                                       DCM_SOPInstanceUID,
                                       DCM_SeriesInstanceUID,
                                       DCM_ShowTickLabel,
                                       DCM_SoftcopyVOILUTSequence,
                                       DCM_StudyInstanceUID,
                                       DCM_TextObjectSequence,
                                       DCM_TickAlignment,
                                       DCM_TickLabelAlignment,
                                       DCM_UnformattedTextValue,
                                       DCM_WindowCenter,
                                       DCM_WindowWidth};

Uint16 swapped(Uint16 word)
{
  return static_cast<Uint16>(word >> 8U | word << 8U);
}

Uint32 tagOf(Uint16 group, Uint16 element)
{
  return static_cast<Uint32>(group) << 16U | element;
}

/// The rows from one tag to another, both included.
AttributeRows rowsBetween(Uint32 first, Uint32 last)
{
  const auto from =
      std::lower_bound(attributes().begin(), attributes().end(), first,
                       [](const Attribute& row, Uint32 tag) { return tagOf(row.group, row.element) < tag; });
  const auto behind = std::find_if(from, attributes().end(),
                                   [last](const Attribute& row) { return tagOf(row.group, row.element) > last; });
  return {from, behind};
}

/// The attributes that the toolkit's dictionary does not have yet.
class Missing
{
public:
  void begin(DcmDataDictionary& dictionary)
  {
    isAdded.assign(attributes().size(), false);
    for (const Attribute& row : attributes())
      groups.set(row.group);
    for (const Uint16 group : kToolkitGroups)
      addRows(dictionary, rowsBetween(tagOf(group, 0), tagOf(group, 0xFFFF)));
    for (const DcmTagKey& key : kUnreadAttributes)
      addRows(dictionary,
              rowsBetween(tagOf(key.getGroup(), key.getElement()), tagOf(key.getGroup(), key.getElement())));
  }

  void provide(Uint16 group, Uint16 element)
  {
    if (!groups[group])
      return;
    provide(tagOf(group, element));
    // The dictionary has the elements of a private block without the place that the block takes in an item
    // (PS3.5 7.8.1).
    if (group % 2 == 1)
      provide(tagOf(group, element & 0xFFU));
  }

private:
  void provide(Uint32 tag)
  {
    for (const Attribute& row : rowsBetween(tag, tag))
      if (!isAdded[indexOf(row)])
      {
        add(dcmDataDict.wrlock(), row);
        dcmDataDict.wrunlock();
      }
  }

  static std::size_t indexOf(const Attribute& row) { return static_cast<std::size_t>(&row - attributes().begin()); }

  void addRows(DcmDataDictionary& dictionary, const AttributeRows& rows)
  {
    for (const Attribute& row : rows)
      add(dictionary, row);
  }

  void add(DcmDataDictionary& dictionary, const Attribute& row)
  {
    dictionary.addEntry(dictionaryEntry(row).release());
    isAdded[indexOf(row)] = true;
  }

  std::bitset<0x10000> groups; ///< those of which rows may be missing
  std::vector<bool> isAdded;   ///< one a row
};

std::mutex lock; // of what follows
Missing missing;
std::atomic<bool> onDemand = false; // written under the lock

void addRepeating(DcmDataDictionary& dictionary)
{
  for (const Attribute& row : repeatingAttributes())
    dictionary.addEntry(dictionaryEntry(row).release());
}

} // namespace

void supplyOnDemand(DcmDataDictionary& dictionary)
{
  const std::lock_guard held(lock);
  addRepeating(dictionary);
  missing.begin(dictionary);
  onDemand = true;
}

void supplyAll(DcmDataDictionary& dictionary)
{
  addRepeating(dictionary);
  for (const Attribute& row : attributes())
    dictionary.addEntry(dictionaryEntry(row).release());
}

void TagWatch::see(const void* bytes, std::size_t length)
{
  if (!onDemand)
    return;
  const std::lock_guard held(lock);
  for (const auto* byte = static_cast<const Uint8*>(bytes); length > 0; ++byte, --length)
  {
    window = window << 8U | *byte;
    const auto first = static_cast<Uint16>(window >> 16U);
    const auto second = static_cast<Uint16>(window);
    missing.provide(first, second);
    missing.provide(swapped(first), swapped(second));
  }
}

} // namespace tarn::dicom

// The VR of what is in the data dictionary, and what no presentation state has.
#include "conformance/headerRules.h"

#include "base/text.h"
#include "dicom/contents.h"
#include "dicom/values.h"

#include <algorithm>
#include <array>
#include <initializer_list>
#include <memory>

namespace tarn::conformance
{
namespace
{

/// The VRs that the data dictionary gives attributes. It is slow to search, and asked anew when it has grown.
class DictionaryVrs
{
public:
  void begin()
  {
    const int entries = dcmDataDict.rdlock().numberOfNormalTagEntries();
    dcmDataDict.rdunlock();
    if (entries != entriesBefore)
      known.fill({});
    entriesBefore = entries;
  }

  DcmEVR of(const DcmTagKey& tag)
  {
    KnownVr& place = known[(numberOf(tag) ^ numberOf(tag) >> 14U) % known.size()];
    if (place.tag != numberOf(tag))
      place = {numberOf(tag), DcmTag(tag).getEVR()};
    return place.vr;
  }

private:
  struct KnownVr
  {
    Uint32 tag = 0xFFFFFFFF; ///< no attribute
    DcmEVR vr = EVR_UNKNOWN;
  };

  int entriesBefore = 0;
  std::array<KnownVr, 1024> known;
};

bool isOneOf(DcmEVR vr, std::initializer_list<DcmEVR> allowed)
{
  return std::find(allowed.begin(), allowed.end(), vr) != allowed.end();
}

/// Whether an element may have the VR where the dictionary has `asked`, which may stand for several.
bool mayBe(DcmEVR vr, DcmEVR asked)
{
  switch (asked)
  {
  case EVR_xs:
    return isOneOf(vr, {EVR_xs, EVR_US, EVR_SS});
  case EVR_lt:
    return isOneOf(vr, {EVR_lt, EVR_US, EVR_SS, EVR_OW});
  case EVR_ox:
  case EVR_px:
    return isOneOf(vr, {EVR_ox, EVR_px, EVR_PixelData, EVR_OB, EVR_OW});
  default:
    return DcmVR(asked).getValidEVR() == vr;
  }
}

bool isNumeric(DcmEVR vr)
{
  return isOneOf(vr, {EVR_US, EVR_SS, EVR_UL, EVR_SL, EVR_FL, EVR_FD});
}

/// The element of the VR with the same value; null where there is none.
std::unique_ptr<DcmElement> under(DcmEVR vr, DcmElement& element)
{
  const bool isRaw = isOneOf(element.ident(), {EVR_UN, EVR_OB});
  const bool isText = DcmVR(vr).isaString() != OFFalse;
  DcmElement* made = nullptr;
  if (!element.isLeaf() || !(isText || (isNumeric(vr) && !isRaw)) ||
      DcmItem::newDicomElementWithVR(made, DcmTag(element.getTag(), DcmVR(vr))).bad())
    return nullptr;
  std::unique_ptr<DcmElement> owner(made);
  std::string bytes;
  OFString text;
  if (isRaw ? dicom::readBytes(element, bytes).bad() : element.getOFStringArray(text).bad())
    return nullptr;
  if (!isRaw)
    bytes = text.c_str();
  const bool isPut = owner->putString(base::trimmed(bytes.substr(0, bytes.find('\0'))).c_str()).good();
  return isPut ? std::move(owner) : nullptr;
}

/// UN may stand for any VR (PS3.5 6.2.2), and does so where a length does not fit; a text is made readable.
void examineElement(Examination& state, const Placed& where, DcmElement& element, DictionaryVrs& dictionary)
{
  const DcmTagKey tag = element.getTag();
  if (tag.isPrivate())
    return;
  const DcmEVR vr = element.ident(), asked = dictionary.of(tag);
  if (vr == asked || isOneOf(asked, {EVR_UN, EVR_UNKNOWN}) || mayBe(vr, asked) ||
      (vr == EVR_UN && !DcmVR(asked).isaString()))
    return;
  const DcmEVR mended = DcmVR(asked).getValidEVR();
  Examination::Remedy remedy;
  if (under(mended, element))
    remedy = [where, &element, tag, mended]
    {
      where.item.insert(under(mended, element).release(), true);
      where.contents.change(tag);
    };
  state.find(where, tag, base::joined("the VR is ", DcmVR(vr).getVRName(), ", not ", DcmVR(asked).getVRName()),
             std::move(remedy));
}

void examineElements(Examination& state, const Placed& where, DictionaryVrs& dictionary)
{
  for (Contents::Entry& entry : eachElementOf(where))
  {
    examineElement(state, where, *entry.element, dictionary);
    for (const Placed& item : itemsOf(where, entry))
      examineElements(state, item, dictionary);
  }
}

} // namespace

void examineVrs(Examination& state)
{
  static thread_local DictionaryVrs dictionary;
  dictionary.begin();
  examineElements(state, state.root(), dictionary);
}

void examinePixels(Examination& state)
{
  for (const DcmTagKey& tag : {DCM_PixelData, DCM_FloatPixelData, DCM_DoubleFloatPixelData})
    if (has(state.root(), tag))
      state.find(state.root(), tag, "a presentation state has no pixels", removing(state.root(), tag));
}

} // namespace tarn::conformance

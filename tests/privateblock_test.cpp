#include "tests/support/TempDir.h"

#include "dicom/values.h"
#include "dicom/loadFile.h"
#include "privateblock/PBItem.h"
#include "privateblock/privateTags.h"

#include <dcmtk/config/osconfig.h>
#include <dcmtk/dcmdata/dcdicent.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <memory>
#include <set>
#include <sstream>
#include <string>

namespace
{

/// Inserts elements of the private group, given as listed() tells them.
void insert(DcmItem& item, const std::string& elements)
{
  std::istringstream text(elements);
  for (std::string number, rest; text >> number && std::getline(text >> std::ws, rest, ',');)
  {
    const DcmVR vr = rest.substr(0, 2) == "??" ? DcmVR(EVR_UNKNOWN) : DcmVR(rest.substr(0, 2).c_str());
    const std::string value = rest.substr(3);
    const auto tag = static_cast<Uint16>(std::stoul(number, nullptr, 16));
    DcmElement* element = nullptr;
    ASSERT_TRUE(DcmItem::newDicomElementWithVR(element, DcmTag(PBItem::kGroup, tag, vr)).good()) << elements;
    const OFCondition put = vr.isaString()
                                ? element->putString(value.c_str())
                                : element->putUint8Array(reinterpret_cast<const Uint8*>(value.data()), value.size());
    ASSERT_TRUE(put.good()) << put.text();
    ASSERT_TRUE(item.insert(element, true).good());
  }
}

std::string hex(unsigned value)
{
  char text[8];
  std::snprintf(text, sizeof text, "%04X", value);
  return text;
}

/// The item's elements of the private group: "0010 LO:PB group A, 1094 UN:abc", padding and NULs left out.
std::string listed(DcmItem& item)
{
  std::string list;
  for (DcmObject* object = nullptr; (object = item.nextInContainer(object)) != nullptr;)
  {
    if (object->getGTag() != PBItem::kGroup)
      continue;
    std::string bytes;
    tarn::dicom::readBytes(*dynamic_cast<DcmElement*>(object), bytes);
    bytes.erase(std::remove(bytes.begin(), bytes.end(), '\0'), bytes.end());
    list +=
        (list.empty() ? "" : ", ") + hex(object->getETag()) + ' ' + DcmVR(object->getVR()).getVRName() + ":" + bytes;
  }
  return list;
}

/// Creators of another in all slots up to `last`.
std::string takenTo(unsigned last)
{
  std::string creators = "0010 LO:OTHER";
  for (unsigned slot = 0x11; slot <= last; ++slot)
    creators += ", " + hex(slot) + " LO:OTHER";
  return creators;
}

struct LegacyRow
{
  const char* name;
  std::string given, expected;
  bool moveCanonic = false;
};

const LegacyRow kLegacyRows[] = {
    {"SlotOfAnother", "0010 LO:X, BA94 OB:ab", "0010 LO:X, 0011 LO:PB group A, 1194 OB:ab"},
    {"OurLaterSlot", "0010 LO:X, 0011 LO:Y, 0012 LO:PB group A, DA01 UN:ab",
     "0010 LO:X, 0011 LO:Y, 0012 LO:PB group A, 1241 UN:ab"},
    {"CreatorAsUN", "0010 UN:PB group A, BA94 UN:ab", "0010 UN:PB group A, 0011 LO:PB group A, 1194 UN:ab"},
    {"OurLegacyCreator", "00BA LO:Quillbrookes, BA94 UN:ab", "0010 LO:PB group A, 1094 UN:ab"},
    {"UnreadableLegacyCreator", "00BA UN:whoever, BA94 UN:ab", "0010 LO:PB group A, 1094 UN:ab"},
    {"EmptyLegacyCreator", "00DA LO:, DA01 UN:ab", "00DA LO:, DA01 UN:ab"},
    {"OneLegacyBlockOfTwo", "00BA LO:OTHER, 00DA LO:Quillbrookes, BA94 UN:ab, DA01 UN:cd",
     "0010 LO:PB group A, 00BA LO:OTHER, 1041 UN:cd, BA94 UN:ab"},
    {"InTheOrderOfTheKeys", "BA00 UN:a, BA31 UN:b, BABA UN:c, DA38 UN:d, DA80 UN:e",
     "0010 LO:PB group A, 100E UN:b, 1010 UN:a, 101D UN:c, 103A UN:e, 1065 UN:d"},
    {"NoShortKey", "00BA LO:Quillbrookes, 00DA LO:Quillbrookes, BA08 UN:ab", ""},
    {"CanonicSlotWhenAsked", "0010 LO:X, 10FE ST:ab", "0010 LO:X, 0011 LO:PB group A, 11FE ST:ab", true},
    {"CanonicSlotAndLegacyForOnePlace", "0010 LO:X, 1094 UN:canonic, BA94 UN:legacy",
     "0010 LO:X, 0011 LO:PB group A, 1194 UN:canonic", true},
    {"LastSlotBelowTheLegacyBlocks", takenTo(0xB9) + ", BA94 UN:ab",
     takenTo(0xB9) + ", 00BA LO:PB group A, BA94 UN:ab"},
    {"LastSlot", takenTo(0xFE) + ", 1094 UN:ab", takenTo(0xFE) + ", 00FF LO:PB group A, FF94 UN:ab", true},
};

/// Their VR stays, also where the dictionary has one of its own for the element.
TEST(LegacyElements, MoveIntoTheBlockOfTheirItem)
{
  dcmDataDict.wrlock().addEntry(
      new DcmDictEntry(PBItem::kGroup, 0x94, DcmVR(EVR_FD), "State", 1, 1, "private", OFTrue, PBItem::kCreator));
  dcmDataDict.wrunlock();
  for (const LegacyRow& row : kLegacyRows)
  {
    DcmDataset dataset;
    DcmItem* nested = nullptr;
    dataset.findOrCreateSequenceItem(DCM_ReferencedSeriesSequence, nested, -2);
    insert(*nested, row.given);
    EXPECT_TRUE(row.moveCanonic ? handleCanonicAndOldPrivateTags(dataset) : handlePrivateTags(dataset));
    EXPECT_EQ(listed(*nested), row.expected) << row.name;
  }
}

TEST(PBItem, WithoutABlockNothingIsMoved)
{
  DcmDataset dataset;
  insert(dataset, "00BA LO:Quillbrookes, BA08 UN:no, BA94 UN:ab");
  EXPECT_FALSE(PBItem(dataset).relocateLegacyPrivateTags(false));
  EXPECT_EQ(listed(dataset), "BA08 UN:no, BA94 UN:ab");
}

/// An item with the elements given, and what the operations on it find and write.
struct Subject
{
  explicit Subject(const std::string& elements) { insert(dataset, elements); }
  OFCondition insertText()
  {
    auto made = std::make_unique<DcmLongText>(DcmTag(PBItem::canonicTag(1), EVR_LT));
    const OFCondition status = item.insertPB(8, made.get());
    if (status.good())
      static_cast<void>(made.release());
    return status;
  }

  DcmDataset dataset;
  PBItem item{dataset};
  DcmElement* element = nullptr;
  DcmSequenceOfItems* sequence = nullptr;
  DcmItem* nested = nullptr;
  const char* text = nullptr;
  const Uint8 bytes[2] = {'a', 'b'};
  const Uint16 words[2] = {'c', 'd'};
};

struct OperationRow
{
  const char* name;
  OFCondition (*run)(Subject&);
  std::string written; ///< nothing where there is nothing to find
};

const OperationRow kOperationRows[] = {
    {"FindElement", [](Subject& in) { return in.item.findAndGetPBElement(1, in.element, true); }, ""},
    {"FindString", [](Subject& in) { return in.item.findAndGetPBString(1, in.text); }, ""},
    {"FindSequence", [](Subject& in) { return in.item.findAndGetPBSequence(1, in.sequence); }, ""},
    {"FindItem", [](Subject& in) { return in.item.findAndGetPBSequenceItem(1, in.nested); }, ""},
    {"Copy", [](Subject& in) { return in.item.copyPrivateElement(1, in.item); }, ""},
    {"CreateItem", [](Subject& in) { return in.item.findOrCreatePBSequenceItem(6, in.nested); }, "1106 SQ:"},
    {"PutString", [](Subject& in) { return in.item.putAndInsertPBString(1, "text"); }, "1101 LO:text"},
    {"PutBytes", [](Subject& in) { return in.item.putAndInsertPBUint8Array(3, in.bytes, 2); }, "1103 OB:ab"},
    {"PutWords", [](Subject& in) { return in.item.putAndInsertPBUint16Array(4, in.words, 2); }, "1104 OW:cd"},
    {"InsertEmpty", [](Subject& in) { return in.item.insertPBEmptyElement(5, EVR_ST); }, "1105 ST:"},
    {"Insert", [](Subject& in) { return in.insertText(); }, "1108 LT:"},
};

const std::string kOther = "0010 LO:OTHER", kSecondSlot = kOther + ", 0011 LO:PB group A, ";
const std::string kFull = takenTo(0xFF) + ", BA94 UN:ab";

TEST(PBItem, UsesTheFirstFreeSlotOrFails)
{
  for (const OperationRow& row : kOperationRows)
  {
    SCOPED_TRACE(row.name);
    Subject subject(kOther), full(kFull);
    EXPECT_STREQ(row.run(subject).text(), row.written.empty() ? "Tag not found" : "Normal");
    EXPECT_EQ(listed(subject.dataset), row.written.empty() ? kOther : kSecondSlot + row.written);
    EXPECT_TRUE(row.run(full) == EC_PBPrivateTagProblem);
    EXPECT_EQ(listed(full.dataset), kFull);
  }
}

TEST(PBItem, HasNoBlockWithoutASlot)
{
  Subject full(kFull);
  DcmTag tag(PBItem::kGroup, 0xBA94);
  EXPECT_FALSE(full.item.calcPrivateBlock(false));
  EXPECT_FALSE(full.item.checkAndReservePrivateBlock());
  EXPECT_FALSE(full.item.convertTag(tag));
  EXPECT_FALSE(full.item.removePB(0x94));
  EXPECT_TRUE(full.item.insertPB(7, nullptr).bad());
  full.dataset.findOrCreateSequenceItem(DCM_ReferencedSeriesSequence, full.nested, -2);
  EXPECT_FALSE(handlePrivateTags(full.dataset)) << "whatever the items have";
  EXPECT_EQ(listed(full.dataset), kFull);
}

TEST(PBItem, KnowsAShortKeyOfItsOwnForEachLegacyElement)
{
  std::set<unsigned short> keys;
  unsigned short key = 0;
  for (unsigned element = 0x1100; element <= 0xFFFF; ++element)
    if (PBItem::getCanonicKey(DcmTagKey(PBItem::kGroup, static_cast<Uint16>(element)), key))
      keys.insert(key);
  EXPECT_EQ(keys.size(), 65U);
}

TEST(PBItem, SearchesSequencesWhenAsked)
{
  DcmDataset dataset;
  DcmItem *first = nullptr, *second = nullptr, *deep = nullptr;
  dataset.findOrCreateSequenceItem(DCM_ReferencedSeriesSequence, first, -2);
  dataset.findOrCreateSequenceItem(DCM_ReferencedSeriesSequence, second, -2);
  second->findOrCreateSequenceItem(DCM_ReferencedImageSequence, deep, -2);
  const auto found = [&](bool searchIntoSub)
  {
    DcmElement* element = nullptr;
    std::string value = PBItem(dataset).findAndGetPBElement(2, element, searchIntoSub).text();
    if (element)
      tarn::dicom::readBytes(*element, value);
    return value;
  };
  insert(*deep, "BA02 LT:deep");
  EXPECT_EQ(found(false), "Tag not found");
  insert(*first, "BA02 UN:first1");
  EXPECT_EQ(found(true), "first1") << "the item that comes first counts";
  insert(dataset, "BA02 LT:here");
  EXPECT_EQ(found(true), "here") << "the sequences count after their parent";
}

TEST(PBItem, ForgetsTheBlockWithAllPrivateElements)
{
  Subject subject(kSecondSlot + "1101 LO:text");
  subject.dataset.putAndInsertString(DCM_PatientName, "A");
  EXPECT_EQ(subject.item.getTag(1).getElement(), 0x1101);
  subject.item.nukePrivateTags();
  EXPECT_EQ(listed(subject.dataset), "");
  EXPECT_EQ(subject.item.getTag(1).getElement(), 0x1001);
  EXPECT_EQ(subject.dataset.card(), 2U) << "the name and the new creator";
}

TEST(PBItem, ConvertsALegacyTag)
{
  Subject subject(kOther);
  DcmTag tag(PBItem::kGroup, 0xDA63, DcmVR(EVR_LT));
  EXPECT_TRUE(subject.item.convertTag(tag));
  EXPECT_EQ(tag, DcmTagKey(PBItem::kGroup, 0x117B));
  EXPECT_STREQ(tag.getPrivateCreator(), "PB group A");
  EXPECT_EQ(tag.getEVR(), EVR_LT);
  EXPECT_TRUE(subject.item.isObjectOurPrivateElement(DcmLongText(tag)));
  EXPECT_FALSE(subject.item.isObjectOurPrivateElement(DcmLongText(DcmTag(PBItem::kGroup, 0x107B))));
}

TEST(PBItem, UpdatesACanonicTagAndNoOther)
{
  Subject subject(kOther);
  DcmTag canonic = PBItem::canonicTag(0x94), other(PBItem::kGroup, 0x1294);
  EXPECT_TRUE(checkAndUpdateCanonicPrivateTag(subject.dataset, canonic));
  EXPECT_EQ(canonic, DcmTagKey(PBItem::kGroup, 0x1194));
  EXPECT_TRUE(checkAndUpdateCanonicPrivateTag(subject.dataset, other));
  EXPECT_EQ(other, DcmTagKey(PBItem::kGroup, 0x1294));
}

TEST(PBItem, TellsCreatorsFromElementsByTheirNumber)
{
  std::string kinds;
  for (const int number : {0x000F, 0x0010, 0x00FF, 0x0100, 0x0FFF, 0x1000})
  {
    const DcmTag tag(PBItem::kGroup, static_cast<Uint16>(number));
    kinds += PBItem::isOurPrivateCreator(tag) ? 'c' : PBItem::isOurPrivateTagKey(tag) ? 'e' : '-';
  }
  EXPECT_EQ(kinds, "-cc--e");
  EXPECT_FALSE(PBItem::isOurPrivateCreator(DcmTag(0xF217, 0x0010)));
  EXPECT_FALSE(PBItem::isOurPrivateTagKey(DcmTagKey(0xF217, 0x1000)));
}

TEST(PrivateTags, AFileIsConvertedInPlaceWithItsVRs)
{
  const TempDir dir;
  const std::string path = dir / "state";
  EXPECT_STREQ(convertFilePrivateTags(path).text(), "No such file or directory");
  const std::string known = "0010 LO:PB group A, 1001 OB:o, 1002 LT:l , 1005 UN:n, 1010 UN:?";
  const std::string unknown = "0010 LO:PB group A, 1001 ??:o, 1002 ??:l , 1005 ??:n, 1010 ??:?";
  for (const E_TransferSyntax syntax : {EXS_LittleEndianExplicit, EXS_BigEndianExplicit, EXS_LittleEndianImplicit})
  {
    SCOPED_TRACE(DcmXfer(syntax).getXferName());
    DcmFileFormat file, saved;
    file.getDataset()->putAndInsertString(DCM_SOPClassUID, UID_GrayscaleSoftcopyPresentationStateStorage);
    file.getDataset()->putAndInsertString(DCM_SOPInstanceUID, "1.2");
    insert(*file.getDataset(), "00BA LO:Quillbrookes, BA01 OB:o, BA02 LT:l, BA05 UN:n, BA00 ??:?");
    ASSERT_TRUE(file.saveFile(path.c_str(), syntax).good());
    ASSERT_STREQ(convertFilePrivateTags(path).text(), "Normal");
    ASSERT_TRUE(tarn::dicom::loadFile(saved, path).good());
    EXPECT_EQ(saved.getDataset()->getOriginalXfer(), syntax);
    EXPECT_EQ(listed(*saved.getDataset()), syntax == EXS_LittleEndianImplicit ? unknown : known);
  }
}

} // namespace

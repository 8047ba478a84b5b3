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
#include <sstream>
#include <string>
#include <tuple>
#include <vector>

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

TEST(PrivateTags, LegacyElementsMoveIntoTheBlockOfEachItem)
{
  const struct
  {
    const char* odd;
    std::string given, expected;
    bool moveCanonic = false;
  } rows[] = {
      {"legacy without creator", "BA94 LT:abcd", "0010 LO:PB group A, 1094 LT:abcd"},
      {"another's slot 10", "0010 LO:X, BA94 OB:ab", "0010 LO:X, 0011 LO:PB group A, 1194 OB:ab"},
      {"ours in slot 12", "0010 LO:X, 0011 LO:Y, 0012 LO:PB group A, DA01 UN:ab",
       "0010 LO:X, 0011 LO:Y, 0012 LO:PB group A, 1241 UN:ab"},
      {"the first free slot wins over a later one of ours", "0010 LO:X, 0012 LO:PB group A, BA94 UN:ab",
       "0010 LO:X, 0011 LO:PB group A, 0012 LO:PB group A, 1194 UN:ab"},
      {"creator as UN", "0010 UN:PB group A, BA94 UN:ab", "0010 UN:PB group A, 0011 LO:PB group A, 1194 UN:ab"},
      {"small letters", "0010 LO:pb group a, BA94 UN:ab", "0010 LO:pb group a, 0011 LO:PB group A, 1194 UN:ab"},
      {"legacy creator ours", "00BA LO:Quillbrookes, BA94 UN:ab", "0010 LO:PB group A, 1094 UN:ab"},
      {"legacy creator unreadable", "00BA UN:whoever, BA94 UN:ab", "0010 LO:PB group A, 1094 UN:ab"},
      {"legacy creator of another", "00BA LO:OTHER, BA94 UN:ab", "00BA LO:OTHER, BA94 UN:ab"},
      {"legacy creator empty", "00DA LO:, DA01 UN:ab", "00DA LO:, DA01 UN:ab"},
      {"one legacy block of two", "00BA LO:OTHER, 00DA LO:Quillbrookes, BA94 UN:ab, DA01 UN:cd",
       "0010 LO:PB group A, 00BA LO:OTHER, 1041 UN:cd, BA94 UN:ab"},
      {"no row in the map: deleted, creators too", "00BA LO:Quillbrookes, 00DA LO:Quillbrookes, BA08 UN:ab", ""},
      {"place taken", "0010 LO:PB group A, 1094 UN:new, BA94 UN:old", "0010 LO:PB group A, 1094 UN:new"},
      {"another's slot 10 stays", "0010 LO:X, 1094 UN:ab", "0010 LO:X, 1094 UN:ab"},
      {"slot 10 moves when asked", "0010 LO:X, 10FE ST:ab", "0010 LO:X, 0011 LO:PB group A, 11FE ST:ab", true},
      {"slot 10 and legacy for one place", "0010 LO:X, 1094 UN:canonic, BA94 UN:legacy",
       "0010 LO:X, 0011 LO:PB group A, 1194 UN:canonic", true},
      {"a slot below the legacy ones", takenTo(0xB9) + ", BA94 UN:ab",
       takenTo(0xB9) + ", 00BA LO:PB group A, BA94 UN:ab"},
      {"the last slot", takenTo(0xFE) + ", 1094 UN:ab", takenTo(0xFE) + ", 00FF LO:PB group A, FF94 UN:ab", true},
  };
  for (const bool known : {false, true}) // to the dictionary, which then has a VR of its own for the element
  {
    if (known)
    {
      dcmDataDict.wrlock().addEntry(
          new DcmDictEntry(PBItem::kGroup, 0x94, DcmVR(EVR_FD), "State", 1, 1, "private", OFTrue, PBItem::kCreator));
      dcmDataDict.wrunlock();
    }
    for (const auto& row : rows)
    {
      DcmDataset dataset;
      DcmItem* nested = nullptr;
      dataset.findOrCreateSequenceItem(DCM_ReferencedSeriesSequence, nested, -2);
      insert(*nested, row.given);
      EXPECT_TRUE(row.moveCanonic ? handleCanonicAndOldPrivateTags(dataset) : handlePrivateTags(dataset)) << row.odd;
      EXPECT_EQ(listed(*nested), row.expected) << row.odd << known;
    }
  }
}

TEST(PBItem, WithoutABlockNothingIsMoved)
{
  DcmDataset dataset;
  insert(dataset, "00BA LO:Quillbrookes, BA08 UN:no, BA94 UN:ab");
  EXPECT_FALSE(PBItem(dataset).relocateLegacyPrivateTags(false));
  EXPECT_EQ(listed(dataset), "BA08 UN:no, BA94 UN:ab");
}

TEST(PBItem, WithoutASlotEveryOperationFails)
{
  DcmDataset dataset, other;
  const std::string before = takenTo(0xFF) + ", BA94 UN:ab";
  insert(dataset, before);
  PBItem item(dataset), destination(other);
  DcmElement* element = nullptr;
  const std::unique_ptr<DcmElement> unused(new DcmLongString(PBItem::canonicTag(1)));
  const char* text = nullptr;
  DcmSequenceOfItems* sequence = nullptr;
  DcmItem* nested = nullptr;
  const Uint8 byte = 1;
  const Uint16 word = 1;
  for (const OFCondition& status :
       {item.findAndGetPBElement(1, element, true), item.findAndGetPBString(1, text),
        item.findAndGetPBSequence(1, sequence), item.findAndGetPBSequenceItem(1, nested),
        item.findOrCreatePBSequenceItem(1, nested), item.putAndInsertPBString(1, "x"),
        item.putAndInsertPBUint8Array(1, &byte, 1), item.putAndInsertPBUint16Array(1, &word, 1),
        item.insertPBEmptyElement(1), item.insertPB(1, unused.get()), item.copyPrivateElement(1, destination)})
    EXPECT_TRUE(status == EC_PBPrivateTagProblem) << status.text();
  DcmTag tag(PBItem::kGroup, 0xBA94);
  EXPECT_FALSE(item.calcPrivateBlock(false) || item.checkAndReservePrivateBlock() || item.convertTag(tag));
  EXPECT_FALSE(item.removePB(0x94) || handlePrivateTags(dataset));
  EXPECT_EQ(listed(dataset), before);
}

TEST(PBItem, KeyMap)
{
  std::string map;
  for (unsigned element = 0x1100; element <= 0xFFFF; ++element)
    if (unsigned short key = 0; PBItem::getCanonicKey(DcmTagKey(PBItem::kGroup, static_cast<Uint16>(element)), key))
      map += hex(element) + ":" + hex(key).substr(2) + " ";
  EXPECT_EQ(map,
            "BA00:10 BA01:01 BA02:02 BA03:03 BA04:04 BA05:05 BA06:06 BA07:07 BA11:11 BA12:12 BA21:13 BA22:14 BA31:0E "
            "BA41:1A BA42:1B BA51:15 BA52:16 BA53:17 BA54:18 BA61:2A BA62:2B BA71:21 BA72:22 BA73:23 BA74:24 BA75:25 "
            "BA81:31 BA82:32 BA83:33 BA91:34 BA92:35 BA93:36 BA94:94 BAA0:37 BAA1:38 BABA:1D DA01:41 DA02:42 DA03:43 "
            "DA04:44 DA11:51 DA12:52 DA13:53 DA14:54 DA15:55 DA21:61 DA31:62 DA32:63 DA33:64 DA38:65 DA41:6A DA42:6B "
            "DA43:6C DA51:71 DA52:72 DA53:73 DA61:76 DA62:7A DA63:7B DA71:0A DA72:0B DA73:0C DA74:0D DA80:3A DADA:1E ");
}

TEST(PBItem, SearchesSequencesWhenAsked)
{
  DcmDataset dataset;
  DcmItem *empty = nullptr, *outer = nullptr, *inner = nullptr;
  dataset.findOrCreateSequenceItem(DCM_ReferencedSeriesSequence, empty, -2);
  dataset.findOrCreateSequenceItem(DCM_ReferencedSeriesSequence, outer, -2);
  outer->findOrCreateSequenceItem(DCM_ReferencedImageSequence, inner, -2);
  const std::tuple<DcmItem*, const char*, const char*, const char*> rows[] = {
      {inner, "BA02 LT:deep", "Tag not found", "deep"},
      {empty, "BA02 UN:first1", "Tag not found", "first1"},
      {&dataset, "BA02 LT:here", "here", "here"},
  };
  for (const auto& [item, given, here, anywhere] : rows)
  {
    insert(*item, given);
    for (const bool search : {false, true})
    {
      DcmElement* element = nullptr;
      std::string found = PBItem(dataset).findAndGetPBElement(2, element, search).text();
      if (element)
        tarn::dicom::readBytes(*element, found);
      EXPECT_EQ(found, search ? anywhere : here);
    }
  }
}

TEST(PBItem, WritesUnderItsCreator)
{
  DcmDataset dataset, other;
  insert(dataset, "0010 LO:OTHER");
  insert(other, "BA02 LT:legacy");
  PBItem item(dataset), source(other);
  const Uint8 bytes[] = {'a', 'b'};
  const Uint16 words[] = {'c', 'd'};
  DcmItem* nested = nullptr;
  EXPECT_TRUE(item.putAndInsertPBString(1, "old").good() && item.putAndInsertPBString(1, "text").good());
  EXPECT_TRUE(source.copyPrivateElement(2, item).good());
  EXPECT_TRUE(item.putAndInsertPBUint8Array(3, bytes, 2).good());
  EXPECT_TRUE(item.putAndInsertPBUint16Array(4, words, 2).good());
  EXPECT_TRUE(item.insertPBEmptyElement(5, EVR_ST).good());
  EXPECT_TRUE(item.findOrCreatePBSequenceItem(6, nested).good() && nested);
  EXPECT_TRUE(item.insertPB(7, nullptr).bad());
  EXPECT_TRUE(item.findOrCreatePBSequenceItem(1, nested).bad() && !nested) << "a text is no sequence";
  EXPECT_STREQ(source.copyPrivateElement(9, item).text(), "Tag not found");
  EXPECT_TRUE(item.insertPB(8, std::make_unique<DcmLongText>(DcmTag(PBItem::canonicTag(1), EVR_LT)).release()).good());
  EXPECT_EQ(listed(dataset), "0010 LO:OTHER, 0011 LO:PB group A, 1101 LO:text, 1102 LT:legacy, 1103 OB:ab, 1104 OW:cd, "
                             "1105 ST:, 1106 SQ:, 1108 LT:");
  EXPECT_TRUE(std::unique_ptr<DcmElement>(item.removePB(3)));
  EXPECT_EQ(item.removePB(3), nullptr);
  dataset.putAndInsertString(DCM_PatientName, "A");
  item.nukePrivateTags();
  EXPECT_EQ(listed(dataset), "");
  EXPECT_EQ(item.getTag(1).getElement(), 0x1001);
  EXPECT_EQ(dataset.card(), 2U);
}

TEST(PBItem, TellsItsTags)
{
  DcmDataset dataset;
  insert(dataset, "0010 LO:OTHER");
  PBItem item(dataset);
  DcmTag legacy(PBItem::kGroup, 0xDA63, DcmVR(EVR_LT)), foreign(PBItem::kGroup, 0x1294);
  EXPECT_TRUE(item.convertTag(legacy));
  EXPECT_EQ(legacy.toString() + legacy.getPrivateCreator() + legacy.getVRName(), "(f215,117b)PB group ALT");
  EXPECT_FALSE(item.convertTag(foreign));
  DcmTag canonic = PBItem::canonicTag(0x94);
  EXPECT_EQ(canonic.toString() + canonic.getPrivateCreator(), "(f215,1094)PB group A");
  EXPECT_TRUE(checkAndUpdateCanonicPrivateTag(dataset, canonic) && checkAndUpdateCanonicPrivateTag(dataset, foreign));
  EXPECT_EQ(canonic.toString() + foreign.toString(), "(f215,1194)(f215,1294)");
  EXPECT_TRUE(item.isObjectOurPrivateElement(DcmLongText(DcmTag(PBItem::kGroup, 0x11FF))));
  EXPECT_FALSE(item.isObjectOurPrivateElement(DcmLongText(DcmTag(PBItem::kGroup, 0x10FF))));
  std::string kinds; // a letter each: Creator, Key, neither
  for (const Uint16 group : {Uint16{0xF215}, Uint16{0xF217}})
    for (const Uint16 element : std::vector<Uint16>{0x0F, 0x10, 0xFF, 0x100, 0x0FFF, 0x1000})
      kinds += PBItem::isOurPrivateCreator(DcmTag(group, element))     ? 'C'
               : PBItem::isOurPrivateTagKey(DcmTagKey(group, element)) ? 'K'
                                                                       : 'n';
  EXPECT_EQ(kinds, "nCCnnKnnnnnn");
}

TEST(PrivateTags, AFileIsConvertedInPlaceWithItsVRs)
{
  const TempDir dir;
  const std::string path = dir.path() / "state";
  const char* const known = "0010 LO:PB group A, 1001 OB:o, 1002 LT:l , 1005 UN:n, 1010 UN:?";
  const char* const unknown = "0010 LO:PB group A, 1001 ??:o, 1002 ??:l , 1005 ??:n, 1010 ??:?";
  for (const E_TransferSyntax syntax : {EXS_LittleEndianExplicit, EXS_BigEndianExplicit, EXS_LittleEndianImplicit})
  {
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
  EXPECT_STREQ(convertFilePrivateTags(dir.path() / "none").text(), "No such file or directory");
}

} // namespace

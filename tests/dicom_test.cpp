#include "Files.h"
#include "LogFile.h"
#include "TempDir.h"

#include "Dictionary.h"
#include "ElementText.h"
#include "EncodedItems.h"
#include "FileReader.h"
#include "FileWriter.h"
#include "ToolkitLog.h"

#include <dcmtk/config/osconfig.h>
#include <dcmtk/dcmdata/dcdicent.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <tuple>

#include <sys/stat.h>
#include <unistd.h>

using namespace tarn::dicom;
using namespace std::string_literals;
namespace fs = std::filesystem;

namespace
{

const E_TransferSyntax kSyntaxes[] = {EXS_LittleEndianImplicit, EXS_LittleEndianExplicit, EXS_BigEndianExplicit,
                                      EXS_DeflatedLittleEndianExplicit};
const DcmTag kLast(0xF215, 0x1094, EVR_OB); // after everything else in the files of these tests

[[maybe_unused]] const bool kQuiet = (redirectToolkitLog(), true);

/// A state, as if read from a file, with a nested sequence and a last element of `length` bytes.
std::unique_ptr<DcmFileFormat> makeState(std::size_t length)
{
  auto file = std::make_unique<DcmFileFormat>();
  DcmDataset& dataset = *file->getDataset();
  dataset.putAndInsertString(DCM_SOPClassUID, UID_GrayscaleSoftcopyPresentationStateStorage);
  dataset.putAndInsertString(DCM_SOPInstanceUID, "1.2.3");
  DcmItem *series = nullptr, *image = nullptr;
  dataset.findOrCreateSequenceItem(DCM_ReferencedSeriesSequence, series, -2);
  series->findOrCreateSequenceItem(DCM_ReferencedImageSequence, image, -2);
  image->putAndInsertString(DCM_ReferencedSOPInstanceUID, "1.2.3.4");
  dataset.putAndInsertUint16(DCM_ImageRotation, 270);
  dataset.putAndInsertString(DcmTag(0xF215, 0x0010, EVR_LO), "X");
  const std::vector<Uint8> value(length, 'v');
  dataset.putAndInsertUint8Array(kLast, value.data(), value.size());
  dataset.updateOriginalXfer();
  return file;
}

/// What loading `path` says, and the last value.
std::string load(const fs::path& path)
{
  DcmFileFormat file;
  DcmElement* element = nullptr;
  std::string bytes;
  const OFCondition status = loadFile(file, path);
  if (file.getDataset()->findAndGetElement(kLast, element).bad() || readBytes(*element, bytes).bad())
    bytes = "(none)";
  return status.text() + (" " + bytes);
}

TEST(FileWriter, WritesWhatTheToolkitWrites)
{
  const TempDir dir;
  const fs::path input = dir.path() / "input", ours = dir.path() / "ours", theirs = dir.path() / "theirs";
  for (const E_TransferSyntax syntax : kSyntaxes)
    for (const std::size_t length : {0U, 1U, 65536U, 65537U, 1U << 20U})
    {
      SCOPED_TRACE(DcmXfer(syntax).getXferName() + " "s + std::to_string(length));
      ASSERT_TRUE(makeState(length)->saveFile(input.c_str(), syntax).good());
      DcmFileFormat file;
      ASSERT_TRUE(loadFile(file, input).good());
      ASSERT_STREQ(saveFile(file, ours).text(), "Normal");
      ASSERT_TRUE(file.saveFile(theirs.c_str()).good());
      EXPECT_TRUE(contents(ours) == contents(theirs));
      EXPECT_TRUE(load(ours) == "Normal " + std::string(length, 'v') + (length % 2 ? "\0"s : ""s));
    }
}

/// Adds items to a sequence of its file, with an element of each length, and has them encoded one by one.
void annotate(DcmDataset& dataset, bool encoded)
{
  dataset.putAndInsertUint32(DcmTag(0x0070, 0x0000, EVR_UL), 0); // the length of the group is written where it was
  DcmItem *annotation = nullptr, *object = nullptr, *style = nullptr;
  DcmSequenceOfItems* objects = nullptr;
  dataset.findOrCreateSequenceItem(DCM_GraphicAnnotationSequence, annotation, -2);
  for (const std::size_t length : {0U, 2U, 4000U, 4096U, 70000U})
  {
    annotation->findOrCreateSequenceItem(DCM_GraphicObjectSequence, object, -2);
    object->findOrCreateSequenceItem(DCM_LineStyleSequence, style, -2);
    style->putAndInsertFloat32(DCM_PatternOnOpacity, 0.5F);
    const std::vector<Float32> points(length / 4, 1.5F);
    object->putAndInsertFloat32Array(DCM_GraphicData, points.data(), points.size());
    object->putAndInsertString(DCM_UnformattedTextValue, std::string(length, 't').c_str());
    annotation->findAndGetSequence(DCM_GraphicObjectSequence, objects);
    EXPECT_TRUE(!encoded || EncodedItems::absorb(*objects, dataset.getOriginalXfer()).good());
  }
}

TEST(EncodedItems, AreWrittenAsTheItemsWere)
{
  const TempDir dir;
  const fs::path input = dir.path() / "input";
  for (const E_TransferSyntax syntax : kSyntaxes)
  {
    ASSERT_TRUE(makeState(3)->saveFile(input.c_str(), syntax).good());
    std::string written[2];
    for (const bool encoded : {false, true})
    {
      DcmFileFormat file;
      ASSERT_TRUE(loadFile(file, input).good());
      annotate(*file.getDataset(), encoded);
      ASSERT_TRUE(saveFile(file, dir / "output").good());
      written[encoded ? 1 : 0] = contents(dir / "output");
    }
    EXPECT_TRUE(written[0] == written[1]) << DcmXfer(syntax).getXferName();
  }
}

TEST(FileWriter, ReadOnlyStaysAndTheLongestNameFits)
{
  const TempDir dir;
  const fs::path closed = dir.path() / "closed", longest = dir.path() / std::string(255, 'n');
  fs::create_directory(closed);
  for (const fs::path& path : {dir.path() / "file", closed / "file"})
    put(path, "before");
  chmod((dir / "file").c_str(), 0444);
  chmod(closed.c_str(), 0555);
  chmod(dir.path().c_str(), 0777);
  const uid_t user = geteuid();
  ASSERT_EQ(user == 0 ? seteuid(65534) : 0, 0) << "permission bits do not hold for root";
  for (const fs::path& path : {dir.path() / "file", closed / "file"})
    EXPECT_STREQ(saveFile(*makeState(10), path).text(), "Permission denied") << path;
  EXPECT_STREQ(saveFile(*makeState(10), longest).text(), "Normal");
  EXPECT_STREQ(saveFile(*makeState(10), longest.string() + "n").text(), "File name too long");
  ASSERT_EQ(seteuid(user), 0);
  EXPECT_EQ(contents(dir.path() / "file") + contents(closed / "file"), "beforebefore");
  EXPECT_EQ(namesIn(dir.path()).size() + namesIn(closed).size(), 4U) << "nothing is left beside them";
  EXPECT_EQ(load(longest), "Normal vvvvvvvvvv");
  chmod(closed.c_str(), 0755);
}

std::string number(Uint32 value)
{
  return {reinterpret_cast<const char*>(&value), 4};
}

/// A file of that transfer syntax up to its dataset, and `dataset`.
std::string withHeader(E_TransferSyntax syntax, const std::string& dataset)
{
  const TempDir dir;
  const fs::path path = dir.path() / "header";
  auto state = makeState(0);
  DcmMetaInfo* meta = state->getMetaInfo();
  state->validateMetaInfo(syntax);
  const Uint32 length = meta->getLength(META_HEADER_DEFAULT_TRANSFERSYNTAX, EET_ExplicitLength);
  state->saveFile(path.c_str(), syntax);
  return contents(path).substr(0, 132 + length) + dataset;
}

/// `count` empty elements, big endian, of tags that ascend or descend from `first`.
std::string elements(Uint32 first, std::size_t count, int step)
{
  std::string bytes;
  for (std::size_t i = 0; i < count; ++i, first += static_cast<Uint32>(step))
  {
    for (const unsigned shift : {24U, 16U, 8U, 0U})
      bytes += static_cast<char>(first >> shift & 0xFFU);
    bytes += "LO\0\0"s;
  }
  return bytes;
}

TEST(FileReader, TheOrderOfElementsIsBounded)
{
  const std::pair<std::string, const char*> rows[] = {
      {elements(0x00300000, 50000, -2), "Elements are too far from ascending order"},
      {elements(0x00200000, 50000, 2), "Normal"},
      {elements(0xF2151001, 1, 2) + elements(0x00200000, 5000, 2), "Normal"},
  };
  const TempDir dir;
  for (const auto& [dataset, message] : rows)
  {
    put(dir / "file", withHeader(EXS_BigEndianExplicit, dataset));
    DcmFileFormat file;
    EXPECT_STREQ(loadFile(file, dir / "file").text(), message) << dataset.size();
  }
}

TEST(FileReader, ATruncatedFileNeverHasItsLastValue)
{
  const TempDir dir;
  const fs::path path = dir.path() / "state";
  for (const E_TransferSyntax syntax : kSyntaxes)
  {
    ASSERT_TRUE(makeState(6)->saveFile(path.c_str(), syntax).good());
    const std::string whole = contents(path);
    EXPECT_EQ(load(path), "Normal vvvvvv");
    const bool every = syntax == EXS_LittleEndianExplicit; // the others begin alike
    for (std::size_t length = every ? 0 : 300; length < whole.size(); length += every ? 1 : 5)
    {
      put(path, whole.substr(0, length));
      EXPECT_TRUE(load(path) != "Normal vvvvvv" || syntax == EXS_DeflatedLittleEndianExplicit) << length;
    }
  }
}

TEST(ElementText, ValuesThatServeAsKeys)
{
  const std::tuple<const char*, const char*, std::string, std::string, std::string> rows[] = {
      {"NUL pad", "UI", "1.2\0"s, "1.2", "1.2"},
      {"blank pad", "LO", "1.2 ", "1.2", "1.2"},
      {"every pad goes", "UN", "  1.2 \0 x"s, "1.2", "1.2"},
      {"two values", "UI", "1.2\\34", "1.2\\34", "(More than one value)"},
      {"empty", "UI", "", "(Value is empty)", "(Value is empty)"},
      {"just a pad", "UN", " \0"s, "(Value is empty)", "(Value is empty)"},
      {"a sequence", "SQ", "\xfe\xff\0\xe0\0\0\0\0"s, "(Invalid VR)", "(Invalid VR)"},
  };
  const TempDir dir;
  for (const auto& [odd, vr, bytes, text, uid] : rows)
  {
    const std::string length = number(static_cast<Uint32>(bytes.size()));
    const bool isLong = vr == "UN"s || vr == "SQ"s;
    put(dir.path() / "f", withHeader(EXS_LittleEndianExplicit,
                                     "\x08\0\x18\0"s + vr + (isLong ? "\0\0"s + length : length.substr(0, 2)) + bytes));
    DcmFileFormat file;
    ASSERT_STREQ(loadFile(file, dir.path() / "f").text(), "Normal") << odd;
    const auto outcome = [&](auto read)
    {
      std::string value = "stale";
      const OFCondition status = read(*file.getDataset(), DCM_SOPInstanceUID, value);
      return status.good() ? value : value + '(' + status.text() + ')';
    };
    EXPECT_EQ(outcome(readText), text) << odd;
    EXPECT_EQ(outcome(readUid), uid) << odd;
  }
  std::string value;
  EXPECT_STREQ(readUid(*makeState(0)->getDataset(), DCM_StudyInstanceUID, value).text(), "Tag not found");
}

TEST(ToolkitLog, GoesToTheLogger)
{
  const LogFile log;
  redirectToolkitLog();
  testing::internal::CaptureStderr();
  DCMDATA_ERROR("broken\nline");
  DCMDATA_WARN("odd");
  DCMDATA_INFO("not of interest");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  EXPECT_EQ(log.lines(), "error DCMTK: broken\\x0Aline\ninfo DCMTK: odd\n");
}

/// A data set that has an empty element for every attribute of the dictionary: those of a private creator in a block of
/// its own, those that repeat in the groups 50xx and 60xx once above the first.
std::unique_ptr<DcmFileFormat> makeEveryElement()
{
  auto file = makeState(0);
  DcmItem& dataset = *file->getDataset();
  DcmDataDictionary dictionary(OFFalse, OFTrue);
  std::map<Uint16, std::map<std::string, Uint16>> blocks;
  const auto add = [&](const DcmDictEntry& entry, Uint16 groupStep)
  {
    const auto group = static_cast<Uint16>(entry.getGroup() + groupStep);
    Uint16 element = entry.getElement();
    const char* creator = entry.getPrivateCreator();
    if (creator)
    {
      auto& ofGroup = blocks[group];
      const Uint16 block = ofGroup.try_emplace(creator, static_cast<Uint16>(0x10 + ofGroup.size())).first->second;
      dataset.putAndInsertString(DcmTag(group, block, EVR_LO), creator);
      element = static_cast<Uint16>(static_cast<unsigned>(block) << 8U | (element & 0xFFU));
    }
    if (group > 2)
      dataset.insertEmptyElement(DcmTag(group, element, creator));
  };
  for (auto entry = dictionary.normalBegin(); entry != dictionary.normalEnd(); ++entry)
    add(**entry, 0);
  for (auto entry = dictionary.repeatingBegin(); entry != dictionary.repeatingEnd(); ++entry)
    add(**entry, 2);
  return file;
}

std::string dumpOf(const fs::path& path)
{
  DcmFileFormat file;
  std::ostringstream dump;
  dump << loadFile(file, path).text() << '\n';
  file.print(dump);
  return dump.str();
}

/// Ends the process with 0 where files have the same dump with the dictionary on demand as with the text dictionary.
[[noreturn]] void compareDumps()
{
  unsetenv("DCMDICTPATH");
  const TempDir dir;
  const fs::path path = dir.path() / "file";
  std::vector<std::string> files;
  for (const E_TransferSyntax syntax : kSyntaxes)
  {
    makeEveryElement()->saveFile(path.c_str(), syntax);
    files.push_back(contents(path));
  }
  const std::string item = "\xfe\xff\0\xe0\xff\xff\xff\xff"s, end = "\xfe\xff\x0d\xe0\0\0\0\0\xfe\xff\xdd\xe0\0\0\0\0"s,
                    patient = "\x10\0\x10\0\4\0\0\0A^B "s;
  for (const std::string& implicit :
       {"\x08\0\x05\0\3\0\0\0abc"s + patient, // at an odd offset
        "\x06\x30\x20\0\xff\xff\xff\xff"s + item + "\x06\x30\x26\0\2\0\0\0Xy"s + end, "\x10\0\x10\0\4"s})
    files.push_back(withHeader(EXS_LittleEndianImplicit, implicit));
  files.push_back(patient); // no header
  std::vector<std::string> expected;
  for (const std::string& bytes : files)
    expected.push_back((put(path, bytes), dumpOf(path)));
  std::string error;
  for (std::size_t i = 0; i < files.size(); ++i)
  {
    dcmDataDict.wrlock().reloadDictionaries(OFFalse, OFFalse);
    dcmDataDict.wrunlock();
    if (put(path, files[i]); !setUpDictionary(error) || dumpOf(path) != expected[i])
      std::cerr << "file " << i << " differs; ";
  }
  std::cerr << std::count(expected[0].begin(), expected[0].end(), '\n') / 1000 << "000 lines";
  _exit(0);
}

TEST(DictionaryDeathTest, OnDemandReadsAsTheTextDictionary)
{
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(compareDumps(), testing::ExitedWithCode(0), testing::Eq("8000 lines"));
}

} // namespace

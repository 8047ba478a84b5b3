#include "tests/support/Files.h"
#include "tests/support/LogFile.h"
#include "tests/support/TempDir.h"

#include "dicom/dictionary.h"
#include "dicom/values.h"
#include "dicom/loadFile.h"
#include "dicom/saveFile.h"
#include "dicom/toolkitLog.h"

#include <dcmtk/config/osconfig.h>
#include <dcmtk/dcmdata/dcdicent.h>

#include <gtest/gtest.h>

#include <memory>
#include <sstream>
#include <string_view>
#include <utility>

#include <sys/stat.h>
#include <sys/xattr.h>
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

/// Bytes that the toolkit wrote, with the implementation of its version 3.6.7.
std::string asVersion367(std::string bytes)
{
  const std::pair<std::string_view, std::string_view> names[] = {
      {OFFIS_IMPLEMENTATION_CLASS_UID, "1.2.276.0.7230010.3.0.3.6.7"},
      {OFFIS_DTK_IMPLEMENTATION_VERSION_NAME, "OFFIS_DCMTK_367"}};
  for (const auto& [own, expected] : names)
    bytes.replace(bytes.find(own), own.size(), expected);
  return bytes;
}

TEST(FileWriter, WritesAgainWhatTheToolkitWrote)
{
  const TempDir dir;
  const fs::path input = dir.path() / "input", output = dir.path() / "output";
  for (const E_TransferSyntax syntax : kSyntaxes)
    for (const std::size_t length : {0U, 1U, 65536U, 65537U, 1U << 20U})
    {
      SCOPED_TRACE(DcmXfer(syntax).getXferName() + " "s + std::to_string(length));
      ASSERT_TRUE(makeState(length)->saveFile(input.c_str(), syntax).good());
      DcmFileFormat file;
      ASSERT_TRUE(loadFile(file, input).good());
      ASSERT_STREQ(saveFile(file, output).text(), "Normal");
      EXPECT_TRUE(contents(output) == asVersion367(contents(input)));
    }
}

TEST(FileWriter, WhatIsReadOnlyStays)
{
  const TempDir dir;
  const fs::path closed = dir.path() / "closed";
  const fs::path paths[] = {dir.path() / "file", closed / "file"};
  for (const fs::path& path : paths)
    put(path, "before");
  chmod(paths[0].c_str(), 0444);
  chmod(closed.c_str(), 0555);
  chmod(dir.path().c_str(), 0777);
  const uid_t user = geteuid();
  ASSERT_EQ(user == 0 ? seteuid(65534) : 0, 0) << "permission bits do not hold for root";
  for (const fs::path& path : paths)
    EXPECT_STREQ(saveFile(*makeState(10), path).text(), "Permission denied") << path;
  ASSERT_EQ(seteuid(user), 0);
  for (const fs::path& path : paths)
    EXPECT_EQ(contents(path), "before") << path;
  EXPECT_EQ(namesIn(dir.path()).size() + namesIn(closed).size(), 3U) << "nothing is left beside them";
  chmod(closed.c_str(), 0755);
}

/// A process has one umask: what it leaves is asked for once.
[[maybe_unused]] const mode_t kUmaskBefore = umask(027);

struct ModeRow
{
  const char* fact;
  mode_t before, after, source = 0; ///< what stands there, what comes, and of what that is a copy; 0: nothing
  bool isForeign = false;
  bool isLinked = false; ///< what stands there has another name
  gid_t sourceGroup = 0;
};

const ModeRow kModeRows[] = {
    {"a new file has what the umask leaves", 0, 0640},
    {"permissions are handed down", 0600, 0600},
    {"those of the group too", 0664, 0664},
    {"writing by all is not", 0666, 0664},
    {"neither execution nor a set-id bit is", 06755, 0644},
    {"nor is the sticky bit", 01777, 0664},
    {"what another account placed hands nothing down", 06777, 0640, 0, true},
    {"nor does it narrow", 0600, 0640, 0, true},
    {"a copy is as private as its source", 0, 0600, 0600},
    {"its owner may write it", 0, 0640, 0444},
    {"over an older copy", 0664, 0640, 0640},
    {"what has another name may be chosen by somebody", 0664, 0640, 0, false, true},
    {"members of the source's group are others", 0, 0600, 0640, false, false, 7},
    {"and may have less than others", 0, 0600, 0604, false, false, 7},
};

TEST(FileWriter, PermissionsComeFromWhatWasThereAndFromTheSource)
{
  if (geteuid() != 0)
    GTEST_SKIP() << "only root makes files of another account";
  for (const ModeRow& row : kModeRows)
    for (const std::size_t length : {10U, 11U}) // the same bytes, and others
    {
      SCOPED_TRACE(row.fact + " "s + std::to_string(length));
      const TempDir dir;
      const std::string path = dir / "file";
      struct stat source = {}, saved = {};
      stat(dir.path().c_str(), &source);
      source.st_mode = S_IFREG | row.source;
      source.st_gid = row.sourceGroup;
      ASSERT_TRUE(row.before == 0 ||
                  (saveFile(*makeState(10), path).good() && chown(path.c_str(), row.isForeign ? 65534 : 0, 0) == 0 &&
                   chmod(path.c_str(), row.before) == 0 &&
                   (!row.isLinked || link(path.c_str(), (path + "2").c_str()) == 0)));
      EXPECT_STREQ(saveFile(*makeState(length), path, row.source == 0 ? nullptr : &source).text(), "Normal");
      ASSERT_EQ(stat(path.c_str(), &saved), 0);
      EXPECT_EQ(saved.st_mode & 07777U, row.after);
      EXPECT_EQ(saved.st_uid, 0U) << "its owner could change it";
    }
}

/// A folder's default access control list, as the system keeps it: everybody may read and write.
constexpr unsigned char kAllWrite[] = {2, 0, 0,    0,    1,    0,    6,    0, 0xFF, 0xFF, 0xFF, 0xFF, 4,    0,
                                       6, 0, 0xFF, 0xFF, 0xFF, 0xFF, 0x20, 0, 6,    0,    0xFF, 0xFF, 0xFF, 0xFF};

TEST(FileWriter, AFolderSaysMoreOfNewFilesThanTheUmask)
{
  const TempDir dir, open;
  if (setxattr(open.path().c_str(), "system.posix_acl_default", kAllWrite, sizeof kAllWrite, 0) != 0)
    GTEST_SKIP() << "the file system has no access control lists";
  for (const auto& [folder, mode] : {std::pair(&dir, 0640U), std::pair(&open, 0666U), std::pair(&dir, 0640U)})
  {
    const std::string path = *folder / "file";
    struct stat saved = {};
    ASSERT_TRUE(saveFile(*makeState(10), path).good());
    ASSERT_EQ(stat(path.c_str(), &saved), 0);
    EXPECT_EQ(saved.st_mode & 07777U, mode);
    unlink(path.c_str());
  }
}

TEST(FileWriter, ACopyTakesNoPreambleOver)
{
  const TempDir dir;
  const std::string input = dir / "input", output = dir / "output";
  ASSERT_TRUE(saveFile(*makeState(10), input).good());
  const std::string plain = contents(input);
  put(input, "#!/bin/sh\n" + plain.substr(10));
  DcmFileFormat file;
  struct stat source = {};
  ASSERT_TRUE(loadFile(file, input, LongValues::inMemory, &source).good());
  ASSERT_TRUE(saveFile(file, output, &source).good());
  EXPECT_TRUE(contents(output) == plain);
}

TEST(FileWriter, TheLongestNameFits)
{
  const TempDir dir;
  const std::string longest = dir / std::string(255, 'n');
  EXPECT_STREQ(saveFile(*makeState(10), longest).text(), "Normal");
  EXPECT_STREQ(saveFile(*makeState(10), longest + "n").text(), "File name too long");
  EXPECT_NE(contents(longest), "");
  EXPECT_EQ(namesIn(dir.path()).size(), 1U) << "nothing is left beside it";
}

/// A file of that transfer syntax up to its dataset, and `dataset`.
std::string withHeader(E_TransferSyntax syntax, const std::string& dataset)
{
  const TempDir dir;
  DcmFileFormat empty;
  empty.saveFile((dir / "header").c_str(), syntax);
  return contents(dir / "header") + dataset;
}

struct KeyRow
{
  const char* fact;
  std::string element; ///< its VR, length and value, explicit little endian
  std::string value, status = "Normal";
};

const KeyRow kKeyRows[] = {
    {"a NUL behind it", "UI\4\0x.2\0"s, "x.2"},
    {"a blank behind it", "LO\4\0x.2 "s, "x.2"},
    {"pads on both sides", "UN\0\0\x8\0\0\0  x.2 \0y"s, "x.2"},
    {"nothing", "UI\0\0"s, "", "Value is empty"},
    {"a sequence", "SQ\0\0\x8\0\0\0\xfe\xff\0\xe0\0\0\0\0"s, "", "Invalid VR"},
};

TEST(Values, AKeyIsReadWithoutItsPads)
{
  const TempDir dir;
  for (const KeyRow& row : kKeyRows)
  {
    SCOPED_TRACE(row.fact);
    put(dir / "file", withHeader(EXS_LittleEndianExplicit, "\x08\0\x18\0"s + row.element));
    DcmFileFormat file;
    ASSERT_STREQ(loadFile(file, dir / "file").text(), "Normal");
    std::string value = "stale";
    EXPECT_EQ(readText(*file.getDataset(), DCM_SOPInstanceUID, value).text(), row.status);
    EXPECT_EQ(value, row.value);
  }
}

std::string describe(const DcmDictEntry* entry)
{
  std::ostringstream description;
  entry ? description << *entry : description << "nothing";
  return description.str();
}

/// How many entries of `text` the process's own dictionary does not have, or has otherwise.
int missingOf(DcmDataDictionary& text)
{
  const DcmDataDictionary& dictionary = dcmDataDict.rdlock();
  int count = 0;
  const auto look = [&](const DcmDictEntry* entry)
  {
    const char* const creator = entry->getPrivateCreator();
    count += describe(dictionary.findEntry(*entry, creator)) != describe(text.findEntry(*entry, creator)) ? 1 : 0;
  };
  for (auto entry = text.normalBegin(); entry != text.normalEnd(); ++entry)
    look(*entry);
  for (auto entry = text.repeatingBegin(); entry != text.repeatingEnd(); ++entry)
    look(*entry);
  dcmDataDict.rdunlock();
  return count;
}

struct NeedRow
{
  const char* name;
  E_TransferSyntax syntax;
  std::string dataset;
  bool needed;
};

const NeedRow kNeedRows[] = {
    {"Explicit", EXS_LittleEndianExplicit, "\x08\0\x18\0UI\2\0001"s, false},
    {"BigEndian", EXS_BigEndianExplicit, "\0\x08\0\x18UI\0\2001"s, false},
    {"Implicit", EXS_LittleEndianImplicit, "\x08\0\x18\0\2\0\0\0001"s, true},
    {"Deflated", EXS_DeflatedLittleEndianExplicit, ""s, true},
    {"SequenceOfUndefinedLength", EXS_LittleEndianExplicit,
     "\x08\0\x15\x11SQ\0\0\xff\xff\xff\xff\xfe\xff\xdd\xe0\0\0\0\0"s, false},
    {"UnknownSequenceWhichIsImplicit", EXS_LittleEndianExplicit,
     "\x09\0\x15\x11UN\0\0\xff\xff\xff\xff\xfe\xff\xdd\xe0\0\0\0\0"s, true},
};

class Dictionary : public testing::TestWithParam<NeedRow>
{
protected:
  void SetUp() override
  {
    dcmDataDict.wrlock().reloadDictionaries(OFFalse, OFFalse);
    dcmDataDict.wrunlock();
    std::string error;
    ASSERT_TRUE(setUpDictionary(error)) << error;
    ASSERT_GT(missingOf(text), 5000);
  }
  void TearDown() override // for the other tests
  {
    dcmDataDict.wrlock().reloadDictionaries(OFFalse, OFTrue);
    dcmDataDict.wrunlock();
  }

  DcmDataDictionary text{OFFalse, OFTrue};
};

TEST_P(Dictionary, IsCompleteWhenTheFileIsNotAllExplicit)
{
  const TempDir dir;
  put(dir / "file", withHeader(GetParam().syntax, GetParam().dataset));
  DcmFileFormat file;
  loadFile(file, dir / "file");
  EXPECT_EQ(missingOf(text) == 0, GetParam().needed);
}

INSTANTIATE_TEST_SUITE_P(Each, Dictionary, testing::ValuesIn(kNeedRows),
                         [](const auto& row) { return row.param.name; });

TEST_F(Dictionary, LogOfTheToolkitNamesAnAttributeThatItDoesNotHaveYet)
{
  const LogFile log;
  redirectToolkitLog();
  testing::internal::CaptureStderr();
  DcmTag known(0x0008, 0x0018), unknown(0x0009, 0x1018);
  DCMDATA_ERROR(known.getTagName() << "\n" << known << ", " << unknown);
  DCMDATA_WARN(unknown.getTagName() << " " << unknown);
  DCMDATA_INFO("not of interest");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  EXPECT_EQ(log.lines(), "error DCMTK: SOPInstanceUID\\x0A(0008,0018), (0009,1018)\n"
                         "info DCMTK: Unknown Tag & Data (0009,1018)\n");
}

} // namespace

#include "StateFixture.h"

#include "DicomFile.h"
#include "PSConverter.h"
#include "StateWriter.h"
#include "annomend.h"
#include "fileTrees.h"

#include <functional>
#include <locale>
#include <tuple>

using namespace impsconverter;
namespace fs = std::filesystem;

namespace
{

using ConvertTest = StateFixture;

const std::string kOneId = "label\\ID+1.2/CT.1.2.3_1";

void remove(DcmItem& dataset, const DcmTagKey& tag)
{
  dataset.findAndDeleteElement(tag);
}

TEST_F(ConvertTest, ChecksTheInputInOrder)
{
  const std::string missing = "Original Presentation State object does not contain ";
  const std::string foreign = "SOP Instance UID of the original Presentation State object was not issued by QX: ";
  const std::string noState = "Object is not a Grayscale Softcopy Presentation State: ";
  const std::string root = "1.2.826.0.1.7770001.2.11.", gsps = "1.2.840.10008.5.1.4.1.1.11.1";
  const auto put = [](const DcmTagKey& tag, const std::string& value) {
    return [tag, value](DcmDataset& dataset) { samples::putTexts(dataset, {{tag, value}}); };
  };
  const auto drop = [](const DcmTagKey& tag) { return [tag](DcmDataset& dataset) { remove(dataset, tag); }; };
  // A row's harm and that of the rows below are done.
  const std::tuple<const char*, std::function<void(DcmDataset&)>, std::string> rows[] = {
      {"no plug-in state", drop(kPluginState),
       "DataSet does not contain private presentation state data: Tag not found\n"},
      {"no study", drop(DCM_StudyInstanceUID), missing + "Study Instance UID: Tag not found\n"},
      {"two studies", put(DCM_StudyInstanceUID, "1.2\\1.3"), missing + "Study Instance UID: More than one value\n"},
      {"no UID", drop(DCM_SOPInstanceUID), missing + "SOP Instance UID: Tag not found\n"},
      {"an empty UID", put(DCM_SOPInstanceUID, ""), missing + "SOP Instance UID: Value is empty\n"},
      {"another's UID", put(DCM_SOPInstanceUID, root + "5"), foreign + root + "5\n"},
      {"a path in the UID", put(DCM_SOPInstanceUID, root + "4/../x"), foreign + root + "4/../x\n"},
      {"two UIDs", put(DCM_SOPInstanceUID, root + "4\\1"), foreign + root + "4\\1\n"},
      {"no class", drop(DCM_SOPClassUID), missing + "SOP Class UID: Tag not found\n"},
      {"two classes", put(DCM_SOPClassUID, gsps + "\\1"), missing + "SOP Class UID: More than one value\n"},
      {"a CT image", put(DCM_SOPClassUID, "1.2.840.10008.5.1.4.1.1.2"), noState + "CTImageStorage\n"},
      {"an unknown class", put(DCM_SOPClassUID, "1.2.3"), noState + "1.2.3\n"},
      {"no references", drop(DCM_ReferencedSeriesSequence),
       "DataSet does not contain Source Image Sequence: Tag not found\n"},
      {"references in a text",
       [](DcmDataset& dataset)
       {
         remove(dataset, DCM_ReferencedSeriesSequence);
         dataset.putAndInsertString(DcmTag(DCM_ReferencedSeriesSequence, EVR_LO), "text");
       },
       "DataSet does not contain Source Image Sequence: Invalid VR\n"},
      {"a plug-in state of items",
       [](DcmDataset& dataset)
       {
         remove(dataset, kPluginState);
         DcmItem* item = nullptr;
         dataset.findOrCreateSequenceItem(DcmTag(kPluginState, EVR_SQ), item);
       },
       "DataSet does not contain private presentation state data: Invalid VR\n"},
      {"a text without figure", [](DcmDataset& dataset) { putPluginState(dataset, "label", EVR_OB); },
       "Plugin State contains no figure\n"},
  };
  for (std::size_t row = 0; row < std::size(rows); ++row)
  {
    const auto& [name, harm, error] = rows[row];
    SCOPED_TRACE(name);
    const auto file = state(kOneId);
    for (std::size_t later = std::size(rows) - 1; later > row; --later)
      std::get<1>(rows[later])(*file->getDataset());
    harm(*file->getDataset());
    const Outcome outcome = convert(*file, PSC_includeOriginal);
    EXPECT_FALSE(outcome.good);
    EXPECT_EQ(error, outcome.error);
    EXPECT_EQ(std::vector<std::string>{}, outputNames());
  }
}

TEST_F(ConvertTest, WhatCannotBeLoadedIsNoFailure)
{
  const Outcome absent = convertPath(folder.path() / "absent");
  EXPECT_TRUE(absent.good);
  EXPECT_EQ((folder.path() / "absent").string() + " could not be loaded: No such file or directory\n", absent.error);
  const Capture said;
  std::list<DcmFileFormat*> out;
  EXPECT_TRUE(PSConverter(*db, nullptr, &out, 0, false).convert(false));
  EXPECT_EQ(" does not contain dataset\n", said.error.str());
}

TEST_F(ConvertTest, TheCacheIsTouchedFirst)
{
  const Environment nowhere(Environment::Variables{{"REPOSITORYHANDLER_HOME", std::nullopt}});
  const Capture said;
  samples::writeFile(inputPath, samples::encodeFile(*state("no figure")->getDataset(), EXS_LittleEndianExplicit));
  EXPECT_TRUE(PSConverter(*db, inputPath, prefix, PSC_includeOriginal, false).convert(true));
  EXPECT_EQ(0U, said.error.str().find("Checking/re-mapping object cache failed for study 1.2: ")) << said.error.str();
  EXPECT_EQ(std::vector<std::string>{}, outputNames());
}

TEST_F(ConvertTest, AcceptsWhatOnlyBeginsRight)
{
  const std::string root = "1.2.826.0.1.7770001.2.11.", gsps = "1.2.840.10008.5.1.4.1.1.11.1";
  const std::string ones(38, '1');
  const std::tuple<const char*, DcmEVR, std::string, std::string, std::string> rows[] = {
      {"UN", EVR_UN, kUid, gsps, root + "7.1.123.45"},
      {"LT", EVR_LT, kUid, gsps, root + "7.1.123.45"},
      {"digits behind the root", EVR_OB, root + "45.1", gsps, root + "7.15.1"},
      {"nothing behind the root", EVR_ST, root + "4", gsps, root + "7.1"},
      {"a longer class", EVR_UT, kUid, gsps + "2", root + "7.1.123.45"},
      {"a UID cut at 64", EVR_OB, root + "4" + ones, gsps, root + "7.1" + ones.substr(2)},
  };
  for (const auto& [name, vr, uid, classUid, outputUid] : rows)
  {
    SCOPED_TRACE(name);
    const auto file = state(kOneId, vr);
    samples::putTexts(*file->getDataset(), {{DCM_SOPInstanceUID, uid}, {DCM_SOPClassUID, classUid}});
    EXPECT_EQ("", convert(*file).error);
    const std::string made = "PR." + outputUid;
    ASSERT_EQ(std::vector<std::string>{made}, outputNames());
    EXPECT_EQ("SOPInstanceUID:UI=" + outputUid, describeOutput({DCM_SOPInstanceUID, kPluginState}, made));
    fs::remove(prefix + made);
  }
}

TEST_F(ConvertTest, TheSameNameTwiceIsAFailedSave)
{
  const auto file = state(kOneId);
  const std::string uid = "1.2.826.0.1.7770001.2.11.4" + std::string(38, '1');
  samples::putTexts(*file->getDataset(), {{DCM_SOPInstanceUID, uid}});
  std::string text = "label";
  for (int figure = 0; figure < 11; ++figure)
    text += "\\ID+1.2/CT.1.2.3_1";
  putPluginState(*file->getDataset(), text, EVR_OB);
  const Outcome outcome = convert(*file); // outputs 1 and 11 begin with the same 64 characters
  EXPECT_FALSE(outcome.good);
  EXPECT_EQ("Presentation State file PR.1.2.826.0.1.7770001.2.11.7.1" + std::string(36, '1') +
                " could not be saved: the name was already used in this run\nparseFigure returns false\n"
                "parsePluginState returns false (parseFigure)\n",
            outcome.error);
  EXPECT_EQ(10U, outputNames().size());

  fs::remove_all(prefix);
  fs::create_directory(prefix);
  inputPath = folder / kFirstName;
  const Outcome copied = convert(kOneId, PSC_includeOriginal);
  EXPECT_TRUE(copied.good);
  EXPECT_EQ("Presentation State file " + std::string(kFirstName) +
                " could not be saved: the name was already used in this run\n",
            copied.error);
  EXPECT_NE("", describeOutput({DCM_GraphicAnnotationSequence, DCM_InstanceNumber}));
}

TEST_F(ConvertTest, TheCopyIsFixedOnRequest)
{
  const std::string corner = "Displayed Area Top Left Hand Corner element could not be inserted to Displayed Area "
                             "Selection Item: Doubled tag\n";
  const std::string frame = "PixelOriginInterpretation:CS=FRAME DisplayedAreaTopLeftHandCorner:SL=";
  const std::string fixed = frame + "1\\1 DisplayedAreaBottomRightHandCorner:SL=";
  const std::string mode = " PresentationSizeMode:CS=SCALE TO FIT PresentationPixelSpacing:DS=";
  struct Row
  {
    const char* name;
    unsigned long flags;
    std::string text;
    std::string area;  ///< items of the displayed area; "-" without the sequence
    const char* shape; ///< Presentation LUT Shape of the input
    std::string error;
  };
  const Row rows[] = {
      {"unfixed", 1, kOneId + "%0Apixel+2+3", "-", "", ""},
      {"fixed", 3, kOneId + "%0Apixel+2+3\\ID+/CT.1.2.3_1%0Apixel+7+7", fixed + "512\\256" + mode + "2\\3", "", ""},
      {"without spacing", 3, kOneId, fixed + "512\\256" + mode + "1\\1", "INVERSE", ""},
      {"half a spacing", 3, kOneId + "%0Apixel+0+0%0Apixel+0+3", fixed + "512\\256" + mode + "1\\3", "", ""},
      {"a dropped object's spacing", 3, "l\\ID+/X.9_1%0Apixel+2+3", fixed + "1\\1" + mode + "2\\3", "",
       "File X.9 was not found in the database - checking referenced series sequence\n"
       "Could not get SOP class UID for X.9 referenced in annotations - excluding from output\n"},
      {"an area of its own", 3, kOneId, frame + "9\\9" + mode + "1\\1", "", corner},
  };
  for (const auto& [name, flags, text, area, shape, error] : rows)
  {
    SCOPED_TRACE(name);
    const auto file = state(text);
    samples::putTexts(*file->getDataset(), {{DCM_ContentDescription, "text"}, {DCM_PresentationLUTShape, shape}});
    if (!*shape)
      remove(*file->getDataset(), DCM_PresentationLUTShape);
    if (error == corner)
    {
      DcmItem& item = samples::appendItem(*file->getDataset(), DCM_DisplayedAreaSelectionSequence);
      auto* ownCorner = new DcmSignedLong(DcmTag(DCM_DisplayedAreaTopLeftHandCorner));
      const Sint32 nine[] = {9, 9};
      ownCorner->putSint32Array(nine, 2);
      item.insert(ownCorner);
    }
    const Outcome outcome = convert(*file, flags);
    EXPECT_TRUE(outcome.good);
    EXPECT_EQ(error, outcome.error);
    std::string expected = area == "-" ? "" : "DisplayedAreaSelectionSequence{" + area + "} ";
    expected += "ContentDescription:LO=";
    if (flags & PSC_fixOriginal)
      expected += " PresentationLUTShape:CS=" + std::string(*shape ? shape : "IDENTITY");
    EXPECT_EQ(expected,
              describeOutput({DCM_DisplayedAreaSelectionSequence, DCM_ContentDescription, DCM_PresentationLUTShape},
                             "in.dcm"));
    EXPECT_TRUE(output("in.dcm")->getDataset()->tagExists(kPluginState));
  }
}

TEST_F(ConvertTest, TheCopyMayReplaceTheInput)
{
  const auto file = state(kOneId);
  const std::string large(100001, 'x');
  samples::require(file->getDataset()->putAndInsertString(DcmTag(DCM_TextValue, EVR_UT), large.c_str()), "text");
  prefix = folder.path() / "";
  EXPECT_EQ("", convert(*file, PSC_includeOriginal).error);
  EXPECT_EQ("TextValue:UT=" + large, describeOutput({DCM_TextValue}, "in.dcm"));
  EXPECT_EQ((std::vector<std::string>{kFirstName, "in.dcm", "out"}), namesIn(folder.path()));

  fs::rename(inputPath, prefix + kFirstName);
  const Outcome onItself = convertPath(prefix + kFirstName);
  EXPECT_FALSE(onItself.good);
  EXPECT_EQ("Presentation State file " + std::string(kFirstName) +
                " could not be saved: it would replace the input file\nparseFigure returns false\n"
                "parsePluginState returns false (parseFigure)\n",
            onItself.error);
  EXPECT_EQ("TextValue:UT=" + large, describeOutput({DCM_TextValue}));
}

TEST_F(ConvertTest, AFailedSaveIsReported)
{
  const std::string saved = "Presentation State file " + std::string(kFirstName) + " could not be saved: ";
  prefix = folder.path() / "missing" / "";
  const Outcome outcome = convert(kOneId, PSC_includeOriginal);
  EXPECT_FALSE(outcome.good);
  EXPECT_EQ(saved + "No such file or directory\nparseFigure returns false\n"
                    "parsePluginState returns false (parseFigure)\n",
            outcome.error);
  const Outcome copyOnly = convert("l\\ID+/X.9_1", PSC_includeOriginal);
  EXPECT_TRUE(copyOnly.good) << "the copy is an extra";
  EXPECT_NE(std::string::npos, copyOnly.error.find("\nPresentation State file in.dcm could not be saved: "
                                                   "No such file or directory\n"));
}

TEST_F(ConvertTest, LibraryCallersOwnWhatTheyGet)
{
  const Capture said;
  for (const bool good : {true, false})
  {
    auto file = state(good ? kOneId : kOneId + "\\ID");
    std::list<DcmFileFormat*> out;
    EXPECT_EQ(good, convertPSObject(*db, file.get(), out, false));
    ASSERT_EQ(good ? 2U : 1U, out.size());
    const std::unique_ptr<DcmFileFormat> first(out.front());
    EXPECT_EQ("SOPInstanceUID:UI=1.2.826.0.1.7770001.2.11.7.1.123.45 InstanceNumber:IS=18501",
              describe(*first->getDataset(), {DCM_SOPInstanceUID, DCM_InstanceNumber}));
    if (!good)
      continue;
    EXPECT_EQ(file.get(), out.back());
    EXPECT_TRUE(file->getDataset()->tagExists(DCM_DisplayedAreaSelectionSequence)) << "made conformant";
  }
}

TEST_F(ConvertTest, KnowsWhatNeedsConversion)
{
  const char* const gsps = "1.2.840.10008.5.1.4.1.1.11.1";
  EXPECT_TRUE(isPSSopClass(gsps));
  for (const char* other :
       {"1.2.840.10008.5.1.4.1.1.11.12", "1.2.840.10008.5.1.4.1.1.11", "", static_cast<const char*>(nullptr)})
    EXPECT_FALSE(isPSSopClass(other));
  auto file = state("x");
  EXPECT_TRUE(needPSConversion(*file, nullptr));
  EXPECT_TRUE(needPSConversion(*file, gsps));
  EXPECT_FALSE(needPSConversion(*file, "1.2.840.10008.5.1.4.1.1.2"));
  samples::putTexts(*file->getDataset(), {{DCM_SOPClassUID, "1.2.840.10008.5.1.4.1.1.11.12"}});
  EXPECT_FALSE(needPSConversion(*file, nullptr));
  remove(*file->getDataset(), DCM_SOPClassUID);
  EXPECT_FALSE(needPSConversion(*file, nullptr));
  putPluginState(*file->getDataset(), "", EVR_OB);
  EXPECT_FALSE(needPSConversion(*file, gsps)) << "empty";
  remove(*file->getDataset(), kPluginState);
  EXPECT_FALSE(needPSConversion(*file, gsps)) << "absent";
}

TEST_F(ConvertTest, TheHostsLocaleDoesNotShow)
{
  struct Grouping : std::numpunct<char>
  {
    char do_decimal_point() const override { return ','; }
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
  };
  const std::locale before = std::locale::global(std::locale(std::locale::classic(), new Grouping));
  const Outcome outcome = convert(figureOf({"pixel 1.5 0.25", "free_x 1 r 1 1 1 0 0 0 0|65535 a"}), 0, true);
  std::locale::global(before);
  EXPECT_EQ(0U, outcome.error.find("Incorrect number of vertices in a free_x annotation failed: 65535\n"));
  EXPECT_NE(std::string::npos, outcome.out.find("\nPIXEL arguments: 2\npixelX: 1.5\npixelY: 0.25\n"));
}

TEST_F(ConvertTest, FileTreesAreListedAndRemoved)
{
  const fs::path root = folder.path() / "tree";
  fs::create_directories(root / "sub" / "subsub");
  samples::writeFile(root / "file", "x");
  samples::writeFile(root / "sub" / "hidden", "x");
  samples::writeFile(folder.path() / "kept", "x");
  fs::create_symlink("../kept", root / "link");
  std::list<std::string> paths{"before"};
  EXPECT_FALSE(addObjects(root / "absent", paths));
  EXPECT_TRUE(addObjects(root, paths));
  paths.sort();
  EXPECT_EQ((std::list<std::string>{root / "file", root / "link", "before"}), paths);
  fs::create_symlink("nowhere", root / "broken");
  EXPECT_FALSE(addObjects(root, paths));
  EXPECT_FALSE(deleteDirectoryRecursively(root / "absent"));
  EXPECT_TRUE(deleteDirectoryRecursively(root));
  EXPECT_FALSE(fs::exists(root));
  EXPECT_TRUE(fs::exists(folder.path() / "kept"));
}

} // namespace

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

TEST_F(ConvertTest, AcceptsWhatOnlyBeginsRight)
{
  const std::string root = "1.2.826.0.1.7770001.2.11.", gsps = "1.2.840.10008.5.1.4.1.1.11.1";
  const std::string ones(38, '1');
  const std::tuple<const char*, DcmEVR, std::string, std::string, std::string> rows[] = {
      {"UN", EVR_UN, kUid, gsps, root + "7.1.123.45"},
      {"LT", EVR_LT, kUid, gsps, root + "7.1.123.45"},
      {"digits behind the root", EVR_OB, root + "45.1", gsps, root + "7.15.1"},
      {"nothing behind the root", EVR_ST, root + "4", gsps, root + "7.1"},
      {"two classes", EVR_OB, kUid, gsps + "\\1", root + "7.1.123.45"},
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

TEST_F(ConvertTest, LibraryCallersOwnWhatTheyGet)
{
  const Capture said;
  std::list<DcmFileFormat*> none;
  EXPECT_TRUE(PSConverter(*db, nullptr, &none, 0, false).convert(false));
  EXPECT_EQ(" does not contain dataset\n", said.error.str());
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

TEST_F(ConvertTest, TheCopyIsFixedOnRequest)
{
  const std::vector<DcmTagKey> shown{DCM_DisplayedAreaSelectionSequence, DCM_ContentDescription,
                                     DCM_PresentationLUTShape};
  const auto fixed = [](const char* corner, const char* spacing, const char* shape)
  {
    return std::string("DisplayedAreaSelectionSequence{PixelOriginInterpretation:CS=FRAME "
                       "DisplayedAreaTopLeftHandCorner:SL=1\\1 DisplayedAreaBottomRightHandCorner:SL=") +
           corner + " PresentationSizeMode:CS=SCALE TO FIT PresentationPixelSpacing:DS=" + spacing +
           "} ContentDescription:LO= PresentationLUTShape:CS=" + shape;
  };
  const std::tuple<const char*, unsigned long, std::string, const char*, std::string> rows[] = {
      {"unfixed", 1, kOneId + "%0Apixel+2+3", "", "ContentDescription:LO="},
      {"fixed", 3, kOneId + "%0Apixel+2+3\\ID+/CT.1.2.3_1%0Apixel+7+7", "", fixed("512\\256", "2\\3", "IDENTITY")},
      {"without spacing", 3, kOneId, "INVERSE", fixed("512\\256", "1\\1", "INVERSE")},
      {"half a spacing", 3, kOneId + "%0Apixel+0+0%0Apixel+0+3", "", fixed("512\\256", "1\\3", "IDENTITY")},
      {"a dropped object's spacing", 3, "l\\ID+/X.9_1%0Apixel+2+3", "", fixed("1\\1", "2\\3", "IDENTITY")},
  };
  for (const auto& [name, flags, text, shape, expected] : rows)
  {
    SCOPED_TRACE(name);
    const auto file = state(text);
    samples::putTexts(*file->getDataset(), {{DCM_ContentDescription, "text"}});
    if (*shape)
      samples::putTexts(*file->getDataset(), {{DCM_PresentationLUTShape, shape}});
    EXPECT_TRUE(convert(*file, flags).good);
    EXPECT_EQ(expected, describeOutput(shown, "in.dcm"));
    EXPECT_TRUE(output("in.dcm")->getDataset()->tagExists(kPluginState));
  }
}

TEST_F(ConvertTest, KnowsWhatNeedsConversion)
{
  const char* const gsps = "1.2.840.10008.5.1.4.1.1.11.1";
  for (const char* other :
       {"1.2.840.10008.5.1.4.1.1.11.12", "1.2.840.10008.5.1.4.1.1.11", "", static_cast<const char*>(nullptr)})
    EXPECT_FALSE(isPSSopClass(other));
  auto file = state("x");
  EXPECT_TRUE(isPSSopClass(gsps) && needPSConversion(*file, nullptr) && needPSConversion(*file, gsps));
  EXPECT_FALSE(needPSConversion(*file, "1.2.840.10008.5.1.4.1.1.2"));
  remove(*file->getDataset(), DCM_SOPClassUID);
  EXPECT_FALSE(needPSConversion(*file, nullptr));
  putPluginState(*file->getDataset(), "", EVR_OB);
  EXPECT_FALSE(needPSConversion(*file, gsps)) << "empty";
  remove(*file->getDataset(), kPluginState);
  EXPECT_FALSE(needPSConversion(*file, gsps)) << "absent";
}

TEST_F(ConvertTest, FileTreesAreListedAndRemoved)
{
  fs::create_directories(folder.path() / "tree/sub/subsub");
  for (const char* name : {"tree/file", "tree/sub/hidden", "kept"})
    samples::writeFile(folder.path() / name, "x");
  const fs::path root = folder.path() / "tree";
  fs::create_symlink("../kept", root / "link");
  std::list<std::string> paths{"before"};
  EXPECT_TRUE(addObjects(root, paths));
  paths.sort();
  EXPECT_EQ((std::list<std::string>{root / "file", root / "link", "before"}), paths);
  EXPECT_TRUE(deleteDirectoryRecursively(root) && !fs::exists(root) && fs::exists(folder.path() / "kept"));
  EXPECT_FALSE(addObjects(root, paths) || deleteDirectoryRecursively(root));
}

} // namespace

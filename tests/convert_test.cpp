#include "tests/support/StateFixture.h"

#include "samples/dicomFile.h"
#include "converter/PSConverter.h"
#include "converter/annomend.h"
#include "base/fileTrees.h"

#include <optional>

using namespace impsconverter;
namespace fs = std::filesystem;

namespace
{

using ConvertTest = StateFixture;

const std::string kOneId = "label\\ID+1.2/CT.1.2.3_1", kGsps = "1.2.840.10008.5.1.4.1.1.11.1";

const std::string kRoot = "1.2.826.0.1.7770001.2.11.";
const std::string kLacks = "Original Presentation State object does not contain ";
const std::string kForeign = "SOP Instance UID of the original Presentation State object was not issued by QX: ";
const std::string kNoState = "Object is not a Grayscale Softcopy Presentation State: ";
const std::string kNoText = "DataSet does not contain private presentation state data: ";
const std::string kNoReferences = "DataSet does not contain Source Image Sequence: ";

/// What is put in place of what is there; without a value, that is removed.
struct Harm
{
  DcmTagKey tag;
  DcmEVR vr;
  std::optional<std::string> value;
  std::string refusal;
};

const Harm kHarms[] = {
    {kPluginState, EVR_OB, {}, kNoText + "Tag not found"},
    {DCM_StudyInstanceUID, EVR_UI, {}, kLacks + "Study Instance UID: Tag not found"},
    {DCM_StudyInstanceUID, EVR_UI, "1.2\\1.3", kLacks + "Study Instance UID: More than one value"},
    {DCM_SOPInstanceUID, EVR_UI, {}, kLacks + "SOP Instance UID: Tag not found"},
    {DCM_SOPInstanceUID, EVR_UI, "", kLacks + "SOP Instance UID: Value is empty"},
    {DCM_SOPInstanceUID, EVR_UI, kRoot + "5", kForeign + kRoot + "5"},
    {DCM_SOPInstanceUID, EVR_UI, kRoot + "4\\1", kForeign + kRoot + "4\\1"},
    {DCM_SOPClassUID, EVR_UI, {}, kLacks + "SOP Class UID: Tag not found"},
    {DCM_SOPClassUID, EVR_UI, "1.2.840.10008.5.1.4.1.1.2", kNoState + "CTImageStorage"},
    {DCM_SOPClassUID, EVR_UI, "1.2.3", kNoState + "1.2.3"},
    {DCM_ReferencedSeriesSequence, EVR_SQ, {}, kNoReferences + "Tag not found"},
    {DCM_ReferencedSeriesSequence, EVR_LO, "text", kNoReferences + "Invalid VR"},
    {kPluginState, EVR_SQ, "", kNoText + "Invalid VR"},
    {kPluginState, EVR_OB, "label", "Plugin State contains no figure"},
};

/// A row's harm is done last, after those of all rows behind it: it is the first that is seen.
TEST_F(ConvertTest, ChecksTheInputInOrder)
{
  for (std::size_t row = 0; row < std::size(kHarms); ++row)
  {
    const auto file = state(kOneId);
    for (std::size_t harm = std::size(kHarms); harm-- > row;)
    {
      file->getDataset()->findAndDeleteElement(kHarms[harm].tag);
      if (kHarms[harm].value)
        putElement(*file->getDataset(), kHarms[harm].tag, kHarms[harm].vr, *kHarms[harm].value);
    }
    const Outcome outcome = convert(*file, PSC_includeOriginal);
    EXPECT_FALSE(outcome.good);
    EXPECT_EQ(kHarms[row].refusal + "\n", outcome.error);
    EXPECT_EQ(std::vector<std::string>{}, outputNames());
  }
}

TEST_F(ConvertTest, AcceptsWhatOnlyBeginsRight)
{
  for (const auto& [uid, outputUid] : {std::pair("45.1", "7.15.1"), std::pair("4", "7.1")})
  {
    const auto file = state(kOneId);
    samples::putTexts(*file->getDataset(), {{DCM_SOPInstanceUID, kRoot + uid}, {DCM_SOPClassUID, kGsps + ".12\\1"}});
    EXPECT_EQ("", convert(*file).error);
    EXPECT_TRUE(fs::remove(prefix + "PR." + kRoot + outputUid));
  }
}

TEST_F(ConvertTest, TheSameNameTwiceIsAFailedSave)
{
  const std::string start = "Presentation State file ";
  const std::string used = " could not be saved: the name was already used in this run\n";
  const std::string ones(36, '1');
  std::string text = "label";
  for (int figure = 0; figure < 11; ++figure)
    text += "\\ID+1.2/CT.1.2.3_1";
  const auto file = state(text);
  samples::putTexts(*file->getDataset(), {{DCM_SOPInstanceUID, "1.2.826.0.1.7770001.2.11.411" + ones}});
  const Outcome outcome = convert(*file); // outputs 1 and 11 begin with the same 64 characters
  EXPECT_FALSE(outcome.good);
  EXPECT_EQ(start + "PR.1.2.826.0.1.7770001.2.11.7.1" + ones + used + kFigureFailed, outcome.error);
  EXPECT_EQ(10U, outputNames().size());

  fs::remove_all(prefix);
  fs::create_directory(prefix);
  inputPath = folder / kFirstName;
  const Outcome copied = convert(kOneId, PSC_includeOriginal);
  EXPECT_TRUE(copied.good);
  EXPECT_EQ(start + kFirstName + used, copied.error);
  EXPECT_EQ("InstanceNumber:IS=18501", describeOutput({DCM_InstanceNumber}));
}

TEST_F(ConvertTest, TheCopyMayReplaceTheInput)
{
  const auto file = state(kOneId);
  const std::string large(100001, 'x');
  putElement(*file->getDataset(), DCM_TextValue, EVR_UT, large);
  prefix = folder.path() / "";
  EXPECT_EQ("", convert(*file, PSC_includeOriginal).error);
  EXPECT_EQ("TextValue:UT=" + large, describeOutput({DCM_TextValue}, "in.dcm"));
  EXPECT_EQ((std::vector<std::string>{kFirstName, "in.dcm", "out"}), namesIn(folder.path()));

  inputPath = prefix + kFirstName;
  const Outcome onItself = convert(*file);
  EXPECT_FALSE(onItself.good);
  EXPECT_EQ("Presentation State file " + std::string(kFirstName) +
                " could not be saved: it would replace the input file\n" + kFigureFailed,
            onItself.error);
  EXPECT_TRUE(output()->getDataset()->tagExists(kPluginState));
}

TEST_F(ConvertTest, LibraryCallersOwnWhatTheyGet)
{
  for (const bool good : {true, false})
  {
    const Capture said;
    auto file = state(good ? kOneId : kOneId + "\\ID");
    std::list<DcmFileFormat*> out;
    EXPECT_EQ(good, convertPSObject(*db, file.get(), out, false));
    ASSERT_EQ(good ? 2U : 1U, out.size());
    const std::unique_ptr<DcmFileFormat> first(out.front());
    EXPECT_EQ("SOPInstanceUID:UI=1.2.826.0.1.7770001.2.11.7.1.123.45 InstanceNumber:IS=18501",
              describe(*first->getDataset(), {DCM_SOPInstanceUID, DCM_InstanceNumber}));
    EXPECT_EQ(good, out.back() == file.get());
    EXPECT_EQ(good, file->getDataset()->tagExists(DCM_DisplayedAreaSelectionSequence)) << "made conformant";
    EXPECT_TRUE(file->getDataset()->tagExists(kPluginState));
    EXPECT_TRUE(file->getDataset()->tagExists(DCM_ReferencedSeriesSequence));
  }
}

TEST_F(ConvertTest, ALibraryCallersFileStaysItsOwnWithoutAList)
{
  const auto file = state("label");
  const Capture said;
  EXPECT_FALSE(PSConverter(*db, file.get(), nullptr, 0, false).convert(false));
  EXPECT_TRUE(file->getDataset()->tagExists(DCM_SOPInstanceUID));
}

// Fact, text, bottom right corner and spacing of the fixed copy's displayed area.
const std::tuple<const char*, std::string, std::string, std::string> kCopyRows[] = {
    {"the first spacing", kOneId + "%0Apixel+2+3\\ID+/CT.1.2.3_1%0Apixel+7+7", "512\\256", "2\\3"},
    {"without spacing", kOneId, "512\\256", "1\\1"},
    {"half a spacing", kOneId + "%0Apixel+0+0%0Apixel+0+3", "512\\256", "1\\3"},
    {"a dropped object's spacing", "l\\ID+/X.9_1%0Apixel+2+3", "1\\1", "2\\3"},
};

TEST_F(ConvertTest, TheCopyIsFixedOnRequest)
{
  for (const auto& [fact, text, corner, spacing] : kCopyRows)
  {
    EXPECT_TRUE(convert(text, PSC_includeOriginal | PSC_fixOriginal).good);
    EXPECT_EQ(std::string("DisplayedAreaSelectionSequence{PixelOriginInterpretation:CS=FRAME "
                          "DisplayedAreaTopLeftHandCorner:SL=1\\1 DisplayedAreaBottomRightHandCorner:SL=") +
                  corner + " PresentationSizeMode:CS=SCALE TO FIT PresentationPixelSpacing:DS=" + spacing +
                  "} PresentationLUTShape:CS=IDENTITY",
              describeOutput({DCM_DisplayedAreaSelectionSequence, DCM_PresentationLUTShape}, "in.dcm"))
        << fact;
  }
}

TEST_F(ConvertTest, TheCopyKeepsItsShapeAndItsText)
{
  for (const unsigned long flags : {PSC_includeOriginal, PSC_includeOriginal | PSC_fixOriginal})
  {
    const auto file = state(kOneId);
    samples::putTexts(*file->getDataset(), {{DCM_ContentDescription, "text"}, {DCM_PresentationLUTShape, "INVERSE"}});
    EXPECT_TRUE(convert(*file, flags).good);
    EXPECT_EQ("ContentDescription:LO= PresentationLUTShape:CS=INVERSE",
              describeOutput({DCM_ContentDescription, DCM_PresentationLUTShape}, "in.dcm"));
    const auto copy = output("in.dcm");
    EXPECT_TRUE(copy->getDataset()->tagExists(kPluginState));
    EXPECT_EQ(flags != PSC_includeOriginal, copy->getDataset()->tagExists(DCM_DisplayedAreaSelectionSequence));
  }
}

TEST_F(ConvertTest, KnowsWhatNeedsConversion)
{
  EXPECT_FALSE(isPSSopClass("1.2.840.10008.5.1.4.1.1.11.12"));
  EXPECT_FALSE(isPSSopClass(nullptr));
  const auto file = state("x");
  EXPECT_TRUE(isPSSopClass(kGsps.c_str()) && needPSConversion(*file, nullptr) &&
              needPSConversion(*file, kGsps.c_str()));
  EXPECT_FALSE(needPSConversion(*file, "1.2.840.10008.5.1.4.1.1.2"));
  putElement(*file->getDataset(), kPluginState, EVR_OB, "");
  EXPECT_FALSE(needPSConversion(*file, kGsps.c_str())) << "empty";
  file->getDataset()->findAndDeleteElement(kPluginState);
  EXPECT_FALSE(needPSConversion(*file, kGsps.c_str())) << "absent";
  file->getDataset()->findAndDeleteElement(DCM_SOPClassUID);
  EXPECT_FALSE(needPSConversion(*file, nullptr));
}

TEST_F(ConvertTest, FileTreesEndAtLinks)
{
  const std::string kept = folder / "out/file", root = folder / "tree";
  samples::writeFile(kept, "x");
  samples::writeFile(root + "/sub/file", "x");
  fs::create_directory_symlink(prefix, root + "/sub/folders");
  fs::create_symlink(kept, root + "/link");
  std::list<std::string> paths{"before"};
  EXPECT_TRUE(addObjects(root, paths));
  EXPECT_EQ((std::list<std::string>{"before", root + "/link"}), paths);
  EXPECT_TRUE(deleteDirectoryRecursively(root) && !fs::exists(root) && fs::exists(kept));
  EXPECT_FALSE(addObjects(root, paths) || deleteDirectoryRecursively(root)) << "gone";
}

} // namespace

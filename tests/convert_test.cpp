#include "tests/support/StateFixture.h"

#include "samples/dicomFile.h"
#include "converter/PSConverter.h"
#include "converter/annomend.h"
#include "converter/fileTrees.h"

#include <optional>
#include <tuple>

using namespace impsconverter;
namespace fs = std::filesystem;

namespace
{

using ConvertTest = StateFixture;

const std::string kOneId = "label\\ID+1.2/CT.1.2.3_1";

TEST_F(ConvertTest, ChecksTheInputInOrder)
{
  const std::string missing = "Original Presentation State object does not contain ";
  const std::string foreign = "SOP Instance UID of the original Presentation State object was not issued by QX: ";
  const std::string noState = "Object is not a Grayscale Softcopy Presentation State: ";
  const std::string noText = "DataSet does not contain private presentation state data: ";
  const std::string noReferences = "DataSet does not contain Source Image Sequence: ";
  const std::string root = "1.2.826.0.1.7770001.2.11.";
  // What a row puts in place of what is there (without a value it removes that), after what the rows below do.
  const std::tuple<DcmTagKey, DcmEVR, std::optional<std::string>, std::string> rows[] = {
      {kPluginState, EVR_OB, {}, noText + "Tag not found"},
      {DCM_StudyInstanceUID, EVR_UI, {}, missing + "Study Instance UID: Tag not found"},
      {DCM_StudyInstanceUID, EVR_UI, "1.2\\1.3", missing + "Study Instance UID: More than one value"},
      {DCM_SOPInstanceUID, EVR_UI, {}, missing + "SOP Instance UID: Tag not found"},
      {DCM_SOPInstanceUID, EVR_UI, "", missing + "SOP Instance UID: Value is empty"},
      {DCM_SOPInstanceUID, EVR_UI, root + "5", foreign + root + "5"},
      {DCM_SOPInstanceUID, EVR_UI, root + "4\\1", foreign + root + "4\\1"},
      {DCM_SOPClassUID, EVR_UI, {}, missing + "SOP Class UID: Tag not found"},
      {DCM_SOPClassUID, EVR_UI, "1.2.840.10008.5.1.4.1.1.2", noState + "CTImageStorage"},
      {DCM_SOPClassUID, EVR_UI, "1.2.3", noState + "1.2.3"},
      {DCM_ReferencedSeriesSequence, EVR_SQ, {}, noReferences + "Tag not found"},
      {DCM_ReferencedSeriesSequence, EVR_LO, "text", noReferences + "Invalid VR"},
      {kPluginState, EVR_SQ, "", noText + "Invalid VR"},
      {kPluginState, EVR_OB, "label", "Plugin State contains no figure"},
  };
  for (std::size_t row = 0; row < std::size(rows); ++row)
  {
    const auto file = state(kOneId);
    for (std::size_t harm = std::size(rows); harm-- > row;)
    {
      const auto& [tag, vr, value, error] = rows[harm];
      file->getDataset()->findAndDeleteElement(tag);
      if (value)
        putElement(*file->getDataset(), tag, vr, *value);
    }
    const Outcome outcome = convert(*file, PSC_includeOriginal);
    EXPECT_FALSE(outcome.good);
    EXPECT_EQ(std::get<std::string>(rows[row]) + "\n", outcome.error);
    EXPECT_EQ(std::vector<std::string>{}, outputNames());
  }
}

TEST_F(ConvertTest, AcceptsWhatOnlyBeginsRight)
{
  const std::string root = "1.2.826.0.1.7770001.2.11.";
  for (const auto& [uid, outputUid] : {std::pair("45.1", "7.15.1"), std::pair("4", "7.1")})
  {
    const auto file = state(kOneId);
    samples::putTexts(*file->getDataset(),
                      {{DCM_SOPInstanceUID, root + uid}, {DCM_SOPClassUID, "1.2.840.10008.5.1.4.1.1.11.12\\1"}});
    EXPECT_EQ("", convert(*file).error);
    EXPECT_EQ(std::vector<std::string>{"PR." + root + outputUid}, outputNames());
    fs::remove(prefix + "PR." + root + outputUid);
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
  }
}

TEST_F(ConvertTest, ALibraryCallersFileStaysItsOwnWithoutAList)
{
  const auto file = state("label");
  const Capture said;
  EXPECT_FALSE(PSConverter(*db, file.get(), nullptr, 0, false).convert(false));
  EXPECT_TRUE(file->getDataset()->tagExists(kPluginState));
}

TEST_F(ConvertTest, TellsWhatItCameTo)
{
  using impsconverter::Outcome;
  const auto run = [&](const std::string& path, bool touchObjectCache = false)
  {
    const Capture said;
    return PSConverter(*db, path, prefix, 0, false).run(touchObjectCache);
  };
  const auto runOn = [&](DcmFileFormat& file, bool touchObjectCache = false)
  {
    samples::writeFile(inputPath, samples::encodeFile(*file.getDataset(), EXS_LittleEndianExplicit));
    return run(inputPath, touchObjectCache);
  };
  const auto without = [&](const DcmTagKey& tag)
  {
    auto file = state(kOneId);
    file->getDataset()->findAndDeleteElement(tag);
    return file;
  };
  EXPECT_EQ(Outcome::done, runOn(*state(kOneId)));
  EXPECT_EQ(Outcome::nothingToDo, runOn(*without(kPluginState)));
  EXPECT_EQ(Outcome::refused, runOn(*without(DCM_ReferencedSeriesSequence)));
  EXPECT_EQ(Outcome::refused, runOn(*without(DCM_SOPInstanceUID)));
  EXPECT_EQ(Outcome::notLoaded, run(folder / "nowhere"));
  EXPECT_EQ(Outcome::cacheFailed, runOn(*state(kOneId), true));
  EXPECT_EQ(Outcome::failed, runOn(*state("label")));
}

TEST_F(ConvertTest, TheCopyIsFixedOnRequest)
{
  const auto fixed = [](const char* corner, const char* spacing, const char* shape)
  {
    return std::string("DisplayedAreaSelectionSequence{PixelOriginInterpretation:CS=FRAME "
                       "DisplayedAreaTopLeftHandCorner:SL=1\\1 DisplayedAreaBottomRightHandCorner:SL=") +
           corner + " PresentationSizeMode:CS=SCALE TO FIT PresentationPixelSpacing:DS=" + spacing +
           "} ContentDescription:LO= PresentationLUTShape:CS=" + shape;
  };
  const std::tuple<const char*, unsigned long, std::string, const char*, std::string> rows[] = {
      {"unfixed", 1, kOneId + "%0Apixel+2+3", "INVERSE", "ContentDescription:LO= PresentationLUTShape:CS=INVERSE"},
      {"fixed", 3, kOneId + "%0Apixel+2+3\\ID+/CT.1.2.3_1%0Apixel+7+7", "INVERSE",
       fixed("512\\256", "2\\3", "INVERSE")},
      {"without spacing", 3, kOneId, "", fixed("512\\256", "1\\1", "IDENTITY")},
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
    EXPECT_EQ(expected,
              describeOutput({DCM_DisplayedAreaSelectionSequence, DCM_ContentDescription, DCM_PresentationLUTShape},
                             "in.dcm"));
    EXPECT_TRUE(output("in.dcm")->getDataset()->tagExists(kPluginState));
  }
}

TEST_F(ConvertTest, KnowsWhatNeedsConversion)
{
  const char* const gsps = "1.2.840.10008.5.1.4.1.1.11.1";
  for (const char* other :
       {"1.2.840.10008.5.1.4.1.1.11.12", "1.2.840.10008.5.1.4.1.1.11", "", static_cast<const char*>(nullptr)})
    EXPECT_FALSE(isPSSopClass(other));
  const auto file = state("x");
  DcmDataset& dataset = *file->getDataset();
  EXPECT_TRUE(isPSSopClass(gsps) && needPSConversion(*file, nullptr) && needPSConversion(*file, gsps));
  EXPECT_FALSE(needPSConversion(*file, "1.2.840.10008.5.1.4.1.1.2"));
  dataset.findAndDeleteElement(DCM_SOPClassUID);
  EXPECT_FALSE(needPSConversion(*file, nullptr));
  putElement(dataset, kPluginState, EVR_OB, "");
  EXPECT_FALSE(needPSConversion(*file, gsps)) << "empty";
  dataset.findAndDeleteElement(kPluginState);
  EXPECT_FALSE(needPSConversion(*file, gsps)) << "absent";
}

TEST_F(ConvertTest, FileTreesAreListedAndRemoved)
{
  const fs::path root = folder.path() / "tree", kept = folder.path() / "kept/file";
  for (const fs::path& file : {root / "file", root / "sub/subsub/hidden", kept})
    samples::writeFile(file, "x");
  fs::create_symlink(kept, root / "link");
  fs::create_directory_symlink(kept.parent_path(), root / "sub/folders");
  std::list<std::string> paths{"before"};
  EXPECT_TRUE(addObjects(root, paths));
  paths.sort();
  EXPECT_EQ((std::list<std::string>{root / "file", root / "link", "before"}), paths);
  EXPECT_TRUE(deleteDirectoryRecursively(root) && !fs::exists(root) && fs::exists(kept));
  EXPECT_FALSE(addObjects(root, paths) || deleteDirectoryRecursively(root));
}

} // namespace
